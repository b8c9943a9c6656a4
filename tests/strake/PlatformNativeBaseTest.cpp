// The host's index-based calls answered from a small component's table, and the vtable slot of
// every host interface operation (the value record's offsets are the header's static assertions).
#include "PlatformNativeBase.h"

#include "PHostConnection.h"
#include "PHostMemoryManager.h"
#include "StrakeVariant.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

class ProbeComponent : public PlatformNativeBaseEx {
public:
    ProbeComponent() : PlatformNativeBaseEx(PString("1.0"), PString("Probe"))
    {
        const auto fails = [](tVariant*, tVariant*, long, IMemoryManager*) -> bool {
            throw std::runtime_error("not for the host");
        };
        addMethod(PMethod(PString("Fail"), PMethodSemantic::fromString("VOID()"), fails),
                  PString("Сбой"));
        PMethodSemantic withDefaults({PSemanticEntry(VTYPE_PWSTR, false, PVariant(PString(u"COM1"))),
                                      PSemanticEntry(VTYPE_I4, false)},
                                     PSemanticEntry());
        addMethod(PMethod(PString("Beep"), withDefaults,
                          [this](tVariant*, tVariant*, long, IMemoryManager*) {
                              ++beeps;
                              return true;
                          }),
                  PString("Сигнал"));
        addProperty(PProperty(PString("Level"), PSemanticEntry(VTYPE_I4, true),
                              [this](tVariant* value, IMemoryManager*) {
                                  return strake::int2var(value, level, VTYPE_I4);
                              },
                              [this](const tVariant* value) {
                                  level = value->lVal;
                                  return true;
                              }),
                    PString("Уровень"));
    }
    void SetLocale(const char16_t*) override { ++localeCalls; }

    int beeps = 0;
    int level = 5;
    int localeCalls = 0;
};

class PlatformNativeBaseTest : public ::testing::Test {
protected:
    ProbeComponent component;
    IComponentBase& host = component;
    PHostMemoryManager memory;
    PHostConnection connection;
};

TEST_F(PlatformNativeBaseTest, startCallsAnswerBeforeAndAfterInit)
{
    EXPECT_EQ(host.GetInfo(), 3003);
    char16_t* name = nullptr;
    EXPECT_FALSE(host.RegisterExtensionAs(&name)) << "no memory yet";
    EXPECT_FALSE(host.Init(nullptr));
    EXPECT_FALSE(component.isInitialized());
    EXPECT_FALSE(host.setMemManager(nullptr));
    EXPECT_TRUE(host.setMemManager(&memory));
    EXPECT_TRUE(host.Init(static_cast<IAddInDefBaseEx*>(&connection)));
    ASSERT_TRUE(host.RegisterExtensionAs(&name));
    EXPECT_EQ(std::u16string(name), u"Probe");
    void* block = name;
    memory.freeMemory(&block);
    host.SetUserInterfaceLanguageCode(u"ru");
    EXPECT_EQ(component.localeCalls, 1);
}

TEST_F(PlatformNativeBaseTest, handlerExceptionsBecomeOneReportWithAnEmptyMessage)
{
    host.Init(static_cast<IAddInDefBaseEx*>(&connection));
    EXPECT_FALSE(host.CallAsProc(host.FindMethod(u"Сбой"), nullptr, 0));
    const auto errors = connection.errors();
    ASSERT_EQ(errors.size(), 1u);
    EXPECT_EQ(errors[0].level, 1003);
    EXPECT_EQ(errors[0].source, u"Probe");
    EXPECT_EQ(errors[0].code, 2);
    EXPECT_TRUE(errors[0].text.empty());
    EXPECT_EQ(component.getLastError().code(), 2);
    EXPECT_EQ(component.getLastError().module(), PString("jni/../../strake/PMethod"));

    ProbeComponent alone;
    alone.CallAsProc(0, nullptr, 0);
    EXPECT_EQ(alone.getLastError().code(), 2);
}

