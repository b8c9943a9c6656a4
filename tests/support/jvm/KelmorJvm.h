// The test programs' one Java VM: made at first use with the library's jars, checked JNI and
// its output captured, plus a count of the VM's JNI global references.
#pragma once

#include "HostAndroidHelper.h"

#include <jni.h>

#include <string>

namespace kelmortest {

// The process's VM, created on first use with kelmor.jar and the test classes on the class
// path and -Xcheck:jni on. Aborts the program when the VM can't be made.
JavaVM* jvm();
// Makes the VM without -Xcheck:jni, for measurements; call before the first jvm().
void useUncheckedJvm();
// The calling thread's env, attaching it as a daemon if the VM doesn't know it yet.
JNIEnv* jvmEnv();

// Everything the VM printed (its warnings, the checker's reports) since the last call.
std::string takeJvmOutput();
// The number of JNI global references the VM holds now, all owners together; -1 when the VM
// can't tell.
long jniGlobalRefCount();

// The test host's Android helper for the whole program, made on first use.
HostAndroidHelper& androidHelper();

}
