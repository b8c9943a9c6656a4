// PJNILocalRef: a Java local reference made for one call and deleted when its scope ends.
#pragma once

#include "PByteArray.h"
#include "PJNIHelper.h"
#include "PString.h"

#include <jni.h>

// Move-only. Deletes the reference with the env of the thread that destroys it, which must be
// the thread that made it (local references belong to one thread). A null reference, as made
// on a thread without env, is allowed and deletes nothing.
class PJNILocalRef {
public:
    explicit PJNILocalRef(jobject ref) : m_ref(ref) {}
    PJNILocalRef(PJNILocalRef&& other) noexcept : m_ref(other.m_ref) { other.m_ref = nullptr; }
    PJNILocalRef& operator=(PJNILocalRef&&) = delete;
    PJNILocalRef(const PJNILocalRef&) = delete;
    PJNILocalRef& operator=(const PJNILocalRef&) = delete;
    ~PJNILocalRef()
    {
        if (!m_ref)
            return;
        if (JNIEnv* env = strake::getJniEnv())
            env->DeleteLocalRef(m_ref);
    }

    // A new Java string of the text.
    static PJNILocalRef string(const PString& text) { return PJNILocalRef(PJNIHelper::str2jstr(text)); }
    // A new Java byte array of the bytes.
    static PJNILocalRef bytes(const PByteArray& data)
    {
        return PJNILocalRef(PJNIHelper::byteArray2jbyteArray(data));
    }

    jobject get() const { return m_ref; }
    jstring asString() const { return static_cast<jstring>(m_ref); }
    jbyteArray asBytes() const { return static_cast<jbyteArray>(m_ref); }

private:
    jobject m_ref;
};
