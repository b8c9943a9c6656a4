// PJavaCompanion, the Java object behind a device, and PJavaReference, a Java object that
// native code keeps: both reached without JNI types, so that device code needs none.
#pragma once

#include "PByteArray.h"
#include "PError.h"
#include "PString.h"

#include <cstdint>
#include <memory>
#include <mutex>

class PJNIClassObject;

// A global reference to a Java object (a socket handed to a device), deleted with the holder.
// Move-only. Deleting needs the VM: without one the reference is left to the VM.
class PJavaReference {
public:
    PJavaReference() = default;
    // A new global reference to the object; `object` is a jobject, local or global, that the
    // caller keeps. Null gives an empty holder.
    explicit PJavaReference(void* object);
    PJavaReference(PJavaReference&& other) noexcept;
    PJavaReference& operator=(PJavaReference&& other) noexcept;
    PJavaReference(const PJavaReference&) = delete;
    PJavaReference& operator=(const PJavaReference&) = delete;
    ~PJavaReference();

    bool isNull() const { return object_ == nullptr; }
    // The jobject, valid while the holder keeps it.
    void* get() const { return object_; }
    void reset();

private:
    void* object_ = nullptr;
};

// A device's Java companion: an object of a class found through the host, made with the
// activity and the device's handle (constructor "(Landroid/app/Activity;J)V").
//
// Every call runs on a handle of its own over the layer's object table, so calls from several
// threads share no call state, and a call that races with the companion's destruction finds
// the object gone ("Invalid class object to call") instead of freed memory. The owner keeps
// the companion by shared_ptr and a caller on another thread takes its own copy for the call:
// the object table's entry and global reference go when the last copy goes.
// A Java exception counts as a false, 0 or empty result and is no error; the errors of the
// call itself (no such object, method or env) are kept for lastError().
class PJavaCompanion {
public:
    // Makes the object. Null when the layer failed (the reason is in javaLastError()); an
    // object whose constructor threw is returned but not valid.
    static std::shared_ptr<PJavaCompanion> create(const PString& className, int64_t handle);
    ~PJavaCompanion();
    PJavaCompanion(const PJavaCompanion&) = delete;
    PJavaCompanion& operator=(const PJavaCompanion&) = delete;

    // The object is in the layer's table (it goes at the layer's disconnect).
    bool isValid() const;
    // The error of the last call that failed on the native side; code 0 after a good call.
    PError lastError() const;

    // "()V".
    void callVoid(const char* method);
    // "()Z".
    bool callBoolean(const char* method);
    // "(Ljava/lang/String;)Z".
    bool callBoolean(const char* method, const PString& argument);
    // "([B)Z", the bytes copied into a new Java array.
    bool callBoolean(const char* method, const char* data, uint64_t size);
    // "()Ljava/lang/String;"; empty for null.
    PString callText(const char* method);
    // A void method of the signature given, taking the object and a long.
    void callVoid(const char* method, const char* signature, const PJavaReference& object,
                  int64_t value);

    // A static String method of the class: "(Landroid/app/Activity;)Ljava/lang/String;" with
    // the activity, or "()Ljava/lang/String;". Empty for null, a Java exception or a failure
    // of the layer, which then goes to *error.
    static PString callStaticText(const PString& className, const char* method, bool withActivity,
                                  PError* error = nullptr);

private:
    explicit PJavaCompanion(PJNIClassObject* object);
    void keep(const PError& error);

    PJNIClassObject* object_;  // owned; only its id and class are used for calls
    mutable std::mutex errorMutex_;  // guards lastError_
    PError lastError_;
};

namespace strake {
// The JNI layer is connected to the host's Android helper.
bool javaConnected();
// The calling thread has (or now gets) a JNI env.
bool javaEnvAvailable();
// The JNI layer's own last error (of class look-up and object creation).
PError javaLastError();
}
