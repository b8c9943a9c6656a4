// The host interface's binary layout: the value record's offsets and the vtable slot of every
// operation the host or the component calls, checked by calling through the raw slot.
#include "HostInterface.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

// Calls slot `index` of the vtable at `object` as a function of the given type.
template <class Fn, class... Args>
auto callSlot(void* object, int index, Args... args)
{
    void** vtable = *static_cast<void***>(object);
    auto fn = reinterpret_cast<Fn>(vtable[index]);
    return fn(object, args...);
}

struct RecordingConnection : IAddInDefBaseEx {
    std::string last;
    bool reportError(unsigned short, const char16_t*, const char16_t*, long) override { last = "reportError"; return true; }
    bool read(char16_t*, tVariant*, long*, char16_t**) override { last = "read"; return true; }
    bool write(char16_t*, tVariant*) override { last = "write"; return true; }
    bool registerProfileAs(char16_t*) override { last = "registerProfileAs"; return true; }
    bool setEventBufferDepth(long) override { last = "setEventBufferDepth"; return true; }
    long getEventBufferDepth() override { last = "getEventBufferDepth"; return 7; }
    bool externalEvent(char16_t*, char16_t*, char16_t*) override { last = "externalEvent"; return true; }
    void cleanEventBuffer() override { last = "cleanEventBuffer"; }
    bool setStatusLine(char16_t*) override { last = "setStatusLine"; return true; }
    void resetStatusLine() override { last = "resetStatusLine"; }
    void* queryInterface(int id) override { last = "queryInterface" + std::to_string(id); return this; }
};

// Two slots for the virtual destructor come first in every vtable.
const int kFirst = 2;

TEST(HostInterfaceTest, connectionOperationsSitInTheirFixedSlots)
{
    RecordingConnection connection;
    IAddInDefBaseEx* base = &connection;
    char16_t text[] = u"x";
    EXPECT_EQ((callSlot<bool (*)(void*, unsigned short, const char16_t*, const char16_t*, long)>(base, kFirst + 0, 1003, text, text, 1L), connection.last), "reportError");
    EXPECT_EQ((callSlot<bool (*)(void*, char16_t*, tVariant*, long*, char16_t**)>(base, kFirst + 1, text, nullptr, nullptr, nullptr), connection.last), "read");
    EXPECT_EQ((callSlot<bool (*)(void*, char16_t*, tVariant*)>(base, kFirst + 2, text, nullptr), connection.last), "write");
    EXPECT_EQ((callSlot<bool (*)(void*, char16_t*)>(base, kFirst + 3, text), connection.last), "registerProfileAs");
    EXPECT_EQ((callSlot<bool (*)(void*, long)>(base, kFirst + 4, 10L), connection.last), "setEventBufferDepth");
    EXPECT_EQ((callSlot<long (*)(void*)>(base, kFirst + 5)), 7);
    EXPECT_EQ(connection.last, "getEventBufferDepth");
    EXPECT_EQ((callSlot<bool (*)(void*, char16_t*, char16_t*, char16_t*)>(base, kFirst + 6, text, text, text), connection.last), "externalEvent");
    EXPECT_EQ((callSlot<void (*)(void*)>(base, kFirst + 7), connection.last), "cleanEventBuffer");
    EXPECT_EQ((callSlot<bool (*)(void*, char16_t*)>(base, kFirst + 8, text), connection.last), "setStatusLine");
    EXPECT_EQ((callSlot<void (*)(void*)>(base, kFirst + 9), connection.last), "resetStatusLine");
    EXPECT_EQ((callSlot<void* (*)(void*, int)>(base, kFirst + 10, 2), connection.last), "queryInterface2");
}

struct RecordingMemory : IMemoryManager {
    std::string last;
    bool allocMemory(void** memory, unsigned long) override { last = "alloc"; *memory = nullptr; return true; }
    void freeMemory(void**) override { last = "free"; }
};

