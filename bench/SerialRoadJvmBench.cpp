// The serial road from a Java thread to the host's callback: a 20-byte block through
// PSerialPortStoreData, PSerialPort, PSerialInputProcessor and its callback, one message per
// block, against a bare native static method that takes the same byte[] and copies it out.
// Both Java loops are run before they are timed, so that both are compiled. Each checks that
// every block arrived whole (the bare one too, by its bytes).
// Target: at most 10 bare calls per message; messages per second are reported.
// And the memory that one open serial device makes resident, read from /proc/self/status around
// its construction and open. Target: at most 1 MiB, although its buffers have 2 x 16 MiB.
#include "PEventKeys.h"
#include "PHostConnection.h"
#include "PHostJvm.h"
#include "PJNIHelper.h"
#include "PJavaHandles.h"
#include "PSerialInputProcessor.h"
#include "PSerialPort.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <stdlib.h>
#include <string>

extern "C" void Java_com_tavrel_piodevice_PSerialPort_PSerialPortStoreData(JNIEnv*, jclass, jlong,
                                                                          jbyteArray);

namespace {

const char kBlock[] = "0123456789ABCDEFGHI\r";
constexpr int kBlocksPerCall = 1000;

// Blocks that the bare method got whole.
long bareBlocks = 0;

void JNICALL bare(JNIEnv* env, jclass, jlong, jbyteArray data)
{
    char copy[64];
    const jsize length = env->GetArrayLength(data);
    env->GetByteArrayRegion(data, 0, length < 64 ? length : 64, reinterpret_cast<jbyte*>(copy));
    if (length == 20 && std::memcmp(copy, kBlock, 20) == 0)
        ++bareBlocks;
}

// The VM with the companions' natives bound to this program, the JNI layer connected, and an
// open serial port on a pseudo-terminal.
struct Road {
    Road()
    {
        JNIEnv* env = PHostJvm::env();
        JNI_OnLoad(PHostJvm::vm(), nullptr);
        host.setAndroidHelper(static_cast<IHostAndroidHelper*>(&PHostJvm::androidHelper()));
        PJNIHelper::connect(&host);
        pump = static_cast<jclass>(env->NewGlobalRef(
            PHostJvm::androidHelper().findClass(u"com.tavrel.piodevice.SerialPump")));
        jclass companion = PHostJvm::androidHelper().findClass(u"com.tavrel.piodevice.PSerialPort");
        JNINativeMethod store{const_cast<char*>("PSerialPortStoreData"), const_cast<char*>("(J[B)V"),
                              reinterpret_cast<void*>(&Java_com_tavrel_piodevice_PSerialPort_PSerialPortStoreData)};
        JNINativeMethod bareMethod{const_cast<char*>("bare"), const_cast<char*>("(J[B)V"),
                                   reinterpret_cast<void*>(&bare)};
        env->RegisterNatives(companion, &store, 1);
        env->RegisterNatives(pump, &bareMethod, 1);
        env->DeleteLocalRef(companion);
        block = static_cast<jbyteArray>(env->NewGlobalRef(env->NewByteArray(20)));
        env->SetByteArrayRegion(block, 0, 20, reinterpret_cast<const jbyte*>(kBlock));
        master = posix_openpt(O_RDWR | O_NOCTTY);
        grantpt(master);
        unlockpt(master);
        slave = ptsname(master);
    }

    PHostConnection host;
    jclass pump = nullptr;
    jbyteArray block = nullptr;
    int master = -1;
    std::string slave;
};

Road& road()
{
    static Road* instance = new Road;
    return *instance;
}

long residentKiB()
{
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("VmRSS:", 0) == 0)
            return std::stol(line.substr(6));
    }
    return -1;
}

// Rounds of each loop before it is timed: enough for the JIT to compile it.
constexpr int kWarmUpCalls = 20;

// Runs the Java loop; the warm-up goes through the same road (count it).
void runPump(benchmark::State& state, const char* method, jlong handle)
{
    JNIEnv* env = PHostJvm::env();
    jmethodID id = env->GetStaticMethodID(road().pump, method, "(J[BI)V");
    for (int i = 0; i < kWarmUpCalls; ++i)
        env->CallStaticVoidMethod(road().pump, id, handle, road().block, kBlocksPerCall);
    for (auto _ : state)
        env->CallStaticVoidMethod(road().pump, id, handle, road().block, kBlocksPerCall);
    state.SetItemsProcessed(state.iterations() * kBlocksPerCall);
}

void bareStaticCall(benchmark::State& state)
{
    bareBlocks = 0;
    runPump(state, "pumpBare", 0);
    if (bareBlocks != (state.iterations() + kWarmUpCalls) * kBlocksPerCall)
        state.SkipWithError("a block was not copied whole");
}

// With the argument 0 the device's callback only counts its events: the device's own share.
void serialRoadPerMessage(benchmark::State& state)
{
    const bool throughProcessor = state.range(0) != 0;
    long messages = 0;
    PSerialInputProcessor processor;
    processor.setParameter(PEventKeys::SuffixKey(), PVariant("\r"));
    // Counts the messages that came whole: the block without its CR, or the block itself. The
    // event is the callback's alone for the call, so it reads the bytes in place, as the
    // driver component does.
    auto whole = [&](PEvent* event, size_t size) {
        const PByteArray* input = event->borrowValue(PEventKeys::InputKey()).bytesOf();
        if (input && input->size() == size && std::memcmp(input->constChars(), kBlock, size) == 0)
            ++messages;
    };
    processor.setCallback([&](PEvent* event) { whole(event, 19); });
    auto port = std::make_shared<PSerialPort>(road().slave, 9600, 8, PSerialPort::OneStop,
                                              PSerialPort::NoParity, PSerialPort::NoFlowControl);
    port->setCallback([&](PEvent* event) {
        if (throughProcessor)
            processor.processInput(event);
        else
            whole(event, 20);
    });
    // Handles are given out in order: the companion gets the one after this probe's.
    const int64_t probe = PJavaHandles::add(std::make_shared<int>(0));
    PJavaHandles::remove(probe);
    if (!port->open(PIODevice::OpenRead)) {
        state.SkipWithError(port->getLastError().toString().toStdString().c_str());
        return;
    }
    runPump(state, "pump", static_cast<jlong>(probe + 1));
    if (messages != (state.iterations() + kWarmUpCalls) * kBlocksPerCall)
        state.SkipWithError("a block gave no message, or a wrong one");
    port->close();
}

void residentMemoryOfOpenSerialPort(benchmark::State& state)
{
    for (auto _ : state) {
        const long before = residentKiB();
        auto port = std::make_shared<PSerialPort>(road().slave, 9600, 8, PSerialPort::OneStop,
                                                  PSerialPort::NoParity, PSerialPort::NoFlowControl);
        if (!port->open(PIODevice::OpenRead | PIODevice::OpenWrite | PIODevice::OpenBuffered))
            state.SkipWithError("the port did not open");
        state.counters["resident_KiB"] = static_cast<double>(residentKiB() - before);
        port->close();
    }
}

}

BENCHMARK(bareStaticCall);
BENCHMARK(serialRoadPerMessage)->Arg(1)->Arg(0);
BENCHMARK(residentMemoryOfOpenSerialPort)->Iterations(1);

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
