// Arbitrary extras XML as a broadcast companion hands it over: the reading of the first field
// with the suffix rule, and the stream processor that the result goes to.
#include "PBroadcastReceaver.h"
#include "PSerialInputProcessor.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    // The first byte chooses the suffix; the rest is the XML text.
    static const char* const suffixes[] = {"", "\r", "\r\n", "\x1d"};
    const std::string suffix = suffixes[data[0] % 4];
    const std::string xml(reinterpret_cast<const char*>(data + 1), size - 1);
    PByteArray input;
    if (!PBroadcastReceaver::inputFromXml(PString(xml), PByteArray(suffix), &input))
        return 0;
    if (data[0] & 0x4)
        return 0;
    PSerialInputProcessor processor;
    processor.setParameter("Suffix", PVariant(suffix));
    processor.setParameter("Prefix", PVariant((data[0] & 0x8) ? "0" : ""));
    processor.setParameter("OutputDataType", PVariant((data[0] >> 4) & 1));
    processor.setCallback([](PEvent* event) { event->value("input").toByteArray(); });
    PIODeviceEvent event;
    event.setValue("input", PVariant(input));
    processor.processInput(&event);
    return 0;
}
