// The JNI resource owners: each frees what it holds once, and only what it holds.
#include "PJNIGuards.h"

#include "PJNIEnv.h"

#include <utility>

namespace {

void clearPending(JNIEnv* env)
{
    if (env->ExceptionCheck())
        env->ExceptionClear();
}

}

// ---- PJNILocalFrame -------------------------------------------------------------------------

PJNILocalFrame::PJNILocalFrame(JNIEnv* env, jint capacity) noexcept
    : m_env(env && env->PushLocalFrame(capacity) == 0 ? env : nullptr)
{
}

jobject PJNILocalFrame::pop(jobject kept) noexcept
{
    JNIEnv* env = std::exchange(m_env, nullptr);
    return env ? env->PopLocalFrame(kept) : nullptr;
}

// ---- PJNILocalRef ---------------------------------------------------------------------------

PJNILocalRef& PJNILocalRef::operator=(PJNILocalRef&& other) noexcept
{
    if (this != &other) {
        reset();
        m_env = other.m_env;
        m_ref = other.release();
    }
    return *this;
}

void PJNILocalRef::reset() noexcept
{
    if (!m_ref)
        return;
    JNIEnv* env = m_env ? m_env : strake::getJniEnv();
    if (env)
        env->DeleteLocalRef(m_ref);
    m_ref = nullptr;
}

PJNILocalRef PJNILocalRef::string(const PString& text)
{
    JNIEnv* env = strake::getJniEnv();
    return PJNILocalRef(env, strake::str2jstr(env, text.toTavrelString()));
}

PJNILocalRef PJNILocalRef::bytes(const PByteArray& bytes)
{
    JNIEnv* env = strake::getJniEnv();
    return PJNILocalRef(env, strake::byteArray2jbyteArray(env, bytes.constChars(), bytes.size()));
}

// ---- PJNIGlobalRef --------------------------------------------------------------------------

PJNIGlobalRef::PJNIGlobalRef(JNIEnv* env, jobject ref)
    : m_ref(env && ref ? env->NewGlobalRef(ref) : nullptr)
{
}

PJNIGlobalRef& PJNIGlobalRef::operator=(PJNIGlobalRef&& other) noexcept
{
    if (this != &other) {
        reset();
        m_ref = other.release();
    }
    return *this;
}

void PJNIGlobalRef::reset(JNIEnv* env) noexcept
{
    if (!m_ref)
        return;
    if (!env)
        env = strake::getJniEnv();
    if (env)
        env->DeleteGlobalRef(m_ref);
    m_ref = nullptr;
}

// ---- PJNIStringChars ------------------------------------------------------------------------

PJNIStringChars::PJNIStringChars(JNIEnv* env, jstring text)
{
    m_s.env = env;
    m_s.text = text;
    if (env && text) {
        m_s.chars = env->GetStringUTFChars(text, nullptr);
        if (!m_s.chars)
            clearPending(env);  // OutOfMemoryError
    }
}

PJNIStringChars& PJNIStringChars::operator=(PJNIStringChars&& other) noexcept
{
    if (this != &other) {
        reset();
        m_s = std::exchange(other.m_s, State());
    }
    return *this;
}

void PJNIStringChars::reset() noexcept
{
    if (m_s.chars)
        m_s.env->ReleaseStringUTFChars(m_s.text, m_s.chars);
    m_s.chars = nullptr;
}

// ---- PJNIByteArrayElements ------------------------------------------------------------------

PJNIByteArrayElements::PJNIByteArrayElements(JNIEnv* env, jbyteArray array, Mode mode)
{
    m_s.env = env;
    m_s.array = array;
    m_s.mode = mode;
    if (env && array) {
        m_s.elements = env->GetByteArrayElements(array, nullptr);
        if (m_s.elements)
            m_s.size = env->GetArrayLength(array);
        else
            clearPending(env);  // OutOfMemoryError
    }
}

PJNIByteArrayElements& PJNIByteArrayElements::operator=(PJNIByteArrayElements&& other) noexcept
{
    if (this != &other) {
        reset();
        m_s = std::exchange(other.m_s, State());
    }
    return *this;
}

void PJNIByteArrayElements::reset() noexcept
{
    if (m_s.elements)
        m_s.env->ReleaseByteArrayElements(m_s.array, m_s.elements,
                                         m_s.mode == WriteBack ? 0 : JNI_ABORT);
    m_s.elements = nullptr;
    m_s.size = 0;
}
