// PJNIHelper: the process-wide tables of pinned classes and live objects, the owner-aware
// exclusive lock, the connection through the host, and the Java library loader.
#include "PJNICall_p.h"

#include "HostInterface.h"

using namespace strake::jni;

namespace strake {
namespace jni {

namespace {

// Dies with the library when a host loaded it alone, so that a host that unloads it leaks
// nothing; it holds no Java reference by then, the last component's disconnect dropped them.
// Kept when Java loaded it (the VM is known): Java never unloads it, and the companions'
// threads may still call in while the process ends and static destructors run.
struct HelperHolder {
    PJNIHelperPrivate* d = new PJNIHelperPrivate;
    ~HelperHolder()
    {
        if (!d->vm.load())
            delete d;
    }
};

}

PJNIHelperPrivate& helper()
{
    static HelperHolder holder;
    return *holder.d;
}

PJNIHelperPrivate::~PJNIHelperPrivate()
{
    activity.release();
    for (auto& entry : objects)
        entry.second.ref.release();
    for (auto& entry : classes)
        entry.second.ref.release();
}

}
}

namespace {

const char kLibsLoaderClass[] = "com.tavrel.strake.PLibLoader";

// Finds and pins a class; the exclusive lock is held. Throws PError.
PJNIClass classLocked(PJNIHelperPrivate& d, const PString& className)
{
    JNIEnv* env = strake::getJniEnv();
    if (!env)
        P_JNI_THROW(PError::GeneralFailure, "jni is not available");
    if (!connectedLocked(d))
        P_JNI_THROW(PError::GeneralFailure, "PJNIHelper not properly initialized");
    {
        std::lock_guard<std::mutex> tables(d.tables);
        if (d.classes.count(className))
            return PJNIClass(className);
    }
    // The host's loader knows the application's classes by their dotted names only.
    PString dotted = className;
    dotted.replace(PString("/"), PString("."));
    const PJNILocalRef local(env, d.androidHelper->findClass(dotted.utf16()));
    clearPending(env);  // a host helper may leave its ClassNotFoundException behind
    if (!local)
        P_JNI_THROW(PError::GeneralFailure, PString("class ") + className + PString(" not found"));
    PJNIHelperInternalData entry;
    entry.ref = PJNIGlobalRef(env, local.get());
    if (!entry.ref)
        P_JNI_THROW(PError::GeneralFailure, "Fail to make global ref");
    entry.className = className;
    entry.id = reinterpret_cast<uintptr_t>(entry.ref.get());
    std::lock_guard<std::mutex> tables(d.tables);
    d.classes.emplace(className, std::move(entry));
    return PJNIClass(className);
}

// The cached PLibLoader class; the exclusive lock is held. Throws PError.
PJNIClass libsLoaderLocked(PJNIHelperPrivate& d)
{
    if (d.libsLoader.isValid())
        return d.libsLoader;
    if (!connectedLocked(d))
        P_JNI_THROW(PError::GeneralFailure, "JNI is not connected");
    PJNIClass loader;
    try {
        loader = classLocked(d, PString(kLibsLoaderClass));
    } catch (const PError&) {
    }
    if (!loader.isValid())
        P_JNI_THROW(PError::GeneralFailure, PString(kLibsLoaderClass) + PString(" is not accessible"));
    d.libsLoader = loader;
    return loader;
}

}

namespace {

// The VM as the thread-exit hook below sees it. Plain and never destroyed, unlike the helper's
// record: a thread may end while the process tears its statics down.
std::atomic<JavaVM*> g_currentVm{nullptr};

// Detaches a thread that getJniEnv attached when the thread ends: Android's runtime aborts the
// process when a thread ends still attached, and the keyboard timer's thread, for one, ends
// after every burst. A VM cleared or replaced since is not the one to detach from.
struct AttachedThread {
    JavaVM* vm = nullptr;
    ~AttachedThread()
    {
        if (vm && vm == g_currentVm.load())
            vm->DetachCurrentThread();
    }
};

thread_local AttachedThread t_attached;

}

namespace strake {

JNIEnv* getJniEnv()
{
    JavaVM* vm = helper().vm.load();
    if (!vm)
        return nullptr;
    JNIEnv* env = nullptr;
    jint status = vm->GetEnv(reinterpret_cast<void**>(&env), JNI_VERSION_1_6);
    // Attached for the rest of the thread's life, as a daemon so that the VM's shutdown never
    // waits for this thread.
    if (status == JNI_EDETACHED) {
        status = vm->AttachCurrentThreadAsDaemon(reinterpret_cast<void**>(&env), nullptr);
        if (status == JNI_OK)
            t_attached.vm = vm;
    }
    return status == JNI_OK ? env : nullptr;
}

}

void PJNIHelper::setJavaVM(JavaVM* vm)
{
    g_currentVm.store(vm);
    helper().vm.store(vm);
}

JavaVM* PJNIHelper::javaVM()
{
    return helper().vm.load();
}