TEST(HostInterfaceTest, allocatorSlotsAreAllocThenFree)
{
    RecordingMemory memory;
    IMemoryManager* base = &memory;
    void* block = nullptr;
    EXPECT_EQ((callSlot<bool (*)(void*, void**, unsigned long)>(base, kFirst, &block, 8ul), memory.last), "alloc");
    EXPECT_EQ((callSlot<void (*)(void*, void**)>(base, kFirst + 1, &block), memory.last), "free");
}

struct RecordingComponent : IComponentBase {
    std::string last;
    bool Init(void*) override { last = "Init"; return true; }
    bool setMemManager(void*) override { last = "setMemManager"; return true; }
    long GetInfo() override { last = "GetInfo"; return 2000; }
    void Done() override { last = "Done"; }
    bool RegisterExtensionAs(char16_t**) override { last = "RegisterExtensionAs"; return true; }
    long GetNProps() override { last = "GetNProps"; return 0; }
    long FindProp(const char16_t*) override { last = "FindProp"; return -1; }
    const char16_t* GetPropName(long, long) override { last = "GetPropName"; return nullptr; }
    bool GetPropVal(long, tVariant*) override { last = "GetPropVal"; return true; }
    bool SetPropVal(long, tVariant*) override { last = "SetPropVal"; return true; }
    bool IsPropReadable(long) override { last = "IsPropReadable"; return true; }
    bool IsPropWritable(long) override { last = "IsPropWritable"; return true; }
    long GetNMethods() override { last = "GetNMethods"; return 0; }
    long FindMethod(const char16_t*) override { last = "FindMethod"; return -1; }
    const char16_t* GetMethodName(long, long) override { last = "GetMethodName"; return nullptr; }
    long GetNParams(long) override { last = "GetNParams"; return 0; }
    bool GetParamDefValue(long, long, tVariant*) override { last = "GetParamDefValue"; return true; }
    bool HasRetVal(long) override { last = "HasRetVal"; return true; }
    bool CallAsProc(long, tVariant*, long) override { last = "CallAsProc"; return true; }
    bool CallAsFunc(long, tVariant*, tVariant*, long) override { last = "CallAsFunc"; return true; }
    void SetLocale(const char16_t*) override { last = "SetLocale"; }
    void SetUserInterfaceLanguageCode(const char16_t*) override { last = "SetUserInterfaceLanguageCode"; }
};

