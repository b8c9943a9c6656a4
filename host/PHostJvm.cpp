// PHostJvm: the one VM, its captured output, its global reference count and the library
// loaded through Java.
#include "PHostJvm.h"

#include <jvmti.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <vector>

namespace {

// Made at first use, so that configure works even from another file's static initialiser.
struct Setup {
    std::mutex mutex;  // guards options and made
    PHostJvmOptions options = PHostJvm::defaultOptions();
    bool made = false;
};

Setup& setup()
{
    static Setup instance;
    return instance;
}

std::mutex outputMutex;  // guards output, written by any VM thread
std::string output;

jint JNICALL captureOutput(FILE* stream, const char* format, va_list args)
{
    va_list copy;
    va_copy(copy, args);
    char small[1024];
    const int length = vsnprintf(small, sizeof small, format, copy);
    va_end(copy);
    if (length < 0)
        return length;
    std::string text;
    if (static_cast<size_t>(length) < sizeof small) {
        text.assign(small, static_cast<size_t>(length));
    } else {
        text.resize(static_cast<size_t>(length) + 1);
        vsnprintf(&text[0], text.size(), format, args);
        text.resize(static_cast<size_t>(length));
    }
    // Still shown, so that a failing run explains itself.
    fputs(text.c_str(), stream ? stream : stderr);
    std::lock_guard<std::mutex> lock(outputMutex);
    output += text;
    return length;
}

void JNICALL onAbort()
{
    fputs("the Java VM aborted\n", stderr);
    std::abort();
}

JavaVM* createVm()
{
    PHostJvmOptions chosen;
    {
        std::lock_guard<std::mutex> lock(setup().mutex);
        chosen = setup().options;
        setup().made = true;
    }
    std::vector<std::string> texts = {
        "-Djava.class.path=" + chosen.classPath,
        "-Dstrake.lib.com_tavrel_Kelmor=" + chosen.libraryPath,
        "-Xmx256m",
        "-XX:+UseSerialGC",
        "-XX:TieredStopAtLevel=1",
    };
    if (chosen.checkJni)
        texts.push_back("-Xcheck:jni");
    texts.insert(texts.end(), chosen.extraOptions.begin(), chosen.extraOptions.end());
    std::vector<JavaVMOption> vmOptions;
    for (const std::string& text : texts)
        vmOptions.push_back(JavaVMOption{const_cast<char*>(text.c_str()), nullptr});
    vmOptions.push_back(JavaVMOption{const_cast<char*>("vfprintf"),
                                     reinterpret_cast<void*>(&captureOutput)});
    vmOptions.push_back(
        JavaVMOption{const_cast<char*>("abort"), reinterpret_cast<void*>(&onAbort)});

    JavaVMInitArgs args{};
    args.version = JNI_VERSION_1_8;
    args.nOptions = static_cast<jint>(vmOptions.size());
    args.options = vmOptions.data();
    args.ignoreUnrecognized = JNI_FALSE;
    JavaVM* vm = nullptr;
    JNIEnv* env = nullptr;
    if (JNI_CreateJavaVM(&vm, reinterpret_cast<void**>(&env), &args) != JNI_OK || !vm) {
        fputs("JNI_CreateJavaVM failed\n", stderr);
        std::abort();
    }
    return vm;
}

jint JNICALL countGlobal(jvmtiHeapReferenceKind kind, const jvmtiHeapReferenceInfo*, jlong,
                         jlong, jlong, jlong*, jlong*, jint, void* userData)
{
    if (kind == JVMTI_HEAP_REFERENCE_JNI_GLOBAL)
        ++*static_cast<long*>(userData);
    return 0;  // roots only: follow nothing
}

}

PHostJvmOptions PHostJvm::defaultOptions()
{
    return PHostJvmOptions{KELMOR_JAR, KELMOR_LIBRARY_PATH, true, {}};
}

bool PHostJvm::configure(const PHostJvmOptions& chosen)
{
    std::lock_guard<std::mutex> lock(setup().mutex);
    if (setup().made)
        return false;
    setup().options = chosen;
    return true;
}

JavaVM* PHostJvm::vm()
{
    static JavaVM* const theVm = createVm();
    return theVm;
}

JNIEnv* PHostJvm::env()
{
    JNIEnv* env = nullptr;
    jint status = vm()->GetEnv(reinterpret_cast<void**>(&env), JNI_VERSION_1_6);
    if (status == JNI_EDETACHED)
        status = vm()->AttachCurrentThreadAsDaemon(reinterpret_cast<void**>(&env), nullptr);
    return status == JNI_OK ? env : nullptr;
}

std::string PHostJvm::takeOutput()
{
    std::lock_guard<std::mutex> lock(outputMutex);
    std::string taken;
    taken.swap(output);
    return taken;
}

HostAndroidHelper& PHostJvm::androidHelper()
{
    // Never destroyed: the VM outlives every static destructor.
    static HostAndroidHelper* const helper = new HostAndroidHelper(vm());
    return *helper;
}

bool PHostJvm::loadLibrary(const std::string& nameOrPath)
{
    return androidHelper().callStaticBoolean(u"com.tavrel.strake.PLibLoader", "staticLoad",
                                             nameOrPath);
}

long PHostJvm::globalRefCount()
{
    jvmtiEnv* jvmti = nullptr;
    if (vm()->GetEnv(reinterpret_cast<void**>(&jvmti), JVMTI_VERSION_1_2) != JNI_OK)
        return -1;
    jvmtiCapabilities capabilities{};
    capabilities.can_tag_objects = 1;
    long count = 0;
    jvmtiHeapCallbacks callbacks{};
    callbacks.heap_reference_callback = &countGlobal;
    const bool ok = jvmti->AddCapabilities(&capabilities) == JVMTI_ERROR_NONE
        && jvmti->FollowReferences(0, nullptr, nullptr, &callbacks, &count) == JVMTI_ERROR_NONE;
    jvmti->DisposeEnvironment();
    return ok ? count : -1;
}
