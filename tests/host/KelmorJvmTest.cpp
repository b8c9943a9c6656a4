// The library in the VM, driven through the test host: Init connects the Java side and
// registers the library with the Java loader, the last component takes every reference down.
#include "JvmTest.h"
#include "PHostLibrary.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <string>

namespace {

class KelmorJvmTest : public kelmortest::JvmTest {
protected:
    void SetUp() override
    {
        JvmTest::SetUp();
        ASSERT_TRUE(PHostJvm::loadLibrary(kelmortest::libraryPath()));
        m_connection.setAndroidHelper(static_cast<IHostAndroidHelper*>(&PHostJvm::androidHelper()));
    }

    PHostLibrary m_library{kelmortest::libraryPath()};
    PHostConnection m_connection;
};

TEST_F(KelmorJvmTest, initConnectsJavaAndTheLastComponentDropsEveryReference)
{
    ASSERT_TRUE(m_library.isLoaded()) << m_library.errorText();
    const long before = PHostJvm::globalRefCount();
    {
        PHostComponent first(m_library, u"InputDevice", nullptr, &m_connection);
        PHostComponent second(m_library, u"CardReaderDevice", nullptr, &m_connection);
        ASSERT_TRUE(first.attach());
        EXPECT_TRUE(PHostJvm::androidHelper().callStaticBoolean(u"com.tavrel.strake.PLibLoader",
                                                                "isRegistered", "com_tavrel_Kelmor"));
        // The activity, the loader's class and the classes that list ports for the settings
        // form are pinned; a second component adds nothing.
        const long connected = PHostJvm::globalRefCount();
        EXPECT_GE(connected, before + 2);
        ASSERT_TRUE(second.attach());
        EXPECT_EQ(PHostJvm::globalRefCount(), connected);
    }
    EXPECT_EQ(PHostJvm::globalRefCount(), before);

    // The next component connects afresh.
    PHostComponent again(m_library, u"InputDevice", nullptr, &m_connection);
    ASSERT_TRUE(again.attach());
    EXPECT_GE(PHostJvm::globalRefCount(), before + 2);
}

TEST_F(KelmorJvmTest, javaLoggerReachesTheLibrarysNativeWriter)
{
    JNIEnv* env = PHostJvm::env();
    auto cls = static_cast<jclass>(PHostJvm::androidHelper().findClass(u"com.tavrel.strake.PLogger"));
    ASSERT_NE(cls, nullptr);
    jmethodID write = env->GetStaticMethodID(cls, "PLoggerWrite", "(JLjava/lang/String;)V");
    jstring text = env->NewStringUTF("from Java");
    env->CallStaticVoidMethod(cls, write, jlong(0), text);
    // An UnsatisfiedLinkError would be pending here had the native not resolved.
    EXPECT_FALSE(env->ExceptionCheck());
    env->ExceptionClear();
    env->DeleteLocalRef(text);
    env->DeleteLocalRef(cls);
}

}
