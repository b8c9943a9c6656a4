// Strings, byte arrays and throwables across JNI: the free conversions and the helper's
// forms of them that take the calling thread's env.
#include "PJNICall_p.h"

using strake::jni::StringCall;
using strake::jni::clearPending;
using strake::jni::invokeDirect;

namespace strake {

template <>
jstring str2jstr<char16_t>(JNIEnv* env, const std::basic_string<char16_t>& text)
{
    if (!env)
        return nullptr;
    jstring result = env->NewString(reinterpret_cast<const jchar*>(text.data()),
                                    static_cast<jsize>(text.size()));
    if (!result)
        clearPending(env);  // OutOfMemoryError
    return result;
}

template <>
std::basic_string<char16_t> jstr2str<char16_t>(JNIEnv* env, const jstring& text)
{
    if (!env || !text)
        return {};
    std::u16string result(static_cast<size_t>(env->GetStringLength(text)), u'\0');
    if (!result.empty())
        env->GetStringRegion(text, 0, static_cast<jsize>(result.size()),
                             reinterpret_cast<jchar*>(&result[0]));
    clearPending(env);
    return result;
}

jbyteArray byteArray2jbyteArray(JNIEnv* env, const char* bytes, unsigned long length)
{
    if (!env)
        return nullptr;
    if (!bytes)
        length = 0;
    jbyteArray result = env->NewByteArray(static_cast<jsize>(length));
    if (!result) {
        clearPending(env);  // OutOfMemoryError
        return nullptr;
    }
    if (length)
        env->SetByteArrayRegion(result, 0, static_cast<jsize>(length),
                                reinterpret_cast<const jbyte*>(bytes));
    return result;
}

jbyteArray str2jbyteArray(JNIEnv* env, std::string bytes)
{
    return byteArray2jbyteArray(env, bytes.data(), bytes.size());
}

// Each conversion copies once, straight from the array into the destination.
bool jbyteArray2ByteArray(JNIEnv* env, jbyteArray array, unsigned char** buffer,
                          unsigned long* length)
{
    if (!env || !array || !buffer || !length)
        return false;
    const jsize size = env->GetArrayLength(array);
    auto* copy = new unsigned char[static_cast<size_t>(size) + 1];
    if (size)
        env->GetByteArrayRegion(array, 0, size, reinterpret_cast<jbyte*>(copy));
    copy[size] = 0;
    *buffer = copy;
    *length = static_cast<unsigned long>(size);
    return true;
}

PByteArray jbyteArray2ByteArray(JNIEnv* env, jbyteArray array)
{
    if (!env || !array)
        return PByteArray();
    const jsize size = env->GetArrayLength(array);
    if (size <= 0)
        return PByteArray();
    PByteArray result(static_cast<unsigned long>(size));
    env->GetByteArrayRegion(array, 0, size, reinterpret_cast<jbyte*>(result.data()));
    return result;
}

std::string jbyteArray2str(JNIEnv* env, jbyteArray array)
{
    if (!env || !array)
        return std::string();
    std::string result(static_cast<size_t>(env->GetArrayLength(array)), '\0');
    if (!result.empty())
        env->GetByteArrayRegion(array, 0, static_cast<jsize>(result.size()),
                                reinterpret_cast<jbyte*>(&result[0]));
    return result;
}

void append_exception_trace_messages(JNIEnv& env, std::string& out, jthrowable throwable,
                                     jmethodID getCause, jmethodID getStackTrace,
                                     jmethodID throwableToString, jmethodID frameToString)
{
    auto appendText = [&env, &out](jobject text) {
        PJNILocalRef owned(&env, text);
        PJNIStringChars chars(&env, owned.asString());
        if (chars)
            out += chars.get();
    };
    // The first throwable is the caller's reference; each cause is ours.
    jthrowable current = throwable;
    PJNILocalRef ownedCurrent(&env, nullptr);
    while (current) {
        PJNILocalRef frames(&env, env.CallObjectMethod(current, getStackTrace));
        if (env.ExceptionCheck() || !frames) {
            clearPending(&env);
            break;
        }
        PJNILocalRef line(&env, env.CallObjectMethod(current, throwableToString));
        if (env.ExceptionCheck()) {
            env.ExceptionClear();
            break;
        }
        if (!out.empty())
            out += "\nCaused by: ";
        appendText(line.release());

        const jsize count = env.GetArrayLength(frames.asArray());
        for (jsize i = 0; i < count; ++i) {
            PJNILocalRef frame(&env, env.GetObjectArrayElement(frames.asArray(), i));
            if (env.ExceptionCheck()) {
                env.ExceptionClear();
                break;
            }
            jobject frameText = frame ? env.CallObjectMethod(frame.get(), frameToString) : nullptr;
            clearPending(&env);
            out += "\n    ";
            appendText(frameText);
        }

        PJNILocalRef cause(&env, env.CallObjectMethod(current, getCause));
        clearPending(&env);
        // A throwable that is its own cause would never end the walk.
        if (cause && env.IsSameObject(cause.get(), current))
            cause.reset();
        current = cause.asThrowable();
        ownedCurrent = std::move(cause);
    }
}

}

