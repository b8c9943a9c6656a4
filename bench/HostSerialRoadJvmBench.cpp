// The whole serial road as the host sees it: a Java thread hands 20-byte codes to the serial
// companion's native method in the loaded library, which runs the device, the processor and
// the component, and the host's externalEvent is called once per code. Against a bare native
// static method that takes the same byte[] and copies it out, in the same run. Both Java
// loops are run before they are timed, so that both are compiled; each checks that every
// code arrived, whole.
// Target: at least 100,000 codes per second, and at most 10 bare calls per code.
#include "PHostDriver.h"
#include "PHostJvm.h"
#include "PHostLibrary.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <stdlib.h>
#include <string>

namespace {

const char kCode[] = "0123456789ABCDEFGH\r\n";
constexpr int kCodesPerCall = 1000;

// Codes that the bare method got whole.
long bareCodes = 0;

void JNICALL bare(JNIEnv* env, jclass, jlong, jbyteArray data)
{
    char copy[64];
    const jsize length = env->GetArrayLength(data);
    env->GetByteArrayRegion(data, 0, length < 64 ? length : 64, reinterpret_cast<jbyte*>(copy));
    if (length == 20 && std::memcmp(copy, kCode, 20) == 0)
        ++bareCodes;
}

// A host whose externalEvent only counts the events that carry the code, so that the road is
// measured and not the recording.
class CountingConnection : public PHostConnection {
public:
    bool externalEvent(char16_t*, char16_t*, char16_t* data) override
    {
        static const std::u16string code = u"0123456789ABCDEFGH";
        if (data && code.compare(data) == 0)
            ++count;
        return true;
    }
    long count = 0;  // written by the pumping thread only: the road is synchronous
};

// The library loaded through Java, one component with a serial device open on a pty, and the
// companion handle of that device.
struct Road {
    Road()
    {
        PHostJvm::loadLibrary(KELMOR_LIBRARY_PATH);
        JNIEnv* env = PHostJvm::env();
        master = posix_openpt(O_RDWR | O_NOCTTY);
        grantpt(master);
        unlockpt(master);
        jclass system = env->FindClass("java/lang/System");
        jstring key = env->NewStringUTF("kelmor.serial.ports"), value = env->NewStringUTF(ptsname(master));
        env->CallStaticObjectMethod(system, env->GetStaticMethodID(system, "setProperty",
            "(Ljava/lang/String;Ljava/lang/String;)Ljava/lang/String;"), key, value);

        pump = static_cast<jclass>(env->NewGlobalRef(
            PHostJvm::androidHelper().findClass(u"com.tavrel.piodevice.SerialPump")));
        JNINativeMethod bareMethod{const_cast<char*>("bare"), const_cast<char*>("(J[B)V"),
                                   reinterpret_cast<void*>(&bare)};
        env->RegisterNatives(pump, &bareMethod, 1);
        block = static_cast<jbyteArray>(env->NewGlobalRef(env->NewByteArray(20)));
        env->SetByteArrayRegion(block, 0, 20, reinterpret_cast<const jbyte*>(kCode));

        connection.setAndroidHelper(static_cast<IHostAndroidHelper*>(&PHostJvm::androidHelper()));
        component = std::make_unique<PHostComponent>(library, u"InputDevice", nullptr, &connection);
        component->attach();
        PHostDriver driver(*component);
        driver.getParameters();
        driver.setParameter(u"EquipmentType", u"InputDevice");
        driver.setParameter(u"BluetoothDevice", u"1");
        id = driver.open();
        // Handles are numbered from 1 in the library; a stale one is harmless, so the first
        // that brings an event is the device's.
        jmethodID one = env->GetStaticMethodID(pump, "pump", "(J[BI)V");
        for (jlong candidate = 1; candidate < 16 && handle == 0; ++candidate) {
            env->CallStaticVoidMethod(pump, one, candidate, block, 1);
            if (connection.count > 0)
                handle = candidate;
        }
    }

    PHostLibrary library{KELMOR_LIBRARY_PATH};
    CountingConnection connection;
    std::unique_ptr<PHostComponent> component;
    std::u16string id;
    jclass pump = nullptr;
    jbyteArray block = nullptr;
    jlong handle = 0;
    int master = -1;
};

Road& road()
{
    static Road* instance = new Road;  // the VM outlives main: so does the road
    return *instance;
}

// Rounds of each loop before it is timed: enough for the JIT to compile it.
constexpr int kWarmUpCalls = 20;

// Runs the Java loop; the warm-up goes through the same road (count it).
void runPump(benchmark::State& state, const char* method, jlong handle)
{
    JNIEnv* env = PHostJvm::env();
    jmethodID id = env->GetStaticMethodID(road().pump, method, "(J[BI)V");
    for (int i = 0; i < kWarmUpCalls; ++i)
        env->CallStaticVoidMethod(road().pump, id, handle, road().block, kCodesPerCall);
    for (auto _ : state)
        env->CallStaticVoidMethod(road().pump, id, handle, road().block, kCodesPerCall);
    state.SetItemsProcessed(state.iterations() * kCodesPerCall);
}

void bareStaticCall(benchmark::State& state)
{
    road();
    bareCodes = 0;
    runPump(state, "pumpBare", 0);
    if (bareCodes != (state.iterations() + kWarmUpCalls) * kCodesPerCall)
        state.SkipWithError("a code was not copied whole");
}

void codeToExternalEvent(benchmark::State& state)
{
    if (road().id.empty() || road().handle == 0) {
        state.SkipWithError("the serial device did not open");
        return;
    }
    const long before = road().connection.count;
    runPump(state, "pump", road().handle);
    if (road().connection.count - before != (state.iterations() + kWarmUpCalls) * kCodesPerCall)
        state.SkipWithError("a code gave no event, or a wrong one");
}

}

BENCHMARK(bareStaticCall);
BENCHMARK(codeToExternalEvent);

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
