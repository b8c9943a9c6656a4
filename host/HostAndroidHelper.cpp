// The test host's Android helper over a desktop JVM.
#include "HostAndroidHelper.h"

#include <string>

namespace {

// Frees a local reference when the scope ends.
struct Local {
    JNIEnv* env;
    jobject ref;
    ~Local()
    {
        if (ref)
            env->DeleteLocalRef(ref);
    }
};

bool clearException(JNIEnv* env)
{
    if (!env->ExceptionCheck())
        return false;
    env->ExceptionClear();
    return true;
}

}

HostAndroidHelper::HostAndroidHelper(JavaVM* vm) : m_vm(vm)
{
    JNIEnv* e = env();
    if (!e)
        return;
    Local loaderClass{e, e->FindClass("java/lang/ClassLoader")};
    if (clearException(e) || !loaderClass.ref)
        return;
    auto cls = static_cast<jclass>(loaderClass.ref);
    jmethodID systemLoader =
        e->GetStaticMethodID(cls, "getSystemClassLoader", "()Ljava/lang/ClassLoader;");
    if (clearException(e) || !systemLoader)
        return;
    Local loader{e, e->CallStaticObjectMethod(cls, systemLoader)};
    if (clearException(e) || !loader.ref)
        return;
    m_loadClass = e->GetMethodID(cls, "loadClass", "(Ljava/lang/String;)Ljava/lang/Class;");
    if (clearException(e) || !m_loadClass)
        return;
    m_loader = e->NewGlobalRef(loader.ref);

    Local activityClass{e, findClass(u"android.app.Activity")};
    m_findClassCount = 0;
    if (!activityClass.ref)
        return;
    jmethodID constructor = e->GetMethodID(static_cast<jclass>(activityClass.ref), "<init>", "()V");
    if (clearException(e) || !constructor)
        return;
    Local activity{e, e->NewObject(static_cast<jclass>(activityClass.ref), constructor)};
    if (clearException(e) || !activity.ref)
        return;
    m_activity = e->NewGlobalRef(activity.ref);
}

HostAndroidHelper::~HostAndroidHelper()
{
    JNIEnv* e = env();
    if (!e)
        return;
    if (m_activity)
        e->DeleteGlobalRef(m_activity);
    if (m_loader)
        e->DeleteGlobalRef(m_loader);
}

JNIEnv* HostAndroidHelper::env() const
{
    JNIEnv* e = nullptr;
    jint status = m_vm->GetEnv(reinterpret_cast<void**>(&e), JNI_VERSION_1_6);
    if (status == JNI_EDETACHED)
        status = m_vm->AttachCurrentThreadAsDaemon(reinterpret_cast<void**>(&e), nullptr);
    return status == JNI_OK ? e : nullptr;
}

jobject HostAndroidHelper::getActivity()
{
    return m_activity;
}

jclass HostAndroidHelper::findClass(const char16_t* className)
{
    ++m_findClassCount;
    JNIEnv* e = env();
    if (!e || !m_loader || !className)
        return nullptr;
    const std::u16string name(className);
    Local text{e, e->NewString(reinterpret_cast<const jchar*>(name.data()),
                               static_cast<jsize>(name.size()))};
    if (clearException(e) || !text.ref)
        return nullptr;
    jobject found = e->CallObjectMethod(m_loader, m_loadClass, text.ref);
    if (clearException(e))
        return nullptr;
    return static_cast<jclass>(found);
}

bool HostAndroidHelper::callStaticBoolean(const char16_t* className, const char* method,
                                          const std::string& argument)
{
    JNIEnv* e = env();
    if (!e)
        return false;
    Local cls{e, findClass(className)};
    if (!cls.ref)
        return false;
    Local text{e, e->NewStringUTF(argument.c_str())};
    if (clearException(e) || !text.ref)
        return false;
    jmethodID id = e->GetStaticMethodID(static_cast<jclass>(cls.ref), method, "(Ljava/lang/String;)Z");
    if (clearException(e) || !id)
        return false;
    const jboolean result = e->CallStaticBooleanMethod(static_cast<jclass>(cls.ref), id, text.ref);
    return !clearException(e) && result == JNI_TRUE;
}
