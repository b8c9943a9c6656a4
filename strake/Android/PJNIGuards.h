// One owner for each JNI resource: a local reference, a global reference, a Java string's
// characters and a Java byte array's elements. Each is move-only, frees its resource once,
// and a moved-from owner holds nothing.
#pragma once

#include "PByteArray.h"
#include "PString.h"

#include <jni.h>

#include <utility>

// A local reference, deleted when the owner goes. Local references belong to the thread that
// made them: make, use and drop the owner on that thread.
class PJNILocalRef {
public:
    // Takes the reference over (null is allowed); it is deleted with the env the calling thread
    // has then.
    explicit PJNILocalRef(jobject ref) noexcept : m_ref(ref) {}
    // The same with the thread's env at hand, which spares the look-up.
    PJNILocalRef(JNIEnv* env, jobject ref) noexcept : m_env(env), m_ref(ref) {}
    PJNILocalRef(PJNILocalRef&& other) noexcept : m_env(other.m_env), m_ref(other.release()) {}
    PJNILocalRef& operator=(PJNILocalRef&& other) noexcept;
    PJNILocalRef(const PJNILocalRef&) = delete;
    PJNILocalRef& operator=(const PJNILocalRef&) = delete;
    ~PJNILocalRef() { reset(); }

    jobject get() const { return m_ref; }
    jstring asString() const { return static_cast<jstring>(m_ref); }
    jbyteArray asBytes() const { return static_cast<jbyteArray>(m_ref); }
    jclass asClass() const { return static_cast<jclass>(m_ref); }
    jthrowable asThrowable() const { return static_cast<jthrowable>(m_ref); }
    jobjectArray asArray() const { return static_cast<jobjectArray>(m_ref); }
    explicit operator bool() const { return m_ref != nullptr; }

    // Gives the reference up undeleted.
    jobject release() noexcept { return std::exchange(m_ref, nullptr); }
    // Deletes the reference now; nothing without an env.
    void reset() noexcept;

    // A new Java string of the text or byte array of the bytes, on the calling thread; the
    // owner holds null when the thread has no env or the VM refuses (nothing stays pending).
    static PJNILocalRef string(const PString& text);
    static PJNILocalRef bytes(const PByteArray& bytes);

private:
    JNIEnv* m_env = nullptr;  // the owning thread's, or null to find it when deleting
    jobject m_ref = nullptr;
};

// A local frame of its own for a stretch of JNI calls: every local reference made inside it
// goes when the frame is popped, also those that the VM itself leaves behind. pop() hands one
// reference over to the enclosing frame; the owner pops the frame, keeping nothing, when it
// goes. Thread-bound like the references it holds.
class PJNILocalFrame {
public:
    PJNILocalFrame(JNIEnv* env, jint capacity) noexcept;
    PJNILocalFrame(const PJNILocalFrame&) = delete;
    PJNILocalFrame& operator=(const PJNILocalFrame&) = delete;
    ~PJNILocalFrame() { pop(nullptr); }

    // False when the VM refused the frame (its out-of-memory error is then pending).
    explicit operator bool() const { return m_env != nullptr; }
    // Pops the frame; the answer is a reference to `kept` in the enclosing frame (or null).
    jobject pop(jobject kept) noexcept;

private:
    JNIEnv* m_env;
};

// A global reference, usable on any thread, deleted when the owner goes (with the env of the
// thread that drops it; without one, the reference is left to the VM).
class PJNIGlobalRef {
public:
    // Holds nothing: a slot that a connection fills later.
    PJNIGlobalRef() noexcept = default;
    // A new global reference to ref; empty for a null ref or when the VM refuses.
    PJNIGlobalRef(JNIEnv* env, jobject ref);
    PJNIGlobalRef(PJNIGlobalRef&& other) noexcept : m_ref(other.release()) {}
    PJNIGlobalRef& operator=(PJNIGlobalRef&& other) noexcept;
    PJNIGlobalRef(const PJNIGlobalRef&) = delete;
    PJNIGlobalRef& operator=(const PJNIGlobalRef&) = delete;
    ~PJNIGlobalRef() { reset(); }

    jobject get() const { return m_ref; }
    jclass asClass() const { return static_cast<jclass>(m_ref); }
    explicit operator bool() const { return m_ref != nullptr; }

    // Gives the reference up undeleted: for a VM that may be gone when the owner dies.
    jobject release() noexcept { return std::exchange(m_ref, nullptr); }
    // Deletes the reference now, with env or, when null, the calling thread's.
    void reset(JNIEnv* env = nullptr) noexcept;

private:
    jobject m_ref = nullptr;
};

// The modified UTF-8 characters of a Java string, released when the owner goes. Null chars
// for a null env or string, or when the VM refuses (nothing stays pending).
class PJNIStringChars {
public:
    PJNIStringChars(JNIEnv* env, jstring text);
    PJNIStringChars(PJNIStringChars&& other) noexcept : m_s(std::exchange(other.m_s, State())) {}
    PJNIStringChars& operator=(PJNIStringChars&& other) noexcept;
    PJNIStringChars(const PJNIStringChars&) = delete;
    PJNIStringChars& operator=(const PJNIStringChars&) = delete;
    ~PJNIStringChars() { reset(); }

    const char* get() const { return m_s.chars; }
    explicit operator bool() const { return m_s.chars != nullptr; }
    void reset() noexcept;

private:
    struct State {
        JNIEnv* env = nullptr;
        jstring text = nullptr;
        const char* chars = nullptr;
    } m_s;
};

// The elements of a Java byte array, handed back when the owner goes: written back with
// WriteBack, dropped with ReadOnly. Null data for a null env or array, or when the VM refuses.
class PJNIByteArrayElements {
public:
    enum Mode { ReadOnly, WriteBack };

    PJNIByteArrayElements(JNIEnv* env, jbyteArray array, Mode mode = ReadOnly);
    PJNIByteArrayElements(PJNIByteArrayElements&& other) noexcept
        : m_s(std::exchange(other.m_s, State()))
    {
    }
    PJNIByteArrayElements& operator=(PJNIByteArrayElements&& other) noexcept;
    PJNIByteArrayElements(const PJNIByteArrayElements&) = delete;
    PJNIByteArrayElements& operator=(const PJNIByteArrayElements&) = delete;
    ~PJNIByteArrayElements() { reset(); }

    jbyte* data() const { return m_s.elements; }
    jsize size() const { return m_s.size; }
    explicit operator bool() const { return m_s.elements != nullptr; }
    void reset() noexcept;

private:
    struct State {
        JNIEnv* env = nullptr;
        jbyteArray array = nullptr;
        jbyte* elements = nullptr;
        jsize size = 0;
        Mode mode = ReadOnly;
    } m_s;
};
