// The cost of one Java call through the JNI layer against the bare JNI call beneath it: a
// static method taking a 20-byte byte[], from an attached native thread, as a device delivery.
// Target: the layer (exclusive lock, class and method look-up, checks) costs at most 4 bare
// calls; the look-up of the method on each call, which the layer must do, is measured apart.
// Each side is called before it is timed, so that the VM's first-call work is not in it, and
// checks that every call answered true.
#include "PHostConnection.h"
#include "PHostJvm.h"
#include "PJNIHelper.h"

#include <benchmark/benchmark.h>

namespace {

const char kProbe[] = "com.tavrel.kelmortest.JniProbe";
const char kPayload[] = "0123456789ABCDEFGHIJ";
// Calls of each side before it is timed.
constexpr int kWarmUpCalls = 20000;

// Baseline: the array made and the method called by hand, with its exception check; with
// the argument 1 the method is looked up on each call, as the layer must.
void bareStaticCall(benchmark::State& state)
{
    const bool lookUpEachCall = state.range(0) != 0;
    JNIEnv* env = PHostJvm::env();
    auto cls = static_cast<jclass>(PHostJvm::androidHelper().findClass(u"com.tavrel.kelmortest.JniProbe"));
    jmethodID method = env->GetStaticMethodID(cls, "isTwentyBytes", "([B)Z");
    long wrong = 0;
    for (int i = 0; i < kWarmUpCalls; ++i) {
        jbyteArray data = env->NewByteArray(20);
        env->CallStaticBooleanMethod(cls, method, data);
        env->DeleteLocalRef(data);
    }
    for (auto _ : state) {
        if (lookUpEachCall)
            method = env->GetStaticMethodID(cls, "isTwentyBytes", "([B)Z");
        jbyteArray data = env->NewByteArray(20);
        env->SetByteArrayRegion(data, 0, 20, reinterpret_cast<const jbyte*>(kPayload));
        jboolean result = env->CallStaticBooleanMethod(cls, method, data);
        if (env->ExceptionCheck())
            env->ExceptionClear();
        env->DeleteLocalRef(data);
        wrong += result ? 0 : 1;
    }
    env->DeleteLocalRef(cls);
    if (wrong != 0)
        state.SkipWithError("a call answered false");
}

// The same through PJNIClass::callStaticBooleanMethod.
void layeredStaticCall(benchmark::State& state)
{
    JNI_OnLoad(PHostJvm::vm(), nullptr);
    PHostConnection host;
    host.setAndroidHelper(static_cast<IHostAndroidHelper*>(&PHostJvm::androidHelper()));
    PJNIHelper::connect(&host);
    PJNIClass cls = PJNIHelper::getClass(PString(kProbe));
    JNIEnv* env = strake::getJniEnv();
    long wrong = 0;
    for (int i = 0; i < kWarmUpCalls; ++i) {
        const PJNILocalRef data(env, strake::byteArray2jbyteArray(env, kPayload, 20));
        cls.callStaticBooleanMethod("isTwentyBytes", "([B)Z", data.asBytes());
    }
    for (auto _ : state) {
        const PJNILocalRef data(env, strake::byteArray2jbyteArray(env, kPayload, 20));
        bool result = cls.callStaticBooleanMethod("isTwentyBytes", "([B)Z", data.asBytes());
        wrong += result ? 0 : 1;
    }
    if (wrong != 0)
        state.SkipWithError("a call answered false");
    if (!cls.callStaticBooleanMethod("isTwentyBytes", "([B)Z", nullptr) && cls.lastError().isError())
        state.SkipWithError("the call failed");
    PJNIHelper::disconnect();
}

}

BENCHMARK(bareStaticCall)->Arg(0)->Arg(1);
BENCHMARK(layeredStaticCall);

int main(int argc, char** argv)
{
    PHostJvmOptions options = PHostJvm::defaultOptions();
    options.classPath += std::string(":") + KELMOR_TEST_JAR;
    options.checkJni = false;  // the checker would weigh on both sides alike
    PHostJvm::configure(options);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
