// PJNIClass and PJNIClassObject in a real VM: every result type of the call family.
#include "PJNITestFixture.h"

#include <gtest/gtest.h>

using namespace std::string_literals;

using namespace kelmortest;

namespace {

TEST_F(PJNITest, callFamilyGivesEveryResultTypeOfObjectsAndClasses)
{
    PJNIClassObjectPtr probe = newProbe(0x1234);
    PJNIClassObjectPtr second = newProbe();
    ASSERT_NE(probe, nullptr);
    ASSERT_TRUE(probe->isValid());
    EXPECT_NE(probe->getId(), second->getId());
    EXPECT_EQ(probe->getJClass(), second->getJClass());

    EXPECT_TRUE(probe->callBooleanMethod("hasActivity", "()Z"));
    EXPECT_EQ(probe->callIntMethod("addressLow", "()I"), 0x1234);
    const PString text(u"Код\u0000€\U0001F600;"s);
    const PJNILocalRef javaText = PJNILocalRef::string(text);
    EXPECT_EQ(probe->callStringMethod("echo", "(Ljava/lang/String;)Ljava/lang/String;", javaText.asString()),
              text);
    const unsigned char bytes[] = {0, 1, 0x1D, 0xFF};
    const PJNILocalRef javaBytes = PJNILocalRef::bytes(PByteArray(bytes, 4));
    EXPECT_EQ(probe->callByteArrayMethod("reversed", "([B)[B", javaBytes.asBytes()),
              PByteArray(std::string("\xFF\x1D\x01\x00", 4)));
    const PJNILocalRef empty(PJNIHelper::byteArray2jbyteArray(nullptr, 0));
    EXPECT_TRUE(probe->callByteArrayMethod("reversed", "([B)[B", empty.asBytes()).isEmpty());
    EXPECT_EQ(probe->lastError().code(), 0);

    PJNIClass cls = PJNIHelper::getClass(kProbe);
    const int counted = cls.callStaticIntMethod("callCount", "()I");
    probe->callVoidMethod("count", "()V");
    cls.callStaticVoidMethod("staticCount", "()V");
    EXPECT_EQ(cls.callStaticIntMethod("callCount", "()I"), counted + 2);
    EXPECT_TRUE(cls.callStaticBooleanMethod("isTwentyBytes", "([B)Z",
                                            PJNILocalRef::bytes(PByteArray("01234567890123456789")).asBytes()));
    EXPECT_EQ(cls.callStaticStringMethod("staticEcho", "(Ljava/lang/String;)Ljava/lang/String;",
                                         javaText.asString()),
              text);
    EXPECT_EQ(cls.callStaticByteArrayMethod("staticBytes", "(I)[B", 3),
              PByteArray(std::string("\x00\x01\x02", 3)));
    EXPECT_EQ(cls.lastError().code(), 0);
    EXPECT_EQ(cls.createObject("()V"), nullptr);
    EXPECT_EQ(cls.lastError().message(), PString("Not Implemented"));
    EXPECT_EQ(probe->callIntMethod({}, PString("twice")), 0);
    EXPECT_EQ(probe->lastError().code(), 1);

    PJNIHelper::destroyClassObj(nullptr);
}

}