TEST_F(PlatformNativeBaseTest, parameterDefaultsAndPropertiesReachTheHost)
{
    host.setMemManager(&memory);
    host.Init(static_cast<IAddInDefBaseEx*>(&connection));

    const long beep = host.FindMethod(u"Beep");
    tVariant value = hostEmptyValue();
    ASSERT_TRUE(host.GetParamDefValue(beep, 0, &value));
    EXPECT_EQ(hostTextOf(value), u"COM1");
    memory.release(value);
    EXPECT_FALSE(host.GetParamDefValue(beep, 1, &value));
    EXPECT_FALSE(host.GetParamDefValue(beep, 9, &value));
    tVariant params[2] = {hostEmptyValue(), hostEmptyValue()};
    EXPECT_TRUE(host.CallAsProc(beep, params, 2));
    EXPECT_EQ(component.beeps, 1);
    EXPECT_TRUE(connection.errors().empty());

    const long level = host.FindProp(u"Уровень");
    ASSERT_EQ(level, 0);
    EXPECT_EQ(host.FindProp(u"level"), -1);
    EXPECT_TRUE(host.IsPropReadable(level));
    EXPECT_TRUE(host.IsPropWritable(level));
    const char16_t* alias = host.GetPropName(level, 1);
    EXPECT_EQ(std::u16string(alias), u"Уровень");
    void* block = const_cast<char16_t*>(alias);
    memory.freeMemory(&block);
    strake::int2var(&value, 42, VTYPE_I4);
    EXPECT_TRUE(host.SetPropVal(level, &value));
    value = hostEmptyValue();
    EXPECT_TRUE(host.GetPropVal(level, &value));
    EXPECT_EQ(value.lVal, 42);

    strake::double2var(&value, 1.0, VTYPE_R8);
    EXPECT_FALSE(host.SetPropVal(level, &value));
    EXPECT_FALSE(host.GetPropVal(level, nullptr));
    const auto errors = connection.errors();
    ASSERT_EQ(errors.size(), 2u);
    EXPECT_EQ(errors[0].code, 103);
    EXPECT_EQ(errors[1].code, 101);
    EXPECT_EQ(memory.liveBlocks(), 0u);
}

TEST_F(PlatformNativeBaseTest, exclusiveCallsDoNotOverlap)
{
    int inside = 0;
    int overlaps = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 1000; ++i) {
                PExclusiveCall exclusive(component);
                if (++inside != 1)
                    ++overlaps;
                --inside;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(overlaps, 0);
}


// A virtual function's vtable slot after the destructor's two, from the Itanium ABI's member
// pointer: the slot's byte offset, plus one except on ARM (which marks it in the other word).
template <class Member>
long slotOf(Member member)
{
    struct {
        uintptr_t pointer;
        ptrdiff_t adjustment;
    } raw;
    static_assert(sizeof member == sizeof raw, "a member pointer of two words");
    std::memcpy(&raw, &member, sizeof raw);
#if defined(__arm__) || defined(__aarch64__)
    return static_cast<long>(raw.pointer / sizeof(void*)) - 2;
#else
    return static_cast<long>((raw.pointer - 1) / sizeof(void*)) - 2;
#endif
}

using Slots = std::vector<long>;

TEST(HostInterfaceTest, everyOperationSitsInItsFixedSlot)
{
    EXPECT_EQ((Slots{slotOf(&IAddInDefBaseEx::reportError), slotOf(&IAddInDefBaseEx::read),
                     slotOf(&IAddInDefBaseEx::write), slotOf(&IAddInDefBaseEx::registerProfileAs),
                     slotOf(&IAddInDefBaseEx::setEventBufferDepth),
                     slotOf(&IAddInDefBaseEx::getEventBufferDepth),
                     slotOf(&IAddInDefBaseEx::externalEvent), slotOf(&IAddInDefBaseEx::cleanEventBuffer),
                     slotOf(&IAddInDefBaseEx::setStatusLine), slotOf(&IAddInDefBaseEx::resetStatusLine),
                     slotOf(&IAddInDefBaseEx::queryInterface)}),
              (Slots{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
    EXPECT_EQ((Slots{slotOf(&IMemoryManager::allocMemory), slotOf(&IMemoryManager::freeMemory)}),
              (Slots{0, 1}));
    EXPECT_EQ((Slots{slotOf(&IInitDoneBase::Init), slotOf(&IInitDoneBase::setMemManager),
                     slotOf(&IInitDoneBase::GetInfo), slotOf(&IInitDoneBase::Done)}),
              (Slots{0, 1, 2, 3}));
    using Language = ILanguageExtenderBase;
    EXPECT_EQ((Slots{slotOf(&Language::RegisterExtensionAs), slotOf(&Language::GetNProps),
                     slotOf(&Language::FindProp), slotOf(&Language::GetPropName),
                     slotOf(&Language::GetPropVal), slotOf(&Language::SetPropVal),
                     slotOf(&Language::IsPropReadable), slotOf(&Language::IsPropWritable),
                     slotOf(&Language::GetNMethods), slotOf(&Language::FindMethod),
                     slotOf(&Language::GetMethodName), slotOf(&Language::GetNParams),
                     slotOf(&Language::GetParamDefValue), slotOf(&Language::HasRetVal),
                     slotOf(&Language::CallAsProc), slotOf(&Language::CallAsFunc)}),
              (Slots{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}));
    EXPECT_EQ(slotOf(&LocaleBase::SetLocale), 0);
    EXPECT_EQ(slotOf(&UserLanguageBase::SetUserInterfaceLanguageCode), 0);
}

}
