// PJNIHelper and its handles: the process-wide tables of pinned classes and live objects, the
// owner-aware exclusive lock, and the call family that runs every Java call under it.
#include "PJNIHelper.h"
#include "PJavaConnection.h"

#include "HostAndroid.h"
#include "HostInterface.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <thread>

namespace {

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

// Dies with the library, so that a host that unloads it leaks nothing. Holds no Java
// reference by then: the last component's disconnect dropped them.
PJNIHelperPrivate& helper()
{
    static PJNIHelperPrivate d;
    return d;
}

const char kLibsLoaderClass[] = "com.tavrel.strake.PLibLoader";

// Wipes a pending Java exception: the callers report failure by result, not by exception.
void clearPending(JNIEnv* env)
{
    if (env->ExceptionCheck())
        env->ExceptionClear();
}

bool connectedLocked(const PJNIHelperPrivate& d)
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

// The kinds of result of the call family: the JNI call for an object and for a class, and the
// conversion of what it gave. finish() runs after the pending exception was cleared.
struct VoidCall {
    using Result = bool;
    using Raw = bool;
    static Raw onObject(JNIEnv* env, jobject o, jmethodID m, va_list args)
    {
        env->CallVoidMethodV(o, m, args);
        return true;
    }
    static Raw onClass(JNIEnv* env, jclass c, jmethodID m, va_list args)
    {
        env->CallStaticVoidMethodV(c, m, args);
        return true;
    }
    static Result finish(JNIEnv*, Raw) { return true; }
};

struct BooleanCall {
    using Result = bool;
    using Raw = jboolean;
    static Raw onObject(JNIEnv* env, jobject o, jmethodID m, va_list args)
    {
        return env->CallBooleanMethodV(o, m, args);
    }
    static Raw onClass(JNIEnv* env, jclass c, jmethodID m, va_list args)
    {
        return env->CallStaticBooleanMethodV(c, m, args);
    }
    static Result finish(JNIEnv*, Raw raw) { return raw == JNI_TRUE; }
};

struct IntCall {
    using Result = int;
    using Raw = jint;
    static Raw onObject(JNIEnv* env, jobject o, jmethodID m, va_list args)
    {
        return env->CallIntMethodV(o, m, args);
    }
    static Raw onClass(JNIEnv* env, jclass c, jmethodID m, va_list args)
    {
        return env->CallStaticIntMethodV(c, m, args);
    }
    static Result finish(JNIEnv*, Raw raw) { return raw; }
};

struct ObjectCall {
    using Raw = jobject;
    static Raw onObject(JNIEnv* env, jobject o, jmethodID m, va_list args)
    {
        return env->CallObjectMethodV(o, m, args);
    }
    static Raw onClass(JNIEnv* env, jclass c, jmethodID m, va_list args)
    {
        return env->CallStaticObjectMethodV(c, m, args);
    }
};

struct StringCall : ObjectCall {
    using Result = PString;
    static Result finish(JNIEnv* env, Raw raw)
    {
        LocalRef ref(env, raw);
        return PString(strake::jstr2str<char16_t>(env, static_cast<jstring>(raw)));
    }
};

struct ByteArrayCall : ObjectCall {
    using Result = PByteArray;
    static Result finish(JNIEnv* env, Raw raw)
    {
        LocalRef ref(env, raw);
        return strake::jbyteArray2ByteArray(env, static_cast<jbyteArray>(raw));
    }
};

// Method names are ASCII in practice: those skip the general conversion, which would cost as
// much as the JNI call itself.
std::string methodName(const PString& name)
{
    std::string ascii;
    ascii.reserve(name.size());
    for (char16_t unit : name) {
        if (unit >= 0x80)
            return name.toStdString();
        ascii.push_back(static_cast<char>(unit));
    }
    return ascii;
}

// Looks the method up and runs it on the object, or statically on the class when the object
// is null. Throws PError when the method is unknown.
template <class Kind>
typename Kind::Result invoke(JNIEnv* env, jclass cls, jobject object, const PString& name,
                             const char* signature, va_list args)
{
    jmethodID method = nullptr;
    if (signature) {
        const std::string utf8 = methodName(name);
        method = object ? env->GetMethodID(cls, utf8.c_str(), signature)
                        : env->GetStaticMethodID(cls, utf8.c_str(), signature);
    }
    if (!method) {
        clearPending(env);  // NoSuchMethodError
        P_THROW(PError::GeneralFailure, PString("method ") + name + PString(" not fount"));
    }
    typename Kind::Raw raw = object ? Kind::onObject(env, object, method, args)
                                    : Kind::onClass(env, cls, method, args);
    clearPending(env);
    return Kind::finish(env, raw);
}

// A call for the helper's own use, with the exclusive lock already held; static when the
// object is null.
template <class Kind>
typename Kind::Result invokeDirect(JNIEnv* env, jclass cls, jobject object, const PString& name,
                                   const char* signature, ...)
{
    va_list args;
    va_start(args, signature);
    struct End {
        va_list& args;
        ~End() { va_end(args); }
    } end{args};
    return invoke<Kind>(env, cls, object, name, signature, args);
}

// The whole of one call of the family: lock, checks, the call, and a failure into lastError.
// Without an object the call is static on cls. The object's reference is looked up under the
// lock, so that a disconnect can't delete it during the call.
template <class Kind>
typename Kind::Result callJava(PError& lastError, const PJNIClass& cls,
                               const PJNIClassObject* object, const PString& name,
                               const char* signature, va_list args)
{
    typename Kind::Result result{};
    PJNIExclusiveCall lock;
    if (lastError.isError())
        lastError.clear();
    try {
        JNIEnv* env = nullptr;
        jobject target = nullptr;
        jclass jcls = nullptr;
        if (!object) {
            env = strake::getJniEnv();
            if (!env)
                P_THROW(PError::GeneralFailure, "JNI unaccessible");
            jcls = cls.getJClass();
            if (!jcls)
                P_THROW(PError::GeneralFailure, "Invalid class object to call");
        } else {
            target = object->getJObject();
            jcls = target ? cls.getJClass() : nullptr;
            if (!jcls)
                P_THROW(PError::GeneralFailure, "Invalid class object to call");
            env = strake::getJniEnv();
            if (!env)
                P_THROW(PError::GeneralFailure, "JNI unaccessible");
        }
        result = invoke<Kind>(env, jcls, target, name, signature, args);
    } catch (...) {
        lastError = PError::fromCurrentException("Unexpected");
    }
    return result;
}

// Finds and pins a class; the exclusive lock is held. Throws PError.
PJNIClass classLocked(PJNIHelperPrivate& d, const PString& className)
{
    JNIEnv* env = strake::getJniEnv();
    if (!env)
        P_THROW(PError::GeneralFailure, "jni is not available");
    if (!connectedLocked(d))
        P_THROW(PError::GeneralFailure, "PJNIHelper not properly initialized");
    {
        std::lock_guard<std::mutex> tables(d.tables);
        if (d.classes.count(className))
            return PJNIClass(className);
    }
    // The host's loader knows the application's classes by their dotted names only.
    PString dotted = className;
    dotted.replace(PString("/"), PString("."));
    jclass local = d.androidHelper->findClass(dotted.utf16());
    clearPending(env);  // a host helper may leave its ClassNotFoundException behind
    if (!local)
        P_THROW(PError::GeneralFailure, PString("class ") + className + PString(" not found"));
    jclass global = static_cast<jclass>(env->NewGlobalRef(local));
    env->DeleteLocalRef(local);
    if (!global)
        P_THROW(PError::GeneralFailure, "Fail to make global ref");

    PJNIHelperInternalData entry;
    entry.cls = global;
    entry.className = className;
    entry.id = reinterpret_cast<uintptr_t>(global);
    std::lock_guard<std::mutex> tables(d.tables);
    d.classes.emplace(className, entry);
    return PJNIClass(className);
}

// The cached PLibLoader class; the exclusive lock is held. Throws PError.
PJNIClass libsLoaderLocked(PJNIHelperPrivate& d)
{
    if (d.libsLoader.isValid())
        return d.libsLoader;
    if (!connectedLocked(d))
        P_THROW(PError::GeneralFailure, "JNI is not connected");
    PJNIClass loader;
    try {
        loader = classLocked(d, PString(kLibsLoaderClass));
    } catch (const PError&) {
    }
    if (!loader.isValid())
        P_THROW(PError::GeneralFailure, PString(kLibsLoaderClass) + PString(" is not accessible"));
    d.libsLoader = loader;
    return loader;
}

}

