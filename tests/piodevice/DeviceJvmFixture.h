// The device tests' VM: the JNI layer connected through the test host, the companions' native
// methods bound to this program's devices, optional recording stand-ins for the companions, an
// event recorder and a few Java calls.
#pragma once

#include "DeviceJvmTest.h"
#include "PEvent.h"
#include "PIODevice.h"
#include "PseudoTerminal.h"
#include "WaitCounter.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace devicetest {

using kelmortest::PseudoTerminal;
using kelmortest::companionThreadsEnded;
using kelmortest::registerBluetooth;
using kelmortest::setProperty;
using kelmortest::unregisterBluetooth;

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds kDeadline{10};

// Copies of the events a device raised, and the errors it reported, with waits.
class Recorder {
public:
    PIODevice::Callback callback()
    {
        return [this](PEvent* event) { keep(std::shared_ptr<PEvent>(event->copy()), nullptr); };
    }
    PIODevice::ErrorCallback errorCallback()
    {
        return [this](const PError& error) { keep(nullptr, &error); };
    }
    // Waits until at least count events came; false at the deadline.
    bool waitForEvents(size_t count)
    {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_until(lock, Clock::now() + kDeadline, [&] { return events_.size() >= count; });
    }
    // Waits until the events' inputs joined hold at least size bytes; the joined input.
    std::string waitForInput(size_t size)
    {
        std::string joined;
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait_until(lock, Clock::now() + kDeadline, [&] {
            joined.clear();
            for (const auto& event : events_) {
                const PByteArray input = event->value(PString("input")).toByteArray();
                joined.append(input.constChars(), input.size());
            }
            return joined.size() >= size;
        });
        return joined;
    }
    std::vector<std::shared_ptr<PEvent>> events()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return events_;
    }
    std::vector<PError> errors()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return errors_;
    }

private:
    void keep(std::shared_ptr<PEvent> event, const PError* error)
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (event)
            events_.push_back(std::move(event));
        if (error)
            errors_.push_back(*error);
        changed_.notify_all();
    }

    std::mutex mutex_;  // guards events_ and errors_
    std::condition_variable changed_;
    std::vector<std::shared_ptr<PEvent>> events_;
    std::vector<PError> errors_;
};

// Waits, polling, until the condition holds; false at the deadline. For states that only a
// Java call can tell (a link that went down); anything that raises an event uses a WaitCounter.
template <class Condition>
bool eventually(Condition condition)
{
    const auto deadline = Clock::now() + kDeadline;
    while (!condition()) {
        if (Clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

class DeviceJvmTest : public kelmortest::DeviceJvmTest {
protected:
    void TearDown() override
    {
        EXPECT_TRUE(companionThreadsEnded()) << "a companion thread outlived its device";
        kelmortest::DeviceJvmTest::TearDown();
    }

    // The recording stand-ins: the next companions made are RecordingSerialPort and so on.
    void useRecordingCompanions()
    {
        for (const char16_t* name : {u"SerialPort", u"TcpSocket", u"UdpSocket", u"Bluetooth"})
            redirect(u"com.tavrel.piodevice.P" + std::u16string(name),
                     u"com.tavrel.piodevice.Recording" + std::u16string(name));
        callStatic(kRecording, "reset", "()V");
    }
    // RecordingCompanion's static settings and record.
    void setRecording(const char* field, bool value)
    {
        jclass cls = PHostJvm::androidHelper().findClass(kRecording);
        env()->SetStaticBooleanField(cls, env()->GetStaticFieldID(cls, field, "Z"), jboolean(value));
        kelmortest::javaQuiet(field);
        drop(cls);
    }
    void setRecording(const char* field, const char* text)
    {
        jclass cls = PHostJvm::androidHelper().findClass(kRecording);
        jstring value = text ? javaString(text) : nullptr;
        env()->SetStaticObjectField(cls, env()->GetStaticFieldID(cls, field, "Ljava/lang/String;"), value);
        kelmortest::javaQuiet(field);
        drop(value);
        drop(cls);
    }
    std::string recordedCalls() { return callStatic<std::string>(kRecording, "calls", "()Ljava/lang/String;"); }
    long long lastHandle()
    {
        jclass cls = PHostJvm::androidHelper().findClass(kRecording);
        const long long handle = env()->GetStaticLongField(cls, env()->GetStaticFieldID(cls, "lastHandle", "J"));
        drop(cls);
        return handle;
    }
    static constexpr const char16_t* kRecording = u"com.tavrel.piodevice.RecordingCompanion";
};

}
