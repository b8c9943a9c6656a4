// The fixture of the device tests in the VM: the JNI layer connected through the test host,
// the companions' natives bound to this program's copy of the library, class names that a
// test may send to a recording double, and short ways to call Java's static methods.
#pragma once

#include "JvmTest.h"
#include "PHostConnection.h"
#include "PJNIHelper.h"

#include <jni.h>

#include <cstdarg>
#include <map>
#include <string>
#include <vector>

extern "C" {
void Java_com_tavrel_piodevice_PKeyboard_PKeyboardDataSend(JNIEnv*, jobject, jlong, jstring);
void Java_com_tavrel_piodevice_PBroadcastReceaver_PBroadcastReceaverSendData(JNIEnv*, jobject, jlong,
                                                                            jbyteArray);
void Java_com_tavrel_piodevice_PBroadcastReceaver_PBroadcastReceaverSendString(JNIEnv*, jobject,
                                                                              jlong, jstring);
}

namespace kelmortest {

// The test host's Android helper, except for the class names it is told to answer with
// another class.
class RedirectingAndroidHelper : public IHostAndroidHelper {
public:
    jobject getActivity() override { return PHostJvm::androidHelper().getActivity(); }
    jclass findClass(const char16_t* name) override
    {
        const auto found = m_redirects.find(name ? name : u"");
        return PHostJvm::androidHelper().findClass(found == m_redirects.end() ? name
                                                                               : found->second.c_str());
    }
    void redirect(const std::u16string& from, const std::u16string& to) { m_redirects[from] = to; }

private:
    std::map<std::u16string, std::u16string> m_redirects;
};

class DeviceJvmTest : public JvmTest {
protected:
    void SetUp() override
    {
        JvmTest::SetUp();
        JNI_OnLoad(PHostJvm::vm(), nullptr);
        static const bool bound = bindNatives();
        ASSERT_TRUE(bound);
        ASSERT_TRUE(PJNIHelper::connect(&m_host));
    }
    void TearDown() override
    {
        PJNIHelper::disconnect();
        JvmTest::TearDown();
    }

    // From now on the JNI layer finds the class `to` when asked for `from`.
    void redirect(const std::u16string& from, const std::u16string& to)
    {
        PJNIHelper::disconnect();
        m_helper.redirect(from, to);
        ASSERT_TRUE(PJNIHelper::connect(&m_host));
    }

    static JNIEnv* env() { return PHostJvm::env(); }

    // Static methods of the jars' classes; a Java exception fails the test and is cleared.
    static void callStatic(const char16_t* className, const char* name, const char* signature, ...)
    {
        va_list args;
        va_start(args, signature);
        callStaticWith(className, name, signature, 0, [&](jclass cls, jmethodID method) {
            env()->CallStaticVoidMethodV(cls, method, args);
            return 0;
        });
        va_end(args);
    }
    static int callStaticInt(const char16_t* className, const char* name, const char* signature, ...)
    {
        va_list args;
        va_start(args, signature);
        const int result = callStaticWith(className, name, signature, -1,
                                          [&](jclass cls, jmethodID method) {
                                              return env()->CallStaticIntMethodV(cls, method, args);
                                          });
        va_end(args);
        return result;
    }
    static std::string callStaticString(const char16_t* className, const char* name,
                                        const char* signature, ...)
    {
        va_list args;
        va_start(args, signature);
        auto read = [&](jclass cls, jmethodID method) {
            auto text = static_cast<jstring>(env()->CallStaticObjectMethodV(cls, method, args));
            std::string utf8;
            if (text && !env()->ExceptionCheck()) {
                const char* chars = env()->GetStringUTFChars(text, nullptr);
                utf8 = chars ? chars : "";
                env()->ReleaseStringUTFChars(text, chars);
            }
            drop(text);
            return utf8;
        };
        const std::string result = callStaticWith(className, name, signature, std::string(), read);
        va_end(args);
        return result;
    }

