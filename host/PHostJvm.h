// PHostJvm: the process's one Java VM, as the platform holds it on a device: the companion
// jars on its class path, checked JNI, the library loaded through Java and the Android helper.
// The test programs, the benchmarks and kelmor-host all start the VM through it.
#pragma once

#include "HostAndroidHelper.h"

#include <jni.h>

#include <string>
#include <vector>

// How the VM is made.
struct PHostJvmOptions {
    // Jars and folders, ':' between them.
    std::string classPath;
    // The file that com.tavrel.strake.PLibLoader loads for "com_tavrel_Kelmor".
    std::string libraryPath;
    // -Xcheck:jni; off only for measurements, where the checker would weigh on every call.
    bool checkJni = true;
    // More options for the VM, after the usual ones (a later option wins).
    std::vector<std::string> extraOptions;
};

// A VM can be made once per process and is never destroyed, so every function here works on
// that one VM. Any thread may call them; the VM attaches a calling thread as a daemon.
namespace PHostJvm {

// kelmor.jar and libkelmor.so of this build, with checked JNI.
PHostJvmOptions defaultOptions();
// Sets how the VM will be made. Answers false, and changes nothing, once the VM exists.
bool configure(const PHostJvmOptions& options);
// The VM, made at first use with the configured options (defaultOptions() when none were
// set). Aborts the program when the VM can't be made: no second try is possible.
JavaVM* vm();
// The calling thread's env, attaching the thread as a daemon if the VM doesn't know it yet;
// null when that fails.
JNIEnv* env();
// Everything the VM printed (its warnings, the checker's reports) since the last call. The
// text is also written to the stream the VM chose, so that a failing run explains itself.
std::string takeOutput();
// The number of JNI global references the VM holds now, all owners together; -1 when the VM
// can't tell.
long globalRefCount();
// The Android helper for the whole process, made at first use; never destroyed.
HostAndroidHelper& androidHelper();
// Loads the library through com.tavrel.strake.PLibLoader, so that it belongs to the
// application's class loader as on a device: JNI_OnLoad runs and the natives of the
// companion classes resolve in it. A name or a path; true when Java loaded it.
bool loadLibrary(const std::string& nameOrPath);

}