// ---- free helpers ---------------------------------------------------------------------------

namespace strake {

JNIEnv* getJniEnv()
{
    JavaVM* vm = helper().vm.load();
    if (!vm)
        return nullptr;
    JNIEnv* env = nullptr;
    jint status = vm->GetEnv(reinterpret_cast<void**>(&env), JNI_VERSION_1_6);
    // Attached for good, as a daemon so that the VM's shutdown never waits for this thread.
    if (status == JNI_EDETACHED)
        status = vm->AttachCurrentThreadAsDaemon(reinterpret_cast<void**>(&env), nullptr);
    return status == JNI_OK ? env : nullptr;
}

template <>
jstring str2jstr<char16_t>(JNIEnv* env, const std::basic_string<char16_t>& text)
{
    if (!env)
        return nullptr;
    jstring result = env->NewString(reinterpret_cast<const jchar*>(text.data()),
                                    static_cast<jsize>(text.size()));
    if (!result)
        clearPending(env);  // OutOfMemoryError
    return result;
}

template <>
std::basic_string<char16_t> jstr2str<char16_t>(JNIEnv* env, const jstring& text)
{
    if (!env || !text)
        return {};
    std::u16string result(static_cast<size_t>(env->GetStringLength(text)), u'\0');
    if (!result.empty())
        env->GetStringRegion(text, 0, static_cast<jsize>(result.size()),
                             reinterpret_cast<jchar*>(&result[0]));
    clearPending(env);
    return result;
}

jbyteArray byteArray2jbyteArray(JNIEnv* env, const char* bytes, unsigned long length)
{
    if (!env)
        return nullptr;
    if (!bytes)
        length = 0;
    jbyteArray result = env->NewByteArray(static_cast<jsize>(length));
    if (!result) {
        clearPending(env);  // OutOfMemoryError
        return nullptr;
    }
    if (length)
        env->SetByteArrayRegion(result, 0, static_cast<jsize>(length),
                                reinterpret_cast<const jbyte*>(bytes));
    return result;
}

jbyteArray str2jbyteArray(JNIEnv* env, std::string bytes)
{
    return byteArray2jbyteArray(env, bytes.data(), bytes.size());
}

// Each conversion copies once, straight from the array into the destination.
bool jbyteArray2ByteArray(JNIEnv* env, jbyteArray array, unsigned char** buffer,
                          unsigned long* length)
{
    if (!env || !array || !buffer || !length)
        return false;
    const jsize size = env->GetArrayLength(array);
    auto* copy = new unsigned char[static_cast<size_t>(size) + 1];
    if (size)
        env->GetByteArrayRegion(array, 0, size, reinterpret_cast<jbyte*>(copy));
    copy[size] = 0;
    *buffer = copy;
    *length = static_cast<unsigned long>(size);
    return true;
}

PByteArray jbyteArray2ByteArray(JNIEnv* env, jbyteArray array)
{
    if (!env || !array)
        return PByteArray();
    const jsize size = env->GetArrayLength(array);
    if (size <= 0)
        return PByteArray();
    PByteArray result(static_cast<unsigned long>(size));
    env->GetByteArrayRegion(array, 0, size, reinterpret_cast<jbyte*>(result.data()));
    return result;
}

std::string jbyteArray2str(JNIEnv* env, jbyteArray array)
{
    if (!env || !array)
        return std::string();
    std::string result(static_cast<size_t>(env->GetArrayLength(array)), '\0');
    if (!result.empty())
        env->GetByteArrayRegion(array, 0, static_cast<jsize>(result.size()),
                                reinterpret_cast<jbyte*>(&result[0]));
    return result;
}

void append_exception_trace_messages(JNIEnv& env, std::string& out, jthrowable throwable,
                                     jmethodID getCause, jmethodID getStackTrace,
                                     jmethodID throwableToString, jmethodID frameToString)
{
    auto appendText = [&env, &out](jobject text) {
        if (!text)
            return;
        const char* utf = env.GetStringUTFChars(static_cast<jstring>(text), nullptr);
        if (utf) {
            out += utf;
            env.ReleaseStringUTFChars(static_cast<jstring>(text), utf);
        }
        env.DeleteLocalRef(text);
    };
    // The first throwable is the caller's reference; each cause is ours to delete.
    jthrowable current = throwable;
    while (current) {
        auto frames = static_cast<jobjectArray>(env.CallObjectMethod(current, getStackTrace));
        if (env.ExceptionCheck() || !frames) {
            clearPending(&env);
            break;
        }
        jobject line = env.CallObjectMethod(current, throwableToString);
        if (env.ExceptionCheck()) {
            env.ExceptionClear();
            env.DeleteLocalRef(frames);
            break;
        }
        if (!out.empty())
            out += "\nCaused by: ";
        appendText(line);

        const jsize count = env.GetArrayLength(frames);
        for (jsize i = 0; i < count; ++i) {
            jobject frame = env.GetObjectArrayElement(frames, i);
            if (env.ExceptionCheck()) {
                env.ExceptionClear();
                break;
            }
            jobject frameText = frame ? env.CallObjectMethod(frame, frameToString) : nullptr;
            clearPending(&env);
            out += "\n    ";
            appendText(frameText);
            if (frame)
                env.DeleteLocalRef(frame);
        }
        env.DeleteLocalRef(frames);

        auto cause = static_cast<jthrowable>(env.CallObjectMethod(current, getCause));
        clearPending(&env);
        if (current != throwable)
            env.DeleteLocalRef(current);
        // A throwable that is its own cause would never end the walk.
        if (cause && env.IsSameObject(cause, current)) {
            env.DeleteLocalRef(cause);
            cause = nullptr;
        }
        current = cause;
    }
}

}

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
    d->lastError = P_ERROR(PError::GeneralFailure, "Not Implemented");
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
    m_lastError = P_ERROR(PError::NotImplemented, "Not Implemented");
    return false;
}

