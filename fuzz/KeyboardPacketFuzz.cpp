// Arbitrary keyboard packets on the road of the companion's native call: into the service's
// cache under its handle, out on two ticks to an open keyboard device and its processor.
#include "PKeyboard.h"
#include "PKeyboardIOQueueService.h"
#include "PKeyboardInputProcessor.h"

#include <android/log.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace {

// One open device for the whole run, closed at exit so that nothing is left behind.
struct OpenKeyboard {
    OpenKeyboard()
    {
        __android_log_set_minimum_priority(ANDROID_LOG_WARN);  // every packet is logged
        PKeyboardIOQueueService& service = PKeyboardIOQueueService::getInstance();
        service.setCompanionFactory(makeSilentKeyboardCompanion);
        processor->setParameter("Suffix", PVariant("\r\n"));
        processor->setCallback([](PEvent* event) { event->value("input").toByteArray(); });
        // The ticks are the fuzzer's: the timer's own would come after an hour.
        device->setParameter("timeout", PVariant(3600 * 1000));
        auto target = processor;
        device->setCallback([target](PEvent* event) { target->processInput(event); });
        device->open(1);
    }
    ~OpenKeyboard() { device->close(); }

    std::shared_ptr<PKeyboardInputProcessor> processor = std::make_shared<PKeyboardInputProcessor>();
    std::shared_ptr<PKeyboard> device = std::make_shared<PKeyboard>();
};

}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static OpenKeyboard keyboard;
    PKeyboardIOQueueService& service = PKeyboardIOQueueService::getInstance();
    const std::string packet(reinterpret_cast<const char*>(data), size);
    PKeyboardIOQueueService::deliverPacket(service.javaHandle(), PString(packet));
    service.commonTimeoutProc();
    service.commonTimeoutProc();
    return 0;
}
