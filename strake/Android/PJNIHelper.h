// The door to the Java runtime: the process-wide PJNIHelper with its class and object tables,
// and the PJNIClass and PJNIClassObject handles through which every Java call goes. The env
// and the conversions come with it from PJNIEnv.h.
#pragma once

#include "PByteArray.h"
#include "PError.h"
#include "PGlobal.h"
#include "PJNIEnv.h"
#include "PJNIGuards.h"
#include "PSharedDataPtr.h"
#include "PString.h"
#include "PVariant.h"

#include <jni.h>

#include <cstdarg>
#include <memory>
#include <string>
#include <vector>

class IAddInDefBaseEx;


struct PJNIClassPrivate {
    PString className;
    PError lastError;
};

// A class known to the helper, by its dotted name. Owns no Java reference: it finds its
// jclass in the helper's class table on each use, so it goes invalid at disconnect.
// A cheap value handle; one handle must not be used from two threads at once.
class PJNIClass {
public:
    PJNIClass();
    explicit PJNIClass(const PString& className);

    PString className() const { return d->className; }
    // The pinned class, or null when the helper doesn't hold it (any more).
    jclass getJClass() const;
    bool isValid() const { return getJClass() != nullptr; }

    PError lastError() const { return d->lastError; }
    void setLastError(const PError& error);
    void clearLastError();

    // Static calls: method name, JNI signature, then the raw JNI arguments the signature
    // names. Every Java call of the process runs under the helper's exclusive lock. A failure
    // (invalid class, no env, unknown method) goes to lastError(); a Java exception is
    // cleared and gives false, 0 or an empty value with no error.
    void callStaticVoidMethod(const PString& name, const char* signature, ...);
    bool callStaticBooleanMethod(const PString& name, const char* signature, ...);
    int callStaticIntMethod(const PString& name, const char* signature, ...);
    PString callStaticStringMethod(const PString& name, const char* signature, ...);
    PByteArray callStaticByteArrayMethod(const PString& name, const char* signature, ...);

    // Objects are made by PJNIHelper::createClassObj: this always fails (code 2) with null.
    jobject createObject(const char* signature, ...);

private:
    PSharedDataPtr<PJNIClassPrivate> d;
};

// A Java object held by the helper under its id. Owns no Java reference either: the global
// reference lives in the helper's object table, so the handle goes invalid at disconnect and
// must still be freed with PJNIHelper::destroyClassObj. Not copyable; one thread at a time.
class PJNIClassObject {
public:
    PJNIClassObject();
    // Binds to the table entry of that id, if there is one.
    explicit PJNIClassObject(unsigned long id);
    virtual ~PJNIClassObject();
    P_DISABLE_COPY(PJNIClassObject)

    unsigned long getId() const { return m_id; }
    jclass getJClass() const { return m_class.getJClass(); }
    // The object's global reference, or null when the id isn't in the table.
    jobject getJObject() const;
    bool isValid() const { return getJClass() != nullptr && getJObject() != nullptr; }
    bool isValidForStaticCall() const { return m_class.isValid(); }

    PError lastError() const { return m_lastError; }
    void setLastError(const PError& error) { m_lastError = error; }
    void clearLastError() { m_lastError.clear(); }

    // Instance calls: as the static calls of PJNIClass, on this object.
    void callVoidMethod(const PString& name, const char* signature, ...);
    bool callBooleanMethod(const PString& name, const char* signature, ...);
    int callIntMethod(const PString& name, const char* signature, ...);
    PString callStringMethod(const PString& name, const char* signature, ...);
    PByteArray callByteArrayMethod(const PString& name, const char* signature, ...);

    // Calls by a list of values aren't supported: code 1, and false, 0 or an empty value.
    bool callBooleanMethod(const std::vector<PVariant>& args, const PString& name);
    int callIntMethod(const std::vector<PVariant>& args, const PString& name);
    PString callStringMethod(const std::vector<PVariant>& args, const PString& name);
    PByteArray callByteArrayMethod(const std::vector<PVariant>& args, const PString& name);

private:
    friend class PJNIHelper;
    friend class PJavaCompanion;
    PJNIClassObject(unsigned long id, const PJNIClass& cls);