int PJNIClassObject::callIntMethod(const std::vector<PVariant>&, const PString&)
{
    m_lastError = P_ERROR(PError::NotImplemented, "Not Implemented");
    return 0;
}

PString PJNIClassObject::callStringMethod(const std::vector<PVariant>&, const PString&)
{
    m_lastError = P_ERROR(PError::NotImplemented, "Not Implemented");
    return PString();
}

PByteArray PJNIClassObject::callByteArrayMethod(const std::vector<PVariant>&, const PString&)
{
    m_lastError = P_ERROR(PError::NotImplemented, "Not Implemented");
    return PByteArray();
}

// ---- PJNIHelper -----------------------------------------------------------------------------

void PJNIHelper::setJavaVM(JavaVM* vm)
{
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
    return found == d.classes.end() ? nullptr : found->second.cls;
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
    return found->second.object;
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
    d.activity = env->NewGlobalRef(activity);
    if (env->GetObjectRefType(activity) == JNILocalRefType)
        env->DeleteLocalRef(activity);
    return d.activity != nullptr;
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
        if (entry.second.object)
            env->DeleteGlobalRef(entry.second.object);
    for (auto& entry : classes)
        if (entry.second.cls)
            env->DeleteGlobalRef(entry.second.cls);
    d.libsLoader = PJNIClass();
    if (d.activity)
        env->DeleteGlobalRef(d.activity);
    d.activity = nullptr;
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
    return helper().activity;
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

PJNIClassObject* PJNIHelper::createClassObj(const PString& className, const char* signature, ...)
{
    PJNIHelperPrivate& d = helper();
    va_list args;
    va_start(args, signature);
    PJNIClassObject* result = nullptr;
    {
        PJNIExclusiveCall lock;
        d.lastError.clear();
        try {
            JNIEnv* env = strake::getJniEnv();
            if (!env)
                P_THROW(PError::GeneralFailure, "jni is not available");
            if (!connectedLocked(d))
                P_THROW(PError::GeneralFailure, "PJNIHelper not properly initialized");
            PJNIClass cls;
            try {
                cls = classLocked(d, className);
            } catch (const PError&) {
            }
            jclass jcls = cls.getJClass();
            if (!jcls)
                P_THROW(PError::GeneralFailure,
                        PString("class ") + className + PString(" not found"));
            jmethodID constructor = signature ? env->GetMethodID(jcls, "<init>", signature)
                                              : nullptr;
            if (!constructor) {
                clearPending(env);
                P_THROW(PError::GeneralFailure, PString("method <init> not fount"));
            }
            jobject local = env->NewObjectV(jcls, constructor, args);
            // A constructor that threw leaves no object: the handle is made, but invalid.
            clearPending(env);
            jobject global = local ? env->NewGlobalRef(local) : nullptr;
            if (local)
                env->DeleteLocalRef(local);
            const uint64_t id = reinterpret_cast<uintptr_t>(global);
            if (global) {
                PJNIHelperInternalData entry;
                entry.object = global;
                entry.className = className;
                entry.id = id;
                std::lock_guard<std::mutex> tables(d.tables);
                d.objects.emplace(id, entry);
            }
            result = new PJNIClassObject(static_cast<unsigned long>(id), cls);
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
        jobject global = nullptr;
        {
            std::lock_guard<std::mutex> tables(d.tables);
            auto found = d.objects.find(id);
            if (found == d.objects.end())
                return;
            global = found->second.object;
            d.objects.erase(found);
        }
        if (global)
            env->DeleteGlobalRef(global);
    } catch (...) {
    }
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
            P_THROW(PError::GeneralFailure, "JNIEnv is unaccessible");
        PJNIClass loader;
        try {
            loader = libsLoaderLocked(d);
        } catch (const PError&) {
        }
        if (!loader.isValid())
            P_THROW(PError::GeneralFailure, "LibLoader is unaccessible");
        if (d.loadedLibraries.count(name)) {
            error = PError(PError::NoError, PString("aleady loaded"));
        } else {
            LocalRef text(env, strake::str2jstr(env, name.toTavrelString()));
            const bool loaded = invokeDirect<BooleanCall>(env, loader.getJClass(), nullptr,
                                                          PString("staticLoad"),
                                                          "(Ljava/lang/String;)Z", text.get());
            if (!loaded)
                P_THROW(PError::GeneralFailure, PString("fail to load library ") + name);
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
            P_THROW(PError::GeneralFailure, "JNIEnv is unaccessible");
        PJNIClass loader;
        try {
            loader = libsLoaderLocked(d);
        } catch (const PError&) {
            return;  // no loader to tell: nothing to do, and nothing to report
        }
        LocalRef text(env, strake::str2jstr(env, name.toTavrelString()));
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
        return P_ERROR(PError::GeneralFailure, "JNIEnv is unaccessible");
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

jstring PJNIHelper::str2jstr(const PString& text)
{
    return strake::str2jstr(strake::getJniEnv(), text.toTavrelString());
}

PString PJNIHelper::jstr2str(const jstring& text)
{
    return PString(strake::jstr2str<char16_t>(strake::getJniEnv(), text));
}

jbyteArray PJNIHelper::byteArray2jbyteArray(const char* bytes, unsigned long length)
{
    return strake::byteArray2jbyteArray(strake::getJniEnv(), bytes, length);
}

jbyteArray PJNIHelper::byteArray2jbyteArray(const PByteArray& bytes)
{
    return strake::byteArray2jbyteArray(strake::getJniEnv(), bytes.constChars(), bytes.size());
}

PByteArray PJNIHelper::jbyteArray2byteArray(const jbyteArray& array)
{
    return strake::jbyteArray2ByteArray(strake::getJniEnv(), array);
}

PString PJNIHelper::getJavaExeptionInfo(jthrowable throwable)
{
    JNIEnv* env = strake::getJniEnv();
    if (!env || !throwable)
        return PString();
    PJNIExclusiveCall lock;
    try {
        LocalRef cls(env, env->GetObjectClass(throwable));
        return invokeDirect<StringCall>(env, static_cast<jclass>(cls.get()), throwable,
                                        PString("getMessage"), "()Ljava/lang/String;");
    } catch (...) {
    }
    return PString();
}

PString PJNIHelper::getJavaExeptionInfoEx(jthrowable throwable)
{
    JNIEnv* env = strake::getJniEnv();
    if (!env || !throwable)
        return PString();
    PJNIExclusiveCall lock;
    LocalRef throwableClass(env, env->FindClass("java/lang/Throwable"));
    clearPending(env);
    if (!throwableClass.get())
        return PString();
    auto cls = static_cast<jclass>(throwableClass.get());
    jmethodID getCause = env->GetMethodID(cls, "getCause", "()Ljava/lang/Throwable;");
    clearPending(env);
    jmethodID getStackTrace =
        env->GetMethodID(cls, "getStackTrace", "()[Ljava/lang/StackTraceElement;");
    clearPending(env);
    jmethodID throwableToString = env->GetMethodID(cls, "toString", "()Ljava/lang/String;");
    clearPending(env);
    LocalRef frameClass(env, env->FindClass("java/lang/StackTraceElement"));
    clearPending(env);
    if (!getCause || !getStackTrace || !throwableToString || !frameClass.get())
        return PString();
    jmethodID frameToString = env->GetMethodID(static_cast<jclass>(frameClass.get()), "toString",
                                               "()Ljava/lang/String;");
    clearPending(env);
    if (!frameToString)
        return PString();
    std::string text;
    strake::append_exception_trace_messages(*env, text, throwable, getCause, getStackTrace,
                                            throwableToString, frameToString);
    return PString(text);
}

// ---- the JNI-free entry for the component --------------------------------------------------

namespace strake {

bool connectJava(IAddInDefBaseEx* host, const PString& javaLibrary)
{
    const bool connected = PJNIHelper::connect(host);
    PJNIHelper::registerJavaLibraryForDelayedLoad(javaLibrary);
    return connected;
}

bool disconnectJava()
{
    return PJNIHelper::disconnect();
}

}
