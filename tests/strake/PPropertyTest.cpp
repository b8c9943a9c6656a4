// Reading and writing a property through its getter, setter and notifier.
#include "PProperty.h"

#include "PHostMemoryManager.h"
#include "StrakeVariant.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

TEST(PPropertyTest, writesAreCheckedAndNotifiedOnlyWhenTheSetterTakesThem)
{
    int stored = 0;
    int notified = 0;
    bool accept = true;
    PProperty property(
        PString("Speed"), PSemanticEntry(VTYPE_I4, true),
        [&](tVariant* value, IMemoryManager*) { return strake::int2var(value, stored, VTYPE_I4); },
        [&](const tVariant* value) {
            if (accept)
                stored = value->lVal;
            return accept;
        },
        [&](const tVariant&) { ++notified; });
    ASSERT_TRUE(property.isValid());

    tVariant value;
    std::memset(&value, 0, sizeof value);
    strake::int2var(&value, 9600, VTYPE_UI4);
    PError error;
    EXPECT_TRUE(property.setValue(&value, &error));
    EXPECT_EQ(stored, 9600);
    EXPECT_EQ(notified, 1);

    accept = false;
    EXPECT_TRUE(property.setValue(&value, &error));
    EXPECT_EQ(notified, 1);

    strake::double2var(&value, 1.5, VTYPE_R8);
    EXPECT_FALSE(property.setValue(&value, &error));
    EXPECT_EQ(error.code(), 103);
    EXPECT_THROW(property(&value), PError);

    EXPECT_EQ(property.getValue(&error).lVal, 9600);
    EXPECT_FALSE(property.getValue(nullptr, &error));
    EXPECT_EQ(error.code(), 101);

    // Read-only and unreadable properties answer as such.
    PProperty readOnly(PString("Name"), PSemanticEntry(VTYPE_PWSTR, false),
                       [](tVariant* value, IMemoryManager* manager) {
                           return strake::wstr2var(value, L"scanner", manager);
                       });
    EXPECT_TRUE(readOnly.isReadable());
    EXPECT_FALSE(readOnly.isWritable());
    std::memset(&value, 0, sizeof value);
    EXPECT_TRUE(readOnly.setValue(&value, nullptr));

    PHostMemoryManager memory;
    readOnly.setAllocator(&memory);
    ASSERT_TRUE(readOnly.getValue(&value, &error));
    EXPECT_EQ(hostTextOf(value), u"scanner");
    memory.release(value);

    PProperty unreadable(PString("Secret"), PSemanticEntry(VTYPE_PWSTR, false), nullptr);
    EXPECT_FALSE(unreadable.isValid());
    EXPECT_FALSE(unreadable.getValue(&value, &error));
    EXPECT_EQ(error.code(), 105);
    EXPECT_FALSE(PProperty(PString("Void"), PSemanticEntry(), [](tVariant*, IMemoryManager*) {
                     return true;
                 }).isValid());
}

}
