// The host interface's binary layout: the vtable slot of every operation the host or the
// component calls. The value record's offsets are the header's own static assertions; the bases'
// order is checked on a component of the library itself (KelmorNativeTest).
#include "HostInterface.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace {

// The slot of a virtual function in its class's vtable, counted after the two slots of the
// virtual destructor. Read from the member pointer as the Itanium C++ ABI of GCC and Clang
// lays it out: the slot's byte offset, plus one except on ARM (which marks a virtual function
// in the other word).
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
