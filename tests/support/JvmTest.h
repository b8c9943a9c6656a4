// The fixture of tests in the VM (whatever the VM prints during a test fails it), and calls into Java.
#pragma once

#include "PHostJvm.h"
#include "PJNIGuards.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <type_traits>
#include <vector>

namespace kelmortest {

class JvmTest : public ::testing::Test {
protected:
    // In the constructor, so that a derived fixture's members may already use the VM.
    JvmTest()
    {
        static const bool configured = [] {
            PHostJvmOptions options = PHostJvm::defaultOptions();
            options.classPath += std::string(":") + KELMOR_TEST_JAR;
            return PHostJvm::configure(options);
        }();
        (void)configured;
        PHostJvm::vm();
    }
    void SetUp() override { PHostJvm::takeOutput(); }
    void TearDown() override
    {
        const std::string output = PHostJvm::takeOutput();
        EXPECT_EQ(output, "") << "the VM reported:\n" << output;
    }
};

// Calls from the test thread to the jars' static methods. The thread never returns to Java, so
// every local reference is dropped once used; a Java exception fails the test and is cleared.
inline void dropLocal(jobject ref)
{
    if (ref)
        PHostJvm::env()->DeleteLocalRef(ref);
}

// True when no Java exception is pending; otherwise describes it, clears it and fails the test.
inline bool javaQuiet(const char* what)
{
    JNIEnv* env = PHostJvm::env();
    if (!env->ExceptionCheck())
        return true;
    env->ExceptionDescribe();
    env->ExceptionClear();
    ADD_FAILURE() << what << " threw";
    return false;
}

// The arguments of one call: texts and int vectors become Java objects that go with the call.
class JavaArgs {
public:
    JavaArgs() = default;
    JavaArgs(const JavaArgs&) = delete;
    JavaArgs& operator=(const JavaArgs&) = delete;
    ~JavaArgs()
    {
        for (jobject ref : m_made)
            dropLocal(ref);
    }
    jobject keep(jobject ref)
    {
        m_made.push_back(ref);
        return ref;
    }
    jvalue operator()(const std::string& text) { return object(keep(PHostJvm::env()->NewStringUTF(text.c_str()))); }
    jvalue operator()(const char* text) { return text ? (*this)(std::string(text)) : object(nullptr); }
    jvalue operator()(jobject ref) { return object(ref); }
    jvalue operator()(std::nullptr_t) { return object(nullptr); }
    jvalue operator()(jint n) { jvalue v; v.i = n; return v; }
    jvalue operator()(jlong n) { jvalue v; v.j = n; return v; }
    jvalue operator()(jboolean b) { jvalue v; v.z = b; return v; }
    jvalue operator()(const std::vector<jint>& values)
    {
        jintArray array = PHostJvm::env()->NewIntArray(static_cast<jsize>(values.size()));
        PHostJvm::env()->SetIntArrayRegion(array, 0, static_cast<jsize>(values.size()), values.data());
        return object(keep(array));
    }

private:
    static jvalue object(jobject ref) { jvalue v; v.l = ref; return v; }
    std::vector<jobject> m_made;
};

// Result is void, bool, int, long long or std::string (a Java String's UTF-8).
template <class Result = void, class... Args>
Result callStatic(const char16_t* className, const char* name, const char* signature, const Args&... args)
{
    JNIEnv* env = PHostJvm::env();
    JavaArgs made;
    const jvalue values[] = {made(args)..., jvalue{}};
    auto cls = static_cast<jclass>(made.keep(PHostJvm::androidHelper().findClass(className)));
    jmethodID method = cls ? env->GetStaticMethodID(cls, name, signature) : nullptr;
    EXPECT_NE(method, nullptr) << name;
    if constexpr (std::is_void_v<Result>) {
        if (method)
            env->CallStaticVoidMethodA(cls, method, values);
        javaQuiet(name);
    } else {
        Result result{};
        if constexpr (std::is_same_v<Result, bool>) {
            result = method && env->CallStaticBooleanMethodA(cls, method, values) == JNI_TRUE;
        } else if constexpr (std::is_same_v<Result, int>) {
            result = method ? env->CallStaticIntMethodA(cls, method, values) : -1;
        } else if constexpr (std::is_same_v<Result, long long>) {
            result = method ? env->CallStaticLongMethodA(cls, method, values) : -1;
        } else {
            static_assert(std::is_same_v<Result, std::string>, "a result of a kind JNI gives");
            jobject text = method ? made.keep(env->CallStaticObjectMethodA(cls, method, values)) : nullptr;
            const PJNIStringChars chars(env, static_cast<jstring>(env->ExceptionCheck() ? nullptr : text));
            result = chars ? chars.get() : "";
        }
        javaQuiet(name);
        return result;
    }
}

// The desktop companions' controls; companionThreadsEnded waits at most ten seconds.
inline void setProperty(const std::string& key, const std::string& value)
{
    callStatic<std::string>(u"java.lang.System", "setProperty",
                            "(Ljava/lang/String;Ljava/lang/String;)Ljava/lang/String;", key, value);
}
inline void clearProperty(const std::string& key)
{
    callStatic<std::string>(u"java.lang.System", "clearProperty", "(Ljava/lang/String;)Ljava/lang/String;", key);
}
inline void registerBluetooth(const std::string& address, const std::string& name, const std::string& endpoint)
{
    callStatic(u"com.tavrel.piodevice.PBluetooth", "registerDevice",
               "(Ljava/lang/String;Ljava/lang/String;Ljava/lang/String;)V", address, name, endpoint);
}
inline void unregisterBluetooth(const std::string& address)
{
    callStatic(u"com.tavrel.piodevice.PBluetooth", "unregisterDevice", "(Ljava/lang/String;)V", address);
}
inline bool companionThreadsEnded()
{
    return callStatic<bool>(u"com.tavrel.piodevice.CompanionThreads", "awaitNone", "(J)Z", jlong(10000));
}

}