TEST(HostInterfaceTest, componentBasesKeepTheirOrderAndSlots)
{
    RecordingComponent component;
    IComponentBase* object = &component;
    // The bases follow each other, one vtable pointer each, in the host's order.
    auto* init = static_cast<IInitDoneBase*>(object);
    auto* language = static_cast<ILanguageExtenderBase*>(object);
    auto* locale = static_cast<LocaleBase*>(object);
    auto* user = static_cast<UserLanguageBase*>(object);
    auto offset = [object](void* base) { return static_cast<char*>(base) - reinterpret_cast<char*>(object); };
    EXPECT_EQ(offset(init), 0);
    EXPECT_EQ(offset(language), 8);
    EXPECT_EQ(offset(locale), 16);
    EXPECT_EQ(offset(user), 24);

    const char* initNames[] = {"Init", "setMemManager", "GetInfo", "Done"};
    EXPECT_EQ((callSlot<bool (*)(void*, void*)>(init, kFirst + 0, nullptr), component.last), initNames[0]);
    EXPECT_EQ((callSlot<bool (*)(void*, void*)>(init, kFirst + 1, nullptr), component.last), initNames[1]);
    EXPECT_EQ((callSlot<long (*)(void*)>(init, kFirst + 2), component.last), initNames[2]);
    EXPECT_EQ((callSlot<void (*)(void*)>(init, kFirst + 3), component.last), initNames[3]);

    const char* languageNames[] = {"RegisterExtensionAs", "GetNProps", "FindProp", "GetPropName",
                                   "GetPropVal", "SetPropVal", "IsPropReadable", "IsPropWritable",
                                   "GetNMethods", "FindMethod", "GetMethodName", "GetNParams",
                                   "GetParamDefValue", "HasRetVal", "CallAsProc", "CallAsFunc"};
    tVariant value{};
    char16_t* name = nullptr;
    EXPECT_EQ((callSlot<bool (*)(void*, char16_t**)>(language, kFirst + 0, &name), component.last), languageNames[0]);
    EXPECT_EQ((callSlot<long (*)(void*)>(language, kFirst + 1), component.last), languageNames[1]);
    EXPECT_EQ((callSlot<long (*)(void*, const char16_t*)>(language, kFirst + 2, u"p"), component.last), languageNames[2]);
    EXPECT_EQ((callSlot<const char16_t* (*)(void*, long, long)>(language, kFirst + 3, 0L, 0L), component.last), languageNames[3]);
    EXPECT_EQ((callSlot<bool (*)(void*, long, tVariant*)>(language, kFirst + 4, 0L, &value), component.last), languageNames[4]);
    EXPECT_EQ((callSlot<bool (*)(void*, long, tVariant*)>(language, kFirst + 5, 0L, &value), component.last), languageNames[5]);
    EXPECT_EQ((callSlot<bool (*)(void*, long)>(language, kFirst + 6, 0L), component.last), languageNames[6]);
    EXPECT_EQ((callSlot<bool (*)(void*, long)>(language, kFirst + 7, 0L), component.last), languageNames[7]);
    EXPECT_EQ((callSlot<long (*)(void*)>(language, kFirst + 8), component.last), languageNames[8]);
    EXPECT_EQ((callSlot<long (*)(void*, const char16_t*)>(language, kFirst + 9, u"m"), component.last), languageNames[9]);
    EXPECT_EQ((callSlot<const char16_t* (*)(void*, long, long)>(language, kFirst + 10, 0L, 0L), component.last), languageNames[10]);
    EXPECT_EQ((callSlot<long (*)(void*, long)>(language, kFirst + 11, 0L), component.last), languageNames[11]);
    EXPECT_EQ((callSlot<bool (*)(void*, long, long, tVariant*)>(language, kFirst + 12, 0L, 0L, &value), component.last), languageNames[12]);
    EXPECT_EQ((callSlot<bool (*)(void*, long)>(language, kFirst + 13, 0L), component.last), languageNames[13]);
    EXPECT_EQ((callSlot<bool (*)(void*, long, tVariant*, long)>(language, kFirst + 14, 0L, &value, 0L), component.last), languageNames[14]);
    EXPECT_EQ((callSlot<bool (*)(void*, long, tVariant*, tVariant*, long)>(language, kFirst + 15, 0L, &value, &value, 0L), component.last), languageNames[15]);

    EXPECT_EQ((callSlot<void (*)(void*, const char16_t*)>(locale, kFirst, u"ru_RU"), component.last), "SetLocale");
    EXPECT_EQ((callSlot<void (*)(void*, const char16_t*)>(user, kFirst, u"ru"), component.last), "SetUserInterfaceLanguageCode");
}

TEST(HostInterfaceTest, valueRecordKeepsTheHostsOffsets)
{
    tVariant value;
    std::memset(&value, 0, sizeof value);
    char16_t text[] = u"abc";
    value.pwstrVal = text;
    value.wstrLen = 3;
    value.vt = VTYPE_PWSTR;
    const auto* raw = reinterpret_cast<const unsigned char*>(&value);
    char16_t* pointer = nullptr;
    std::memcpy(&pointer, raw, sizeof pointer);
    uint32_t length = 0;
    std::memcpy(&length, raw + 8, sizeof length);
    uint16_t type = 0;
    std::memcpy(&type, raw + 60, sizeof type);
    EXPECT_EQ(pointer, text);
    EXPECT_EQ(length, 3u);
    EXPECT_EQ(type, 22);
    EXPECT_EQ(sizeof(tVariant), 64u);
}

}
