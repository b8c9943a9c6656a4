// The JNI layer's private record and habits, shared by its sources: the helper's lock and
// tables, and the pending-exception wipe.
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

// One table entry: a pinned class or a live object, each owned as a global reference.
struct PJNIHelperInternalData {
    PJNIGlobalRef ref;
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
    PJNIGlobalRef activity;
    PJNIClass libsLoader;
    std::set<PString> loadedLibraries;
    PError lastError;

    // Guards classes, objects and lastObjectId for the look-ups of the handles, which run
    // without the exclusive lock. Never held across a JNI call.
    std::mutex tables;
    std::map<PString, PJNIHelperInternalData> classes;
    std::map<uint64_t, PJNIHelperInternalData> objects;
    // Object ids are counted, never taken from a reference: the VM hands a deleted global
    // reference's value out again, and a handle that outlived a disconnect would then find,
    // and destroy, another device's object.
    uint64_t lastObjectId = 0;

    // The record dies with the library, when the VM may be gone: references a component left
    // behind are forgotten, not deleted.
    ~PJNIHelperPrivate();
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

}
}
