// The test host's Android helper over a desktop JVM.
#include "HostAndroidHelper.h"

#include <string>

namespace {

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
    const PJNILocalRef loaderClass(e, e->FindClass("java/lang/ClassLoader"));
    if (clearException(e) || !loaderClass)
        return;
    jclass cls = loaderClass.asClass();
    jmethodID systemLoader =
        e->GetStaticMethodID(cls, "getSystemClassLoader", "()Ljava/lang/ClassLoader;");
    if (clearException(e) || !systemLoader)
        return;
    const PJNILocalRef loader(e, e->CallStaticObjectMethod(cls, systemLoader));
    if (clearException(e) || !loader)
        return;
    m_loadClass = e->GetMethodID(cls, "loadClass", "(Ljava/lang/String;)Ljava/lang/Class;");
    if (clearException(e) || !m_loadClass)
        return;
    m_loader = PJNIGlobalRef(e, loader.get());

    const PJNILocalRef activityClass(e, findClass(u"android.app.Activity"));
    m_findClassCount = 0;
    if (!activityClass)
        return;
    jmethodID constructor = e->GetMethodID(activityClass.asClass(), "<init>", "()V");
    if (clearException(e) || !constructor)
        return;
    const PJNILocalRef activity(e, e->NewObject(activityClass.asClass(), constructor));
    if (clearException(e) || !activity)
        return;
    m_activity = PJNIGlobalRef(e, activity.get());
}

HostAndroidHelper::~HostAndroidHelper()
{
    // The references go with the env of this helper's VM, not the library's.
    JNIEnv* e = env();
    m_activity.reset(e);
    m_loader.reset(e);
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
    return m_activity.get();
}

jclass HostAndroidHelper::findClass(const char16_t* className)
{
    ++m_findClassCount;
    JNIEnv* e = env();
    if (!e || !m_loader || !className)
        return nullptr;
    const std::u16string name(className);
    const PJNILocalRef text(e, e->NewString(reinterpret_cast<const jchar*>(name.data()),
                                            static_cast<jsize>(name.size())));
    if (clearException(e) || !text)
        return nullptr;
    jobject found = e->CallObjectMethod(m_loader.get(), m_loadClass, text.get());
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
    const PJNILocalRef cls(e, findClass(className));
    if (!cls)
        return false;
    const PJNILocalRef text(e, e->NewStringUTF(argument.c_str()));
    if (clearException(e) || !text)
        return false;
    jmethodID id = e->GetStaticMethodID(cls.asClass(), method, "(Ljava/lang/String;)Z");
    if (clearException(e) || !id)
        return false;
    const jboolean result = e->CallStaticBooleanMethod(cls.asClass(), id, text.get());
    return !clearException(e) && result == JNI_TRUE;
}
