// The test programs' one Java VM, its captured output and its global reference count.
#include "KelmorJvm.h"

#include <jvmti.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <vector>

namespace kelmortest {

namespace {

bool checkJni = true;    // read once, when the VM is made
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
    std::vector<std::string> texts = {
        std::string("-Djava.class.path=") + KELMOR_JARS,
        std::string("-Dstrake.lib.com_tavrel_Kelmor=") + KELMOR_LIBRARY_PATH,
        "-Xmx256m",
        "-XX:+UseSerialGC",
        "-XX:TieredStopAtLevel=1",
    };
    if (checkJni)
        texts.push_back("-Xcheck:jni");
    std::vector<JavaVMOption> options;
    for (const std::string& text : texts)
        options.push_back(JavaVMOption{const_cast<char*>(text.c_str()), nullptr});
    options.push_back(JavaVMOption{const_cast<char*>("vfprintf"),
                                   reinterpret_cast<void*>(&captureOutput)});
    options.push_back(JavaVMOption{const_cast<char*>("abort"), reinterpret_cast<void*>(&onAbort)});

    JavaVMInitArgs args{};
    args.version = JNI_VERSION_1_8;
    args.nOptions = static_cast<jint>(options.size());
    args.options = options.data();
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

void useUncheckedJvm()
{
    checkJni = false;
}

JavaVM* jvm()
{
    static JavaVM* vm = createVm();
    return vm;
}

JNIEnv* jvmEnv()
{
    JNIEnv* env = nullptr;
    jint status = jvm()->GetEnv(reinterpret_cast<void**>(&env), JNI_VERSION_1_6);
    if (status == JNI_EDETACHED)
        status = jvm()->AttachCurrentThreadAsDaemon(reinterpret_cast<void**>(&env), nullptr);
    return status == JNI_OK ? env : nullptr;
}

std::string takeJvmOutput()
{
    std::lock_guard<std::mutex> lock(outputMutex);
    std::string taken;
    taken.swap(output);
    return taken;
}

HostAndroidHelper& androidHelper()
{
    static HostAndroidHelper* helper = new HostAndroidHelper(jvm());
    return *helper;
}

long jniGlobalRefCount()
{
    jvmtiEnv* jvmti = nullptr;
    if (jvm()->GetEnv(reinterpret_cast<void**>(&jvmti), JVMTI_VERSION_1_2) != JNI_OK)
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

}