jstring PJNIHelper::str2jstr(const PString& text)
{
    return strake::str2jstr(strake::getJniEnv(), text.toTavrelString());
}

PString PJNIHelper::jstr2str(const jstring& text)
{
    return PString(strake::jstr2str<char16_t>(strake::getJniEnv(), text));
}

jbyteArray PJNIHelper::byteArray2jbyteArray(const char* bytes, unsigned long length)
{
    return strake::byteArray2jbyteArray(strake::getJniEnv(), bytes, length);
}

jbyteArray PJNIHelper::byteArray2jbyteArray(const PByteArray& bytes)
{
    return strake::byteArray2jbyteArray(strake::getJniEnv(), bytes.constChars(), bytes.size());
}

PByteArray PJNIHelper::jbyteArray2byteArray(const jbyteArray& array)
{
    return strake::jbyteArray2ByteArray(strake::getJniEnv(), array);
}

PString PJNIHelper::getJavaExeptionInfo(jthrowable throwable)
{
    JNIEnv* env = strake::getJniEnv();
    if (!env || !throwable)
        return PString();
    PJNIExclusiveCall lock;
    try {
        PJNILocalRef cls(env, env->GetObjectClass(throwable));
        return invokeDirect<StringCall>(env, static_cast<jclass>(cls.get()), throwable,
                                        PString("getMessage"), "()Ljava/lang/String;");
    } catch (...) {
    }
    return PString();
}

PString PJNIHelper::getJavaExeptionInfoEx(jthrowable throwable)
{
    JNIEnv* env = strake::getJniEnv();
    if (!env || !throwable)
        return PString();
    PJNIExclusiveCall lock;
    PJNILocalRef throwableClass(env, env->FindClass("java/lang/Throwable"));
    clearPending(env);
    if (!throwableClass.get())
        return PString();
    auto cls = static_cast<jclass>(throwableClass.get());
    jmethodID getCause = env->GetMethodID(cls, "getCause", "()Ljava/lang/Throwable;");
    clearPending(env);
    jmethodID getStackTrace =
        env->GetMethodID(cls, "getStackTrace", "()[Ljava/lang/StackTraceElement;");
    clearPending(env);
    jmethodID throwableToString = env->GetMethodID(cls, "toString", "()Ljava/lang/String;");
    clearPending(env);
    PJNILocalRef frameClass(env, env->FindClass("java/lang/StackTraceElement"));
    clearPending(env);
    if (!getCause || !getStackTrace || !throwableToString || !frameClass.get())
        return PString();
    jmethodID frameToString = env->GetMethodID(static_cast<jclass>(frameClass.get()), "toString",
                                               "()Ljava/lang/String;");
    clearPending(env);
    if (!frameToString)
        return PString();
    std::string text;
    strake::append_exception_trace_messages(*env, text, throwable, getCause, getStackTrace,
                                            throwableToString, frameToString);
    return PString(text);
}
