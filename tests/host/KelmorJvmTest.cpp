// The library in the VM, driven through the test host: Init connects the Java side and
// registers the library with the Java loader, the last component takes every reference down.
#include "JvmTest.h"
#include "PHostLibrary.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// One static Java call of the form (String)Z on a class of the jars, checked.
bool callStaticText(const char16_t* className, const char* method, const std::string& text)
{
    JNIEnv* env = kelmortest::jvmEnv();
    auto cls = static_cast<jclass>(kelmortest::androidHelper().findClass(className));
    EXPECT_NE(cls, nullptr);
    if (!cls)
        return false;
    jstring argument = env->NewStringUTF(text.c_str());
    jmethodID id = env->GetStaticMethodID(cls, method, "(Ljava/lang/String;)Z");
    const bool result = id && env->CallStaticBooleanMethod(cls, id, argument) == JNI_TRUE;
    EXPECT_FALSE(env->ExceptionCheck());
    env->ExceptionClear();
    env->DeleteLocalRef(argument);
    env->DeleteLocalRef(cls);
    return result;
}

class KelmorJvmTest : public kelmortest::JvmTest {
protected:
    void SetUp() override
    {
        JvmTest::SetUp();
        // Through the Java loader, so that the library belongs to the application's class
        // loader: JNI_OnLoad runs and the natives of its classes resolve in it.
        ASSERT_TRUE(callStaticText(u"com.tavrel.strake.PLibLoader", "staticLoad",
                                   kelmortest::libraryPath()));
        m_connection.setAndroidHelper(static_cast<IHostAndroidHelper*>(&kelmortest::androidHelper()));
    }

    PHostLibrary m_library{kelmortest::libraryPath()};
    PHostConnection m_connection;
};

TEST_F(KelmorJvmTest, initConnectsJavaAndTheLastComponentDropsEveryReference)
{
    ASSERT_TRUE(m_library.isLoaded()) << m_library.errorText();
    const long before = kelmortest::jniGlobalRefCount();
    {
        PHostComponent first(m_library, u"InputDevice", nullptr, &m_connection);
        PHostComponent second(m_library, u"CardReaderDevice", nullptr, &m_connection);
        ASSERT_TRUE(first.attach());
        EXPECT_TRUE(callStaticText(u"com.tavrel.strake.PLibLoader", "isRegistered",
                                   "com_tavrel_Kelmor"));
        // The activity and the loader's class are pinned; a second Init adds nothing.
        EXPECT_EQ(kelmortest::jniGlobalRefCount(), before + 2);
        ASSERT_TRUE(second.attach());
        EXPECT_EQ(kelmortest::jniGlobalRefCount(), before + 2);
    }
    EXPECT_EQ(kelmortest::jniGlobalRefCount(), before);

    // The next component connects afresh.
    PHostComponent again(m_library, u"InputDevice", nullptr, &m_connection);
    ASSERT_TRUE(again.attach());
    EXPECT_EQ(kelmortest::jniGlobalRefCount(), before + 2);
}

TEST_F(KelmorJvmTest, javaLoggerReachesTheLibrarysNativeWriter)
{
    JNIEnv* env = kelmortest::jvmEnv();
    auto cls = static_cast<jclass>(kelmortest::androidHelper().findClass(u"com.tavrel.strake.PLogger"));
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
