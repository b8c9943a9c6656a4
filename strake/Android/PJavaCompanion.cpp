// PJavaCompanion and PJavaReference over the JNI layer's object table.
#include "PJavaCompanion.h"
#include "PJNIHelper.h"

namespace {

const char kCompanionConstructor[] = "(Landroid/app/Activity;J)V";

// Deletes a local reference when the scope ends.
class LocalRef {
public:
    LocalRef(JNIEnv* env, jobject ref) : env_(env), ref_(ref) {}
    ~LocalRef()
    {
        if (env_ && ref_)
            env_->DeleteLocalRef(ref_);
    }
    LocalRef(const LocalRef&) = delete;
    LocalRef& operator=(const LocalRef&) = delete;
    jobject get() const { return ref_; }

private:
    JNIEnv* env_;
    jobject ref_;
};

}

// ---- PJavaReference -------------------------------------------------------------------------

PJavaReference::PJavaReference(void* object)
{
    JNIEnv* env = strake::getJniEnv();
    if (env && object)
        object_ = env->NewGlobalRef(static_cast<jobject>(object));
}

PJavaReference::PJavaReference(PJavaReference&& other) noexcept : object_(other.object_)
{
    other.object_ = nullptr;
}

PJavaReference& PJavaReference::operator=(PJavaReference&& other) noexcept
{
    if (this != &other) {
        reset();
        object_ = other.object_;
        other.object_ = nullptr;
    }
    return *this;
}

PJavaReference::~PJavaReference()
{
    reset();
}

void PJavaReference::reset()
{
    if (!object_)
        return;
    if (JNIEnv* env = strake::getJniEnv())
        env->DeleteGlobalRef(static_cast<jobject>(object_));
    object_ = nullptr;
}

// ---- PJavaCompanion -------------------------------------------------------------------------

std::shared_ptr<PJavaCompanion> PJavaCompanion::create(const PString& className, int64_t handle)
{
    PJNIClassObjectPtr object = PJNIHelper::createClassObj(className, kCompanionConstructor,
                                                           PJNIHelper::getActivity(),
                                                           static_cast<jlong>(handle));
    if (!object)
        return nullptr;
    // The header sees no JNI layer, so the companion keeps the object as a plain pointer and
    // frees it in its destructor.
    return std::shared_ptr<PJavaCompanion>(new PJavaCompanion(object.release()));
}

PJavaCompanion::PJavaCompanion(PJNIClassObject* object) : object_(object) {}

PJavaCompanion::~PJavaCompanion()
{
    PJNIHelper::destroyClassObj(object_);
}

bool PJavaCompanion::isValid() const
{
    return object_->isValid();
}

PError PJavaCompanion::lastError() const
{
    std::lock_guard<std::mutex> lock(errorMutex_);
    return lastError_;
}

void PJavaCompanion::keep(const PError& error)
{
    std::lock_guard<std::mutex> lock(errorMutex_);
    lastError_ = error;
}

// Each call goes through a handle of its own: PJNIClassObject keeps its last error in itself,
// which two threads must not write at once.
#define P_COMPANION_CALL(call)                                                                     \
    PJNIClassObject handle(object_->getId(), object_->m_class);                                   \
    auto result = handle.call;                                                                     \
    keep(handle.lastError());

void PJavaCompanion::callVoid(const char* method)
{
    PJNIClassObject handle(object_->getId(), object_->m_class);
    handle.callVoidMethod(PString(method), "()V");
    keep(handle.lastError());
}

bool PJavaCompanion::callBoolean(const char* method)
{
    P_COMPANION_CALL(callBooleanMethod(PString(method), "()Z"))
    return result;
}

bool PJavaCompanion::callBoolean(const char* method, const PString& argument)
{
    JNIEnv* env = strake::getJniEnv();
    LocalRef text(env, strake::str2jstr(env, argument.toTavrelString()));
    P_COMPANION_CALL(callBooleanMethod(PString(method), "(Ljava/lang/String;)Z", text.get()))
    return result;
}

bool PJavaCompanion::callBoolean(const char* method, const char* data, uint64_t size)
{
    JNIEnv* env = strake::getJniEnv();
    LocalRef bytes(env, strake::byteArray2jbyteArray(env, data, static_cast<unsigned long>(size)));
    P_COMPANION_CALL(callBooleanMethod(PString(method), "([B)Z", bytes.get()))
    return result;
}

PString PJavaCompanion::callText(const char* method)
{
    P_COMPANION_CALL(callStringMethod(PString(method), "()Ljava/lang/String;"))
    return result;
}

void PJavaCompanion::callVoid(const char* method, const char* signature,
                              const PJavaReference& object, int64_t value)
{
    PJNIClassObject handle(object_->getId(), object_->m_class);
    handle.callVoidMethod(PString(method), signature, static_cast<jobject>(object.get()),
                          static_cast<jlong>(value));
    keep(handle.lastError());
}

#undef P_COMPANION_CALL

PString PJavaCompanion::callStaticText(const PString& className, const char* method,
                                       bool withActivity, PError* error)
{
    PJNIClass cls = PJNIHelper::getClass(className);
    if (!cls.isValid()) {
        if (error)
            *error = PJNIHelper::getLastError();
        return PString();
    }
    PString result;
    if (withActivity)
        result = cls.callStaticStringMethod(PString(method),
                                            "(Landroid/app/Activity;)Ljava/lang/String;",
                                            PJNIHelper::getActivity());
    else
        result = cls.callStaticStringMethod(PString(method), "()Ljava/lang/String;");
    if (error)
        *error = cls.lastError();
    return result;
}

namespace strake {

bool javaConnected()
{
    return PJNIHelper::isConnected();
}

bool javaEnvAvailable()
{
    return getJniEnv() != nullptr;
}

PError javaLastError()
{
    return PJNIHelper::getLastError();
}

}
