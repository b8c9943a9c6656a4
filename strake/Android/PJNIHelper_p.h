// The JNI layer's private record and habits, shared by its sources: the helper's lock and
// tables, the pending-exception wipe and the scoped local reference.
#pragma once

#include "PJNIHelper.h"

#include "HostAndroid.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <thread>

// Errors of the layer name one module, whichever of its sources raises them.
#define P_JNI_ERROR(code, message) P_MODULE_ERROR("strake/Android/PJNIHelper", code, message)
#define P_JNI_THROW(code, message) throw P_JNI_ERROR(code, message)

namespace strake {
namespace jni {

// One table entry: a pinned class or a live object, both global references.
struct PJNIHelperInternalData {
    jclass cls = nullptr;
    jobject object = nullptr;
    PString className;
    uint64_t id = 0;
};

struct PJNIHelperPrivate {
    std::atomic<JavaVM*> vm{nullptr};

    // The layer's one lock: held across every Java call; guards host, androidHelper,
    // activity, libsLoader, loadedLibraries and lastError, and every change of the tables.
    std::mutex exclusive;
    std::atomic<std::thread::id> owner{};  // holder of exclusive; a default id when free

    IAddInDefBaseEx* host = nullptr;
    IHostAndroidHelper* androidHelper = nullptr;
    jobject activity = nullptr;  // our own global reference
    PJNIClass libsLoader;
    std::set<PString> loadedLibraries;
    PError lastError;

    // Guards classes and objects for the look-ups of the handles, which run without the
    // exclusive lock. Never held across a JNI call.
    std::mutex tables;
    std::map<PString, PJNIHelperInternalData> classes;
    std::map<uint64_t, PJNIHelperInternalData> objects;
};

// The one record of the process; see PJNIHelper.cpp.
PJNIHelperPrivate& helper();

// Wipes a pending Java exception: the callers report failure by result, not by exception.
inline void clearPending(JNIEnv* env)
{
    if (env->ExceptionCheck())
        env->ExceptionClear();
}

inline bool connectedLocked(const PJNIHelperPrivate& d)
{
    return d.host && d.androidHelper && d.activity;
}

// Deletes a local reference when the scope ends; the result of a call that may be dropped
// on any path.
class LocalRef {
public:
    LocalRef(JNIEnv* env, jobject ref) : m_env(env), m_ref(ref) {}
    ~LocalRef()
    {
        if (m_ref)
            m_env->DeleteLocalRef(m_ref);
    }
    P_DISABLE_COPY(LocalRef)
    jobject get() const { return m_ref; }

private:
    JNIEnv* m_env;
    jobject m_ref;
};

}
}