    unsigned long m_id = 0;
    PJNIClass m_class;
    PError m_lastError;
};

// Frees an object made by PJNIHelper::createClassObj (PJNIHelper::destroyClassObj).
struct PJNIClassObjectDeleter {
    void operator()(PJNIClassObject* object) const;
};
// The sole owner of an object made by PJNIHelper::createClassObj.
using PJNIClassObjectPtr = std::unique_ptr<PJNIClassObject, PJNIClassObjectDeleter>;

// Static access to Java for the whole process. connect() takes the host's Android helper;
// disconnect() drops every global reference the helper made. Any thread may call; helper
// failures go to the helper's last error (read under the lock).
//
// The exclusive lock is owner-aware and not counted: a begin by the owner is free, and the
// first end by the owner releases it, also for an outer level.
class PJNIHelper {
public:
    // The VM given by JNI_OnLoad; null clears it.
    static void setJavaVM(JavaVM* vm);
    static JavaVM* javaVM();

    // False for a null host or a host without Android helper or activity; true when already
    // connected (the activity is kept).
    static bool connect(IAddInDefBaseEx* host);
    // Deletes every global reference and forgets the host; false without an env.
    static bool disconnect();
    static bool isConnected();
    // The activity, a global reference valid until disconnect.
    static jobject getActivity();

    // Finds the class through the host by its dotted name and pins it for the connection;
    // an invalid class on failure, with the reason in the last error.
    static PJNIClass getClass(const PString& className);
    // Constructs an object (constructor signature, then its raw JNI arguments) and enters it
    // in the object table. The result owns it: dropping the result (or destroyClassObj) frees
    // the object and its global reference. Null on failure, with the reason in the last
    // error; a constructor that threw gives an invalid object.
    static PJNIClassObjectPtr createClassObj(const PString& className, const char* signature,
                                             ...);
    // Deletes the object and its global reference; null does nothing.
    static void destroyClassObj(PJNIClassObject* object);
    // The same for an owner, which is left empty.
    static void destroyClassObj(PJNIClassObjectPtr& object) { object.reset(); }

    static PJNIClass getLibsLoader();
    // Loads a native library through the Java loader once; true when loaded now or before.
    static bool loadJavaLibrary(const PString& name);
    // Hands the name to the Java loader; an unreachable loader is skipped silently.
    static void registerJavaLibraryForDelayedLoad(const PString& name);

    // Clears a pending Java exception; the answer is empty unless there is no env.
    static PError getPendingErrors();
    static PError getLastError();
    static void setLastError(const PError& error);
    static void clearLastError();

    static void exclusiveCallBegin();
    static void exclusiveCallEnd();

    // As the free helpers, with the calling thread's env: null or empty without one.
    static jstring str2jstr(const PString& text);
    static PString jstr2str(const jstring& text);
    static jbyteArray byteArray2jbyteArray(const char* bytes, unsigned long length);
    static jbyteArray byteArray2jbyteArray(const PByteArray& bytes);
    static PByteArray jbyteArray2byteArray(const jbyteArray& array);

    // The throwable's getMessage; empty without env or throwable.
    static PString getJavaExeptionInfo(jthrowable throwable);
    // The throwable, its frames and its causes with theirs; empty when anything is missing.
    static PString getJavaExeptionInfoEx(jthrowable throwable);

private:
    friend class PJNIClass;
    friend class PJNIClassObject;
    static jclass lookupClass(const PString& className);
    static jobject lookupObject(unsigned long id, PString* className);
};

// Holds the helper's exclusive lock for a scope (exclusiveCallBegin/End).
class PJNIExclusiveCall {
public:
    PJNIExclusiveCall() { PJNIHelper::exclusiveCallBegin(); }
    ~PJNIExclusiveCall() { PJNIHelper::exclusiveCallEnd(); }
    P_DISABLE_COPY(PJNIExclusiveCall)
};
