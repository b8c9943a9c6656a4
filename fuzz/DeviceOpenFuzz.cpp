// Fuzz target: arbitrary settings bags (any key, any value type) into Device::open with a
// recording device, then the rest of the input delivered to it and the device closed. The
// open answers as isOpened says, a failure leaves an error and nothing open, and the device
// made is closed once at most.
#include "Device.h"
#include "DeviceManager.h"
#include "PLocale.h"

#include "../tests/AddIn/RecordingDevice.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

const char* const kKeys[] = {
    "Port", "BluetoothDevice", "Prefix", "Suffix", "OutputDataType", "GSSymbolKey", "Timeout",
    "DataBits", "StopBits", "Parity", "Speed", "COMEncoding", "StandardAction", "StandardCategory",
    "StandardExtra", "Extra", "ExtraType", "Action", "Category", "AppType", "KeyboardDevice",
    "EquipmentType", "DevId", "EventName", "AutoCleanUpLog"};
const size_t kKeyCount = sizeof kKeys / sizeof kKeys[0];

void check(bool holds)
{
    if (!holds)
        std::abort();
}

PVariant valueOf(uint8_t type, const uint8_t* data, size_t size)
{
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    int32_t whole = 0;
    double real = 0;
    std::memcpy(&whole, data, size < sizeof whole ? size : sizeof whole);
    if (size >= sizeof real)
        std::memcpy(&real, data, sizeof real);
    switch (type % 7) {
    case 0: return PVariant(bytes);
    case 1: return PVariant(static_cast<int>(whole));
    case 2: return PVariant(whole != 0);
    case 3: return PVariant(real);
    case 4: return PVariant(PByteArray(bytes));
    case 5: return PVariant();
    default: {
        std::u16string units(size / 2, u'\0');
        if (!units.empty())
            std::memcpy(&units[0], data, units.size() * 2);
        return PVariant(PString(units));
    }
    }
}

}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    if (size < 1)
        return 0;
    const uint8_t setup = bytes[0];
    auto factory = std::make_shared<kelmortest::RecordingFactory>();
    kelmortest::fillFakeLists(*factory);
    factory->failures = setup & 3;
    kelmortest::FactoryScope scope(factory);
    PLocale::setDefaultLocaleId((setup >> 4) & 1);

    // Records of key, type, length and value up to a 0xFF key; the rest is delivered.
    PPropertyBag settings;
    size_t at = 1;
    while (at + 3 <= size && bytes[at] != 0xFF) {
        const uint8_t key = bytes[at];
        const uint8_t type = bytes[at + 1];
        const size_t length = std::min<size_t>(bytes[at + 2], size - at - 3);
        const uint8_t* data = bytes + at + 3;
        at += 3 + length;
        const PString name = key % 32 < kKeyCount ? PString(kKeys[key % 32])
                                                  : PString(std::string(reinterpret_cast<const char*>(data), length));
        settings.addValue(name, valueOf(type, data, length));
    }
    // The log stays off: a fuzzer must not write files where the input points.
    settings.addValue(PString("LogType"), PVariant(-1));
    settings.setValue(PString("LogType"), PVariant(-1));
    const std::string tail = at < size ? std::string(reinterpret_cast<const char*>(bytes) + at + 1, size - at - 1) : std::string();

    Device device;
    PIODevice::Callback input = [](PEvent* event) { event->value(PString("input")).toByteArray(); };
    if ((setup >> 2) & 1)
        input = nullptr;
    const bool opened = device.open(settings, input, [](const PError&) {});
    check(opened == device.isOpened());
    check(opened || device.getLastError().isError());
    check(factory->count() <= 1);
    if (const auto made = factory->last()) {
        // A socket is made only for an address that names a port.
        const auto kind = made->spec.kind;
        check((kind != PDeviceSpec::TcpSocket && kind != PDeviceSpec::UdpSocket) || made->spec.port != 0);
        for (size_t from = 0; from < tail.size(); from += 7)
            made->deliver(PByteArray(tail.substr(from, 7)));
        device.close();
        check(made->closes <= 1);
        check(!opened || made->closes == 1);
    }
    if ((setup >> 3) & 1)
        DeviceManager::test(settings);
    return 0;
}
