// The call machinery's look-ups: method ids by name and the target of a call.
#include "PJNICall_p.h"

namespace strake {
namespace jni {

namespace {

// Method names are ASCII in practice: those skip the general conversion, which would cost as
// much as the JNI call itself.
std::string methodName(const PString& name)
{
    std::string ascii;
    ascii.reserve(name.size());
    for (char16_t unit : name) {
        if (unit >= 0x80)
            return name.toStdString();
        ascii.push_back(static_cast<char>(unit));
    }
    return ascii;
}

}

jmethodID findMethod(JNIEnv* env, jclass cls, jobject object, const PString& name,
                     const char* signature)
{
    jmethodID method = nullptr;
    if (signature) {
        const std::string utf8 = methodName(name);
        method = object ? env->GetMethodID(cls, utf8.c_str(), signature)
                        : env->GetStaticMethodID(cls, utf8.c_str(), signature);
    }
    if (!method) {
        clearPending(env);  // NoSuchMethodError
        P_JNI_THROW(PError::GeneralFailure, PString("method ") + name + PString(" not fount"));
    }
    return method;
}

CallTarget callTarget(const PJNIClass& cls, const PJNIClassObject* object)
{
    CallTarget target;
    if (!object) {
        target.env = strake::getJniEnv();
        if (!target.env)
            P_JNI_THROW(PError::GeneralFailure, "JNI unaccessible");
        target.cls = cls.getJClass();
        if (!target.cls)
            P_JNI_THROW(PError::GeneralFailure, "Invalid class object to call");
        return target;
    }
    target.object = object->getJObject();
    target.cls = target.object ? cls.getJClass() : nullptr;
    if (!target.cls)
        P_JNI_THROW(PError::GeneralFailure, "Invalid class object to call");
    target.env = strake::getJniEnv();
    if (!target.env)
        P_JNI_THROW(PError::GeneralFailure, "JNI unaccessible");
    return target;
}

}
}
