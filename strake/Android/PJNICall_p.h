// The call machinery of the JNI layer: one template for every result kind of the call family,
// the method look-up and the checks that run under the exclusive lock.
#pragma once

#include "PJNIHelper_p.h"

#include <cstdarg>
#include <string>

namespace strake {
namespace jni {

// The kinds of result of the call family: the JNI call for an object and for a class, and the
// conversion of what it gave. finish() runs after the pending exception was cleared.
struct VoidCall {
    using Result = bool;
    using Raw = bool;
    static Raw onObject(JNIEnv* env, jobject o, jmethodID m, va_list args)
    {
        env->CallVoidMethodV(o, m, args);
        return true;
    }
    static Raw onClass(JNIEnv* env, jclass c, jmethodID m, va_list args)
    {
        env->CallStaticVoidMethodV(c, m, args);
        return true;
    }
    static Result finish(JNIEnv*, Raw) { return true; }
};

struct BooleanCall {
    using Result = bool;
    using Raw = jboolean;
    static Raw onObject(JNIEnv* env, jobject o, jmethodID m, va_list args)
    {
        return env->CallBooleanMethodV(o, m, args);
    }
    static Raw onClass(JNIEnv* env, jclass c, jmethodID m, va_list args)
    {
        return env->CallStaticBooleanMethodV(c, m, args);
    }
    static Result finish(JNIEnv*, Raw raw) { return raw == JNI_TRUE; }
};

struct IntCall {
    using Result = int;
    using Raw = jint;
    static Raw onObject(JNIEnv* env, jobject o, jmethodID m, va_list args)
    {
        return env->CallIntMethodV(o, m, args);
    }
    static Raw onClass(JNIEnv* env, jclass c, jmethodID m, va_list args)
    {
        return env->CallStaticIntMethodV(c, m, args);
    }
    static Result finish(JNIEnv*, Raw raw) { return raw; }
};

struct ObjectCall {
    using Raw = jobject;
    static Raw onObject(JNIEnv* env, jobject o, jmethodID m, va_list args)
    {
        return env->CallObjectMethodV(o, m, args);
    }
    static Raw onClass(JNIEnv* env, jclass c, jmethodID m, va_list args)
    {
        return env->CallStaticObjectMethodV(c, m, args);
    }
};

struct StringCall : ObjectCall {
    using Result = PString;
    static Result finish(JNIEnv* env, Raw raw)
    {
        PJNILocalRef ref(env, raw);
        return PString(strake::jstr2str<char16_t>(env, static_cast<jstring>(raw)));
    }
};

struct ByteArrayCall : ObjectCall {
    using Result = PByteArray;
    static Result finish(JNIEnv* env, Raw raw)
    {
        PJNILocalRef ref(env, raw);
        return strake::jbyteArray2ByteArray(env, static_cast<jbyteArray>(raw));
    }
};

// Looks the method up on the object's class, or the static one when the object is null.
// Throws PError ("method <name> not fount") when it is unknown.
jmethodID findMethod(JNIEnv* env, jclass cls, jobject object, const PString& name,
                     const char* signature);

// Runs the method on the object, or statically on the class when the object is null.
template <class Kind>
typename Kind::Result invoke(JNIEnv* env, jclass cls, jobject object, const PString& name,
                             const char* signature, va_list args)
{
    jmethodID method = findMethod(env, cls, object, name, signature);
    typename Kind::Raw raw = object ? Kind::onObject(env, object, method, args)
                                    : Kind::onClass(env, cls, method, args);
    clearPending(env);
    return Kind::finish(env, raw);
}

// A call for the helper's own use, with the exclusive lock already held; static when the
// object is null.
template <class Kind>
typename Kind::Result invokeDirect(JNIEnv* env, jclass cls, jobject object, const PString& name,
                                   const char* signature, ...)
{
    va_list args;
    va_start(args, signature);
    struct End {
        va_list& args;
        ~End() { va_end(args); }
    } end{args};
    return invoke<Kind>(env, cls, object, name, signature, args);
}

// What a call of the family runs on: the env, the class and, for an instance call, the object.
struct CallTarget {
    JNIEnv* env = nullptr;
    jclass cls = nullptr;
    jobject object = nullptr;
};

// The target of a call, checked in the order the family reports: for a static call the env
// first, for an instance call the handle first. Throws PError. The exclusive lock is held.
CallTarget callTarget(const PJNIClass& cls, const PJNIClassObject* object);

// The whole of one call of the family: lock, checks, the call, and a failure into lastError.
// Without an object the call is static on cls. The object's reference is looked up under the
// lock, so that a disconnect can't delete it during the call.
template <class Kind>
typename Kind::Result callJava(PError& lastError, const PJNIClass& cls,
                               const PJNIClassObject* object, const PString& name,
                               const char* signature, va_list args)
{
    typename Kind::Result result{};
    PJNIExclusiveCall lock;
    if (lastError.isError())
        lastError.clear();
    try {
        const CallTarget target = callTarget(cls, object);
        result = invoke<Kind>(target.env, target.cls, target.object, name, signature, args);
    } catch (...) {
        lastError = PError::fromCurrentException("Unexpected");
    }
    return result;
}

}
}
