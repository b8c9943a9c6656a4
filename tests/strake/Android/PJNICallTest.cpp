// The call machinery in a real VM: every result type of PJNIClass and PJNIClassObject, failed
// calls, local references over many calls, and Java calling back into native code that calls Java.
#include "PJNITestFixture.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <thread>

using namespace kelmortest;
using namespace std::string_literals;

namespace {

// JniProbe.nativeCallBack: calls Java again through the object whose address is the token.
jboolean JNICALL nativeCallBack(JNIEnv*, jclass, jlong token)
{
    auto* probe = reinterpret_cast<PJNIClassObject*>(static_cast<intptr_t>(token));
    return probe->callIntMethod("twice", "(I)I", 21) == 42 ? JNI_TRUE : JNI_FALSE;
}

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

TEST_F(PJNITest, failedCallsLeaveNoPendingExceptionAndRunNoJava)
{
    PJNIClassObjectPtr probe = newProbe();
    PJNIClass cls = PJNIHelper::getClass(kProbe);
    JNIEnv* env = PHostJvm::env();

    // A Java exception is wiped and is no error of ours: the result alone tells.
    probe->callVoidMethod("failVoid", "()V");
    EXPECT_FALSE(probe->callBooleanMethod("failBoolean", "()Z"));
    EXPECT_EQ(probe->callIntMethod("failInt", "()I"), 0);
    EXPECT_TRUE(probe->callStringMethod("failString", "()Ljava/lang/String;").isEmpty());
    EXPECT_TRUE(probe->callByteArrayMethod("failBytes", "()[B").isEmpty());
    EXPECT_EQ(probe->lastError().code(), 0);
    EXPECT_FALSE(env->ExceptionCheck());

    const int counted = cls.callStaticIntMethod("callCount", "()I");
    EXPECT_FALSE(probe->callBooleanMethod("count", "(I)Z", 1));
    EXPECT_EQ(probe->lastError().code(), 2);
    EXPECT_EQ(probe->lastError().message(), PString("method count not fount"));
    EXPECT_FALSE(cls.callStaticBooleanMethod("nope", "()Z"));
    EXPECT_EQ(cls.lastError().message(), PString("method nope not fount"));
    EXPECT_EQ(cls.callStaticIntMethod("callCount", "()I"), counted);
    EXPECT_EQ(cls.lastError().code(), 0);
    EXPECT_FALSE(env->ExceptionCheck());

    PJNIClassObjectPtr refused = PJNIHelper::createClassObj(kProbe, "(I)V", 5);
    ASSERT_NE(refused, nullptr);
    EXPECT_FALSE(refused->isValid());
    EXPECT_FALSE(refused->callBooleanMethod("hasActivity", "()Z"));
    EXPECT_EQ(refused->lastError().message(), PString("Invalid class object to call"));
    EXPECT_FALSE(PJNIHelper::createClassObj(kProbe, "(Z)V", JNI_TRUE));
    EXPECT_FALSE(env->ExceptionCheck());
}

TEST_F(PJNITest, hundredThousandCallsFromOneNativeThreadLeakNoLocalReference)
{
    PJNIClassObjectPtr probe = newProbe();
    std::thread caller([&probe] {
        PJNIClass cls = PJNIHelper::getClass(kProbe);
        const PJNILocalRef text = PJNILocalRef::string(PString("scan"));
        int good = 0;
        for (int i = 0; i < 100000; ++i) {
            switch (i % 3) {
            case 0:
                good += probe->callStringMethod("echo", "(Ljava/lang/String;)Ljava/lang/String;",
                                                text.asString()) == PString("scan");
                break;
            case 1:
                good += cls.callStaticByteArrayMethod("staticBytes", "(I)[B", 20).size() == 20;
                break;
            default:
                good += probe->callBooleanMethod("hasActivity", "()Z");
            }
        }
        EXPECT_EQ(good, 100000);
    });
    caller.join();
    // The JNI checker reports a thread whose local references outgrow their capacity; the
    // fixture fails the test on any such report.
}

TEST_F(PJNITest, javaCallingBackIntoNativeCodeMayCallJavaAgain)
{
    JNIEnv* env = PHostJvm::env();
    PJNIClass cls = PJNIHelper::getClass(kProbe);
    JNINativeMethod method{const_cast<char*>("nativeCallBack"), const_cast<char*>("(J)Z"),
                           reinterpret_cast<void*>(&nativeCallBack)};
    ASSERT_EQ(env->RegisterNatives(cls.getJClass(), &method, 1), JNI_OK);
    PJNIClassObjectPtr probe = newProbe();
    EXPECT_TRUE(probe->callBooleanMethod("callBack", "(J)Z", reinterpret_cast<jlong>(probe.get())));
    // The lock is free again for everyone else.
    std::thread other([] {
        PJNIHelper::exclusiveCallBegin();
        PJNIHelper::exclusiveCallEnd();
    });
    other.join();
}

}
