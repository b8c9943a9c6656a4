// The component as the host drives it: GetParameters, SetParameter with arbitrary names and
// host values of every type, Open against a recording device that then delivers the rest of
// the input, GetLastError, Close and DeviceTest, all through the vtable. Every call answers
// true, and the host ends each input holding no block of its own manager.
#include "PVKObjectManager.h"
#include "PHostConnection.h"
#include "PHostMemoryManager.h"
#include "PLocale.h"

#include "../tests/AddIn/RecordingDevice.h"

#include <android/log.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

const char16_t* const kNames[] = {
    u"BluetoothDevice", u"Prefix", u"Suffix", u"OutputDataType", u"GSSymbolKey", u"Timeout",
    u"DataBits", u"StopBits", u"Parity", u"Speed", u"COMEncoding", u"StandardAction",
    u"StandardCategory", u"StandardExtra", u"Action", u"Category", u"Extra", u"ExtraType",
    u"KeyboardDevice", u"EquipmentType", u"Port", u""};
const size_t kNameCount = sizeof kNames / sizeof kNames[0];

void check(bool holds)
{
    if (!holds)
        std::abort();
}

// A host value of type code `type`: texts and blobs in the host's memory, numbers from the
// bytes. A nested variant gets no pointer: the host never hands one over.
tVariant hostValue(PHostMemoryManager& memory, uint8_t type, const uint8_t* data, size_t size)
{
    tVariant value;
    std::memset(&value, 0, sizeof value);
    value.vt = type % 24;
    if (value.vt == VTYPE_PWSTR) {
        std::u16string units(size / 2, u'\0');
        if (!units.empty())
            std::memcpy(&units[0], data, units.size() * 2);
        return memory.text(units);
    }
    if (value.vt == VTYPE_PSTR || value.vt == VTYPE_BLOB) {
        void* block = nullptr;
        if (memory.allocMemory(&block, size)) {
            if (size > 0)
                std::memcpy(block, data, size);
            value.pstrVal = static_cast<char*>(block);
            value.strLen = static_cast<uint32_t>(size);
        }
        return value;
    }
    if (value.vt != VTYPE_VARIANT)
        std::memcpy(&value.llVal, data, std::min(size, sizeof value.llVal));
    return value;
}

// One component for the whole run, as a host keeps it.
struct Host {
    Host()
    {
        __android_log_set_minimum_priority(ANDROID_LOG_FATAL);
        check(GetClassObject(u"InputDevice", &component) != 0);
        component->setMemManager(&memory);
        check(component->Init(&connection));
        component->SetLocale(u"en_US");
        call(u"GetParameters", {tVariant{}});
    }
    ~Host() { DestroyObject(&component); }

    // Calls a method by name; the parameters are released afterwards, the host's way.
    bool call(const char16_t* name, std::vector<tVariant> params, tVariant* result = nullptr)
    {
        const long index = component->FindMethod(name);
        check(index >= 0);
        tVariant answer;
        std::memset(&answer, 0, sizeof answer);
        check(component->CallAsFunc(index, &answer, params.data(), long(params.size())));
        const bool passed = answer.vt == VTYPE_BOOL && answer.bVal;
        if (result)
            *result = params.empty() ? answer : params[0];
        else if (!params.empty())
            memory.release(params[0]);
        for (size_t i = 1; i < params.size(); ++i)
            memory.release(params[i]);
        memory.release(answer);
        return passed;
    }

    PHostMemoryManager memory;
    PHostConnection connection;
    IComponentBase* component = nullptr;
};

tVariant empty()
{
    tVariant value;
    std::memset(&value, 0, sizeof value);
    return value;
}

}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    static Host host;
    if (size < 1)
        return 0;
    auto factory = std::make_shared<kelmortest::RecordingFactory>();
    kelmortest::fillFakeLists(*factory);
    factory->failures = bytes[0] & 3;
    kelmortest::FactoryScope scope(factory);
    // Values set by earlier inputs stay, as in a host that sets parameters again and again:
    // rebuilding the store (GetParameters, SetLocale) costs more than all the rest of an input.
    PLocale::setDefaultLocaleId((bytes[0] & 4) ? PLocale::Russian : PLocale::English);
    // Records of name, type, length and value up to a 0xFF name; the rest is delivered.
    size_t at = 1;
    while (at + 3 <= size && bytes[at] != 0xFF) {
        const uint8_t key = bytes[at];
        const size_t length = std::min<size_t>(bytes[at + 2], size - at - 3);
        const uint8_t* data = bytes + at + 3;
        const std::u16string name = key % 32 < kNameCount
            ? std::u16string(kNames[key % 32])
            : std::u16string(data, data + length / 2);
        host.call(u"SetParameter", {host.memory.text(name),
                                    hostValue(host.memory, bytes[at + 1], data, length)});
        at += 3 + length;
    }
    // The log stays off: a fuzzer must not write files where the input points.
    tVariant off = empty();
    off.vt = VTYPE_I4;
    off.lVal = -1;
    host.call(u"SetParameter", {host.memory.text(u"LogType"), off});

    tVariant id = empty();
    if (host.call(u"Open", {empty()}, &id)) {
        check(id.vt == VTYPE_PWSTR);
        if (const auto made = factory->last()) {
            for (size_t from = at + 1; from < size; from += 5)
                made->deliver(PByteArray(std::string(reinterpret_cast<const char*>(bytes) + from,
                                                     std::min<size_t>(5, size - from))));
        }
        check(host.call(u"Close", {id}));
    } else {
        host.call(u"GetLastError", {empty()});
    }
    if (bytes[0] & 8)
        host.call(u"DeviceTest", {empty(), empty()});
    host.connection.clear();
    check(host.memory.liveBlocks() == 0 && host.memory.foreignBlocks() == 0);
    return 0;
}