void PJNIHelper::exclusiveCallBegin()
{
    PJNIHelperPrivate& d = helper();
    const std::thread::id self = std::this_thread::get_id();
    if (d.owner.load() == self)
        return;
    d.exclusive.lock();
    d.owner.store(self);
}

void PJNIHelper::exclusiveCallEnd()
{
    PJNIHelperPrivate& d = helper();
    if (d.owner.load() != std::this_thread::get_id())
        return;
    d.owner.store(std::thread::id());
    d.exclusive.unlock();
}

jclass PJNIHelper::lookupClass(const PString& className)
{
    PJNIHelperPrivate& d = helper();
    std::lock_guard<std::mutex> tables(d.tables);
    auto found = d.classes.find(className);
    return found == d.classes.end() ? nullptr : found->second.ref.asClass();
}

jobject PJNIHelper::lookupObject(unsigned long id, PString* className)
{
    PJNIHelperPrivate& d = helper();
    std::lock_guard<std::mutex> tables(d.tables);
    auto found = d.objects.find(id);
    if (found == d.objects.end())
        return nullptr;
    if (className)
        *className = found->second.className;
    return found->second.ref.get();
}

bool PJNIHelper::connect(IAddInDefBaseEx* host)
{
    if (!host)
        return false;
    PJNIHelperPrivate& d = helper();
    PJNIExclusiveCall lock;
    if (connectedLocked(d))
        return true;
    d.host = host;
    d.androidHelper = static_cast<IHostAndroidHelper*>(host->queryInterface(eHostAndroidHelper));
    if (!d.androidHelper)
        return false;
    jobject activity = d.androidHelper->getActivity();
    JNIEnv* env = strake::getJniEnv();
    if (!activity || !env)
        return false;
    // Devices hand the activity to constructors on any thread, so we pin our own reference;
    // a local one from the helper is ours to release.
    const PJNILocalRef local(env,
                             env->GetObjectRefType(activity) == JNILocalRefType ? activity : nullptr);
    d.activity = PJNIGlobalRef(env, activity);
    return static_cast<bool>(d.activity);
}

bool PJNIHelper::disconnect()
{
    JNIEnv* env = strake::getJniEnv();
    if (!env)
        return false;
    PJNIHelperPrivate& d = helper();
    PJNIExclusiveCall lock;
    std::map<uint64_t, PJNIHelperInternalData> objects;
    std::map<PString, PJNIHelperInternalData> classes;
    {
        std::lock_guard<std::mutex> tables(d.tables);
        objects.swap(d.objects);
        classes.swap(d.classes);
    }
    for (auto& entry : objects)
        entry.second.ref.reset(env);
    for (auto& entry : classes)
        entry.second.ref.reset(env);
    d.libsLoader = PJNIClass();
    d.activity.reset(env);
    d.host = nullptr;
    d.androidHelper = nullptr;
    d.lastError.clear();
    return true;
}

bool PJNIHelper::isConnected()
{
    PJNIExclusiveCall lock;
    return connectedLocked(helper());
}

jobject PJNIHelper::getActivity()
{
    PJNIExclusiveCall lock;
    return helper().activity.get();
}

PJNIClass PJNIHelper::getClass(const PString& className)
{
    PJNIHelperPrivate& d = helper();
    PJNIExclusiveCall lock;
    d.lastError.clear();
    try {
        return classLocked(d, className);
    } catch (...) {
        d.lastError = PError::fromCurrentException("Unexpected");
    }
    return PJNIClass();
}

PJNIClassObjectPtr PJNIHelper::createClassObj(const PString& className, const char* signature,
                                              ...)
{
    PJNIHelperPrivate& d = helper();
    va_list args;
    va_start(args, signature);
    PJNIClassObjectPtr result;
    {
        PJNIExclusiveCall lock;
        d.lastError.clear();
        try {
            JNIEnv* env = strake::getJniEnv();
            if (!env)
                P_JNI_THROW(PError::GeneralFailure, "jni is not available");
            if (!connectedLocked(d))
                P_JNI_THROW(PError::GeneralFailure, "PJNIHelper not properly initialized");
            PJNIClass cls;
            try {
                cls = classLocked(d, className);
            } catch (const PError&) {
            }
            jclass jcls = cls.getJClass();
            if (!jcls)
                P_JNI_THROW(PError::GeneralFailure,
                        PString("class ") + className + PString(" not found"));
            jmethodID constructor = signature ? env->GetMethodID(jcls, "<init>", signature)
                                              : nullptr;
            if (!constructor) {
                clearPending(env);
                P_JNI_THROW(PError::GeneralFailure, PString("method <init> not fount"));
            }
            // A constructor that throws leaves the VM's reference to the object it was making
            // in the caller's frame; on a thread that never returns to Java it would stay for
            // good, so the object is made in a frame of its own.
            PJNILocalFrame frame(env, 1);
            if (!frame) {
                clearPending(env);
                P_JNI_THROW(PError::GeneralFailure, PString("no room for a local frame"));
            }
            jobject made = env->NewObjectV(jcls, constructor, args);
            const PJNILocalRef local(env, frame.pop(made));
            // A constructor that threw leaves no object: the handle is made, but invalid.
            clearPending(env);
            PJNIHelperInternalData entry;
            entry.ref = PJNIGlobalRef(env, local.get());
            uint64_t id = 0;
            if (entry.ref) {
                std::lock_guard<std::mutex> tables(d.tables);
                id = ++d.lastObjectId;
            }
            // The handle first: once the entry is in the table, nothing may fail to own it.
            result.reset(new PJNIClassObject(static_cast<unsigned long>(id), cls));
            if (entry.ref) {
                entry.className = className;
                entry.id = id;
                std::lock_guard<std::mutex> tables(d.tables);
                d.objects.emplace(id, std::move(entry));
            }
        } catch (...) {
            d.lastError = PError::fromCurrentException("Unexpected");
        }
    }
    va_end(args);
    return result;
}

