// PJNIClass and PJNIClassObject: handles that find their references in the helper's tables
// and run the call family through them.
#include "PJNICall_p.h"

using strake::jni::BooleanCall;
using strake::jni::ByteArrayCall;
using strake::jni::IntCall;
using strake::jni::StringCall;
using strake::jni::VoidCall;
using strake::jni::callJava;

// ---- PJNIClass ------------------------------------------------------------------------------

PJNIClass::PJNIClass() = default;

PJNIClass::PJNIClass(const PString& className)
{
    d->className = className;
}

jclass PJNIClass::getJClass() const
{
    if (d->className.isEmpty())
        return nullptr;
    return PJNIHelper::lookupClass(d->className);
}

void PJNIClass::setLastError(const PError& error)
{
    d->lastError = error;
}

void PJNIClass::clearLastError()
{
    if (d.constData()->lastError.isError())
        d->lastError.clear();
}

// The class's last error, detaching the shared record only when it must change.
#define P_JNI_STATIC_CALL(Kind)                                                                    \
    va_list args;                                                                                  \
    va_start(args, signature);                                                                     \
    PError error = d.constData()->lastError;                                                       \
    auto result = callJava<Kind>(error, *this, nullptr, name, signature, args);                    \
    va_end(args);                                                                                  \
    if (error.isError() || d.constData()->lastError.isError())                                     \
        d->lastError = error;

void PJNIClass::callStaticVoidMethod(const PString& name, const char* signature, ...)
{
    P_JNI_STATIC_CALL(VoidCall)
    (void)result;
}

bool PJNIClass::callStaticBooleanMethod(const PString& name, const char* signature, ...)
{
    P_JNI_STATIC_CALL(BooleanCall)
    return result;
}

int PJNIClass::callStaticIntMethod(const PString& name, const char* signature, ...)
{
    P_JNI_STATIC_CALL(IntCall)
    return result;
}

PString PJNIClass::callStaticStringMethod(const PString& name, const char* signature, ...)
{
    P_JNI_STATIC_CALL(StringCall)
    return result;
}

PByteArray PJNIClass::callStaticByteArrayMethod(const PString& name, const char* signature, ...)
{
    P_JNI_STATIC_CALL(ByteArrayCall)
    return result;
}

#undef P_JNI_STATIC_CALL

jobject PJNIClass::createObject(const char*, ...)
{
    d->lastError = P_JNI_ERROR(PError::GeneralFailure, "Not Implemented");
    return nullptr;
}

// ---- PJNIClassObject ------------------------------------------------------------------------

PJNIClassObject::PJNIClassObject() = default;

PJNIClassObject::PJNIClassObject(unsigned long id) : m_id(id)
{
    PString className;
    if (PJNIHelper::lookupObject(id, &className))
        m_class = PJNIHelper::getClass(className);
}

PJNIClassObject::PJNIClassObject(unsigned long id, const PJNIClass& cls) : m_id(id), m_class(cls)
{
}

PJNIClassObject::~PJNIClassObject() = default;

jobject PJNIClassObject::getJObject() const
{
    return PJNIHelper::lookupObject(m_id, nullptr);
}

#define P_JNI_OBJECT_CALL(Kind)                                                                    \
    va_list args;                                                                                  \
    va_start(args, signature);                                                                     \
    auto result = callJava<Kind>(m_lastError, m_class, this, name, signature, args);               \
    va_end(args);

void PJNIClassObject::callVoidMethod(const PString& name, const char* signature, ...)
{
    P_JNI_OBJECT_CALL(VoidCall)
    (void)result;
}

bool PJNIClassObject::callBooleanMethod(const PString& name, const char* signature, ...)
{
    P_JNI_OBJECT_CALL(BooleanCall)
    return result;
}

int PJNIClassObject::callIntMethod(const PString& name, const char* signature, ...)
{
    P_JNI_OBJECT_CALL(IntCall)
    return result;
}

PString PJNIClassObject::callStringMethod(const PString& name, const char* signature, ...)
{
    P_JNI_OBJECT_CALL(StringCall)
    return result;
}

PByteArray PJNIClassObject::callByteArrayMethod(const PString& name, const char* signature, ...)
{
    P_JNI_OBJECT_CALL(ByteArrayCall)
    return result;
}

#undef P_JNI_OBJECT_CALL

bool PJNIClassObject::callBooleanMethod(const std::vector<PVariant>&, const PString&)
{
    m_lastError = P_JNI_ERROR(PError::NotImplemented, "Not Implemented");
    return false;
}

int PJNIClassObject::callIntMethod(const std::vector<PVariant>&, const PString&)
{
    m_lastError = P_JNI_ERROR(PError::NotImplemented, "Not Implemented");
    return 0;
}

PString PJNIClassObject::callStringMethod(const std::vector<PVariant>&, const PString&)
{
    m_lastError = P_JNI_ERROR(PError::NotImplemented, "Not Implemented");
    return PString();
}

PByteArray PJNIClassObject::callByteArrayMethod(const std::vector<PVariant>&, const PString&)
{
    m_lastError = P_JNI_ERROR(PError::NotImplemented, "Not Implemented");
    return PByteArray();
}