    // Local references: the test thread never returns to Java, so each is dropped once used.
    static jstring javaString(const std::string& utf8) { return env()->NewStringUTF(utf8.c_str()); }
    static jintArray javaInts(const std::vector<int>& values)
    {
        jintArray array = env()->NewIntArray(static_cast<jsize>(values.size()));
        std::vector<jint> copy(values.begin(), values.end());
        env()->SetIntArrayRegion(array, 0, static_cast<jsize>(copy.size()), copy.data());
        return array;
    }
    static void drop(jobject ref)
    {
        if (ref)
            env()->DeleteLocalRef(ref);
    }

    // Java threads that send an intent with the extra `name` and a key packet over and over;
    // stopFloods answers whether they ended within ten seconds.
    static void startFloods(jstring action, jstring name, jstring keyPacket)
    {
        callStatic(kTraffic, "startFloods",
                   "(Ljava/lang/String;Ljava/lang/String;Ljava/lang/String;)V", action, name,
                   keyPacket);
    }
    static bool stopFloods()
    {
        auto stop = [](jclass cls, jmethodID method) {
            return env()->CallStaticBooleanMethod(cls, method, jlong(10000)) == JNI_TRUE;
        };
        return callStaticWith(kTraffic, "stopFloods", "(J)Z", false, stop);
    }
    static constexpr const char16_t* kTraffic = u"com.tavrel.kelmortest.DeviceTraffic";

    RedirectingAndroidHelper m_helper;
    struct AndroidHost : PHostConnection {
        explicit AndroidHost(IHostAndroidHelper* helper) { setAndroidHelper(helper); }
    } m_host{&m_helper};

private:
    // Finds the method, runs call (its answer or fallback without the method) and fails the
    // test on a Java exception, which it clears.
    template <class Result, class Call>
    static Result callStaticWith(const char16_t* className, const char* name, const char* signature,
                                 Result fallback, Call call)
    {
        jclass cls = PHostJvm::androidHelper().findClass(className);
        jmethodID method = cls ? env()->GetStaticMethodID(cls, name, signature) : nullptr;
        EXPECT_NE(method, nullptr) << name;
        Result result = method ? call(cls, method) : fallback;
        if (env()->ExceptionCheck()) {
            env()->ExceptionDescribe();
            env()->ExceptionClear();
            ADD_FAILURE() << name << " threw";
        }
        drop(cls);
        return result;
    }

    // The companions' natives resolve to this program's copy of the library, whose device
    // table the tests use, not to a libkelmor.so that Java may have loaded.
    static bool bindNatives()
    {
        const JNINativeMethod keyboard[] = {
            {const_cast<char*>("PKeyboardDataSend"), const_cast<char*>("(JLjava/lang/String;)V"),
             reinterpret_cast<void*>(&Java_com_tavrel_piodevice_PKeyboard_PKeyboardDataSend)}};
        const JNINativeMethod broadcast[] = {
            {const_cast<char*>("PBroadcastReceaverSendData"), const_cast<char*>("(J[B)V"),
             reinterpret_cast<void*>(
                 &Java_com_tavrel_piodevice_PBroadcastReceaver_PBroadcastReceaverSendData)},
            {const_cast<char*>("PBroadcastReceaverSendString"),
             const_cast<char*>("(JLjava/lang/String;)V"),
             reinterpret_cast<void*>(
                 &Java_com_tavrel_piodevice_PBroadcastReceaver_PBroadcastReceaverSendString)}};
        return bind(u"com.tavrel.piodevice.PKeyboard", keyboard, 1)
            && bind(u"com.tavrel.piodevice.PBroadcastReceaver", broadcast, 2);
    }
    static bool bind(const char16_t* className, const JNINativeMethod* methods, int count)
    {
        jclass cls = PHostJvm::androidHelper().findClass(className);
        const bool bound = cls && env()->RegisterNatives(cls, methods, count) == JNI_OK;
        if (cls)
            env()->DeleteLocalRef(cls);
        return bound;
    }
};

}