void PJNIHelper::destroyClassObj(PJNIClassObject* object)
{
    if (!object)
        return;
    try {
        const uint64_t id = object->getId();
        delete object;
        JNIEnv* env = strake::getJniEnv();
        if (!env)
            return;
        PJNIHelperPrivate& d = helper();
        PJNIExclusiveCall lock;
        PJNIGlobalRef global;
        {
            std::lock_guard<std::mutex> tables(d.tables);
            auto found = d.objects.find(id);
            if (found == d.objects.end())
                return;
            global = std::move(found->second.ref);
            d.objects.erase(found);
        }
        global.reset(env);
    } catch (...) {
    }
}

void PJNIClassObjectDeleter::operator()(PJNIClassObject* object) const
{
    PJNIHelper::destroyClassObj(object);
}

PJNIClass PJNIHelper::getLibsLoader()
{
    PJNIHelperPrivate& d = helper();
    PJNIExclusiveCall lock;
    try {
        return libsLoaderLocked(d);
    } catch (...) {
        d.lastError = PError::fromCurrentException("Unexpected error");
    }
    return PJNIClass();
}

bool PJNIHelper::loadJavaLibrary(const PString& name)
{
    PJNIHelperPrivate& d = helper();
    PJNIExclusiveCall lock;
    PError error;
    try {
        JNIEnv* env = strake::getJniEnv();
        if (!env)
            P_JNI_THROW(PError::GeneralFailure, "JNIEnv is unaccessible");
        PJNIClass loader;
        try {
            loader = libsLoaderLocked(d);
        } catch (const PError&) {
        }
        if (!loader.isValid())
            P_JNI_THROW(PError::GeneralFailure, "LibLoader is unaccessible");
        if (d.loadedLibraries.count(name)) {
            error = PError(PError::NoError, PString("aleady loaded"));
        } else {
            const PJNILocalRef text(env, strake::str2jstr(env, name.toTavrelString()));
            const bool loaded = invokeDirect<BooleanCall>(env, loader.getJClass(), nullptr,
                                                          PString("staticLoad"),
                                                          "(Ljava/lang/String;)Z", text.get());
            if (!loaded)
                P_JNI_THROW(PError::GeneralFailure, PString("fail to load library ") + name);
            d.loadedLibraries.insert(name);
        }
    } catch (...) {
        error = PError::fromCurrentException("Unexpected error");
    }
    if (error.isError())
        d.lastError = error;
    return !error.isError();
}

void PJNIHelper::registerJavaLibraryForDelayedLoad(const PString& name)
{
    PJNIHelperPrivate& d = helper();
    PJNIExclusiveCall lock;
    try {
        JNIEnv* env = strake::getJniEnv();
        if (!env)
            P_JNI_THROW(PError::GeneralFailure, "JNIEnv is unaccessible");
        PJNIClass loader;
        try {
            loader = libsLoaderLocked(d);
        } catch (const PError&) {
            return;  // no loader to tell: nothing to do, and nothing to report
        }
        const PJNILocalRef text(env, strake::str2jstr(env, name.toTavrelString()));
        invokeDirect<VoidCall>(env, loader.getJClass(), nullptr, PString("registerForDelayedLoad"),
                               "(Ljava/lang/String;)V", text.get());
    } catch (...) {
        d.lastError = PError::fromCurrentException("Unexpected error");
    }
}

PError PJNIHelper::getPendingErrors()
{
    JNIEnv* env = strake::getJniEnv();
    if (!env)
        return P_JNI_ERROR(PError::GeneralFailure, "JNIEnv is unaccessible");
    clearPending(env);
    return PError();
}

PError PJNIHelper::getLastError()
{
    PJNIExclusiveCall lock;
    return helper().lastError;
}

void PJNIHelper::setLastError(const PError& error)
{
    PJNIExclusiveCall lock;
    helper().lastError = error;
}

void PJNIHelper::clearLastError()
{
    PJNIExclusiveCall lock;
    helper().lastError.clear();
}
