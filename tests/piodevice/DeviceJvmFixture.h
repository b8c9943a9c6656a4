// The device tests' VM: the JNI layer connected through the test host, the companions'
// native methods bound to this program's devices, optional recording stand-ins for the
// companions, an event recorder and a few Java calls.
#pragma once

#include "HostAndroid.h"
#include "JvmTest.h"
#include "PEvent.h"
#include "PHostConnection.h"
#include "PIODevice.h"
#include "PJNIHelper.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <thread>
#include <unistd.h>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace devicetest {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds kDeadline{10};

// The test host's Android helper, answering the recording stand-ins for the companion classes
// while `recording` is set, as a host would answer with classes of its own.
class RedirectingHelper : public IHostAndroidHelper {
public:
    bool recording = false;
    jobject getActivity() override { return PHostJvm::androidHelper().getActivity(); }
    jclass findClass(const char16_t* className) override;
};

// Copies of the events a device raised, and the errors it reported, with waits.
class Recorder {
public:
    PIODevice::Callback callback();
    PIODevice::ErrorCallback errorCallback();
    // Waits until at least count events came; false at the deadline.
    bool waitForEvents(size_t count);
    // Waits until the events' inputs joined hold at least size bytes; the joined input.
    std::string waitForInput(size_t size);
    std::vector<std::shared_ptr<PEvent>> events();
    std::vector<PError> errors();

private:
    std::mutex mutex_;  // guards events_ and errors_
    std::condition_variable changed_;
    std::vector<std::shared_ptr<PEvent>> events_;
    std::vector<PError> errors_;
};

// A count that one thread raises and another waits on.
class Counter {
public:
    void raise()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        ++value_;
        changed_.notify_all();
    }
    long value()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return value_;
    }
    // Waits until the count is above `floor`; false at the deadline.
    bool waitAbove(long floor)
    {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_until(lock, Clock::now() + kDeadline, [&] { return value_ > floor; });
    }

private:
    std::mutex mutex_;  // guards value_
    std::condition_variable changed_;
    long value_ = 0;
};

// Waits, polling, until the condition holds; false at the deadline. For states that only a
// Java call can tell (a link that went down); anything that raises an event uses a Counter.
template <class Condition>
bool eventually(Condition condition)
{
    const auto deadline = Clock::now() + kDeadline;
    while (!condition()) {
        if (Clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

class DeviceJvmTest : public kelmortest::JvmTest {
protected:
    void SetUp() override;
    void TearDown() override;

    // The recording stand-ins: the next companions made are RecordingSerialPort and so on.
    void useRecordingCompanions();
    // RecordingCompanion's static settings and record.
    void setRecording(const char* field, bool value);
    void setRecording(const char* field, const char* text);
    std::string recordedCalls();
    long long lastHandle();
    // java.lang.System.setProperty; a null value clears the property.
    void setProperty(const char* key, const char* value);
    // PBluetooth.registerDevice / unregisterDevice.
    void registerBluetooth(const char* address, const char* name, const char* endpoint);
    void unregisterBluetooth(const char* address);
    // CompanionThreads.awaitNone: every reader and pump thread has ended.
    bool companionThreadsEnded();

    RedirectingHelper m_helper;
    PHostConnection m_host;
};

// A pseudo-terminal: the test holds the master, a companion opens the slave by its path.
struct PseudoTerminal {
    PseudoTerminal();
    ~PseudoTerminal();
    void closeMaster();
    void send(const std::string& bytes);
    // Reads from the master until size bytes came; what came by the deadline.
    std::string receive(size_t size);

    int master = -1;
    std::string slave;
};


// ---- implementation -------------------------------------------------------------------------

}

extern "C" {
void Java_com_tavrel_piodevice_PSerialPort_PSerialPortStoreData(JNIEnv*, jclass, jlong, jbyteArray);
void Java_com_tavrel_piodevice_PTcpSocket_PTcpSocketStoreData(JNIEnv*, jclass, jlong, jbyteArray);
void Java_com_tavrel_piodevice_PTcpSocket_PTcpSocketStoreError(JNIEnv*, jclass, jlong, jint, jstring);
void Java_com_tavrel_piodevice_PUdpSocket_PUdpSocketStoreData(JNIEnv*, jclass, jlong, jbyteArray);
void Java_com_tavrel_piodevice_PUdpSocket_PUdpSocketStoreError(JNIEnv*, jclass, jlong, jint, jstring);
void Java_com_tavrel_piodevice_PBluetooth_PBluetoothDataSend(JNIEnv*, jclass, jlong, jbyteArray);
}

namespace devicetest {

namespace detail {

// A local reference for the scope of a test step.
struct Local {
    JNIEnv* env;
    jobject ref;
    ~Local()
    {
        if (ref)
            env->DeleteLocalRef(ref);
    }
    jclass cls() const { return static_cast<jclass>(ref); }
};

inline Local findClass(const char16_t* name)
{
    return Local{PHostJvm::env(), PHostJvm::androidHelper().findClass(name)};
}

inline void bind(const char16_t* className, const char* name, const char* signature, void* function)
{
    Local cls = findClass(className);
    ASSERT_NE(cls.ref, nullptr);
    JNINativeMethod method{const_cast<char*>(name), const_cast<char*>(signature), function};
    ASSERT_EQ(PHostJvm::env()->RegisterNatives(cls.cls(), &method, 1), JNI_OK);
}

inline void checkNoException()
{
    JNIEnv* env = PHostJvm::env();
    EXPECT_FALSE(env->ExceptionCheck());
    if (env->ExceptionCheck()) {
        env->ExceptionDescribe();
        env->ExceptionClear();
    }
}

}

inline jclass RedirectingHelper::findClass(const char16_t* className)
{
    static const std::map<std::u16string, std::u16string> stand_ins = {
        {u"com.tavrel.piodevice.PSerialPort", u"com.tavrel.piodevice.RecordingSerialPort"},
        {u"com.tavrel.piodevice.PTcpSocket", u"com.tavrel.piodevice.RecordingTcpSocket"},
        {u"com.tavrel.piodevice.PUdpSocket", u"com.tavrel.piodevice.RecordingUdpSocket"},
        {u"com.tavrel.piodevice.PBluetooth", u"com.tavrel.piodevice.RecordingBluetooth"},
    };
    auto found = stand_ins.find(className);
    if (recording && found != stand_ins.end())
        className = found->second.c_str();
    return PHostJvm::androidHelper().findClass(className);
}

inline PIODevice::Callback Recorder::callback()
{
    return [this](PEvent* event) {
        std::shared_ptr<PEvent> copy(event->copy());
        std::lock_guard<std::mutex> lock(mutex_);
        events_.push_back(copy);
        changed_.notify_all();
    };
}

inline PIODevice::ErrorCallback Recorder::errorCallback()
{
    return [this](const PError& error) {
        std::lock_guard<std::mutex> lock(mutex_);
        errors_.push_back(error);
        changed_.notify_all();
    };
}

inline bool Recorder::waitForEvents(size_t count)
{
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_until(lock, Clock::now() + kDeadline,
                               [&] { return events_.size() >= count; });
}

inline std::string Recorder::waitForInput(size_t size)
{
    std::string joined;
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait_until(lock, Clock::now() + kDeadline, [&] {
        joined.clear();
        for (const auto& event : events_) {
            const PByteArray input = event->value(PString("input")).toByteArray();
            joined.append(input.constChars(), input.size());
        }
        return joined.size() >= size;
    });
    return joined;
}

inline std::vector<std::shared_ptr<PEvent>> Recorder::events()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return events_;
}

inline std::vector<PError> Recorder::errors()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return errors_;
}

inline void DeviceJvmTest::SetUp()
{
    kelmortest::JvmTest::SetUp();
    JNI_OnLoad(PHostJvm::vm(), nullptr);
    using detail::bind;
    bind(u"com.tavrel.piodevice.PSerialPort", "PSerialPortStoreData", "(J[B)V",
         reinterpret_cast<void*>(&Java_com_tavrel_piodevice_PSerialPort_PSerialPortStoreData));
    bind(u"com.tavrel.piodevice.PTcpSocket", "PTcpSocketStoreData", "(J[B)V",
         reinterpret_cast<void*>(&Java_com_tavrel_piodevice_PTcpSocket_PTcpSocketStoreData));
    bind(u"com.tavrel.piodevice.PTcpSocket", "PTcpSocketStoreError", "(JILjava/lang/String;)V",
         reinterpret_cast<void*>(&Java_com_tavrel_piodevice_PTcpSocket_PTcpSocketStoreError));
    bind(u"com.tavrel.piodevice.PUdpSocket", "PUdpSocketStoreData", "(J[B)V",
         reinterpret_cast<void*>(&Java_com_tavrel_piodevice_PUdpSocket_PUdpSocketStoreData));
    bind(u"com.tavrel.piodevice.PUdpSocket", "PUdpSocketStoreError", "(JILjava/lang/String;)V",
         reinterpret_cast<void*>(&Java_com_tavrel_piodevice_PUdpSocket_PUdpSocketStoreError));
    bind(u"com.tavrel.piodevice.PBluetooth", "PBluetoothDataSend", "(J[B)V",
         reinterpret_cast<void*>(&Java_com_tavrel_piodevice_PBluetooth_PBluetoothDataSend));
    m_host.setAndroidHelper(&m_helper);
    ASSERT_TRUE(PJNIHelper::connect(&m_host));
}

inline void DeviceJvmTest::TearDown()
{
    EXPECT_TRUE(companionThreadsEnded()) << "a companion thread outlived its device";
    PJNIHelper::disconnect();
    kelmortest::JvmTest::TearDown();
}

inline void DeviceJvmTest::useRecordingCompanions()
{
    m_helper.recording = true;
    JNIEnv* env = PHostJvm::env();
    detail::Local cls = detail::findClass(u"com.tavrel.piodevice.RecordingCompanion");
    env->CallStaticVoidMethod(cls.cls(), env->GetStaticMethodID(cls.cls(), "reset", "()V"));
    detail::checkNoException();
}

inline void DeviceJvmTest::setRecording(const char* field, bool value)
{
    JNIEnv* env = PHostJvm::env();
    detail::Local cls = detail::findClass(u"com.tavrel.piodevice.RecordingCompanion");
    env->SetStaticBooleanField(cls.cls(), env->GetStaticFieldID(cls.cls(), field, "Z"),
                               value ? JNI_TRUE : JNI_FALSE);
    detail::checkNoException();
}

inline void DeviceJvmTest::setRecording(const char* field, const char* text)
{
    JNIEnv* env = PHostJvm::env();
    detail::Local cls = detail::findClass(u"com.tavrel.piodevice.RecordingCompanion");
    detail::Local value{env, text ? env->NewStringUTF(text) : nullptr};
    env->SetStaticObjectField(cls.cls(), env->GetStaticFieldID(cls.cls(), field, "Ljava/lang/String;"),
                              value.ref);
    detail::checkNoException();
}

inline std::string recordedText(JNIEnv* env, jobject text)
{
    if (!text)
        return std::string();
    const char* utf = env->GetStringUTFChars(static_cast<jstring>(text), nullptr);
    std::string result(utf ? utf : "");
    env->ReleaseStringUTFChars(static_cast<jstring>(text), utf);
    return result;
}

inline std::string DeviceJvmTest::recordedCalls()
{
    JNIEnv* env = PHostJvm::env();
    detail::Local cls = detail::findClass(u"com.tavrel.piodevice.RecordingCompanion");
    detail::Local text{env, env->CallStaticObjectMethod(
                                cls.cls(), env->GetStaticMethodID(cls.cls(), "calls", "()Ljava/lang/String;"))};
    detail::checkNoException();
    return recordedText(env, text.ref);
}

inline long long DeviceJvmTest::lastHandle()
{
    JNIEnv* env = PHostJvm::env();
    detail::Local cls = detail::findClass(u"com.tavrel.piodevice.RecordingCompanion");
    return env->GetStaticLongField(cls.cls(), env->GetStaticFieldID(cls.cls(), "lastHandle", "J"));
}

inline void DeviceJvmTest::setProperty(const char* key, const char* value)
{
    JNIEnv* env = PHostJvm::env();
    detail::Local cls = detail::findClass(u"java.lang.System");
    detail::Local name{env, env->NewStringUTF(key)};
    if (value) {
        detail::Local text{env, env->NewStringUTF(value)};
        detail::Local old{env, env->CallStaticObjectMethod(
                                   cls.cls(),
                                   env->GetStaticMethodID(cls.cls(), "setProperty",
                                                          "(Ljava/lang/String;Ljava/lang/String;)Ljava/lang/String;"),
                                   name.ref, text.ref)};
    } else {
        detail::Local old{env, env->CallStaticObjectMethod(
                                   cls.cls(),
                                   env->GetStaticMethodID(cls.cls(), "clearProperty",
                                                          "(Ljava/lang/String;)Ljava/lang/String;"),
                                   name.ref)};
    }
    detail::checkNoException();
}

inline void DeviceJvmTest::registerBluetooth(const char* address, const char* name, const char* endpoint)
{
    JNIEnv* env = PHostJvm::env();
    detail::Local cls = detail::findClass(u"com.tavrel.piodevice.PBluetooth");
    detail::Local a{env, env->NewStringUTF(address)}, n{env, env->NewStringUTF(name)},
        e{env, env->NewStringUTF(endpoint)};
    env->CallStaticVoidMethod(cls.cls(),
                              env->GetStaticMethodID(cls.cls(), "registerDevice",
                                                     "(Ljava/lang/String;Ljava/lang/String;Ljava/lang/String;)V"),
                              a.ref, n.ref, e.ref);
    detail::checkNoException();
}

inline void DeviceJvmTest::unregisterBluetooth(const char* address)
{
    JNIEnv* env = PHostJvm::env();
    detail::Local cls = detail::findClass(u"com.tavrel.piodevice.PBluetooth");
    detail::Local a{env, env->NewStringUTF(address)};
    env->CallStaticVoidMethod(
        cls.cls(), env->GetStaticMethodID(cls.cls(), "unregisterDevice", "(Ljava/lang/String;)V"), a.ref);
    detail::checkNoException();
}

inline bool DeviceJvmTest::companionThreadsEnded()
{
    JNIEnv* env = PHostJvm::env();
    detail::Local cls = detail::findClass(u"com.tavrel.piodevice.CompanionThreads");
    const bool ended = env->CallStaticBooleanMethod(
                           cls.cls(), env->GetStaticMethodID(cls.cls(), "awaitNone", "(J)Z"),
                           jlong(10000)) == JNI_TRUE;
    detail::checkNoException();
    return ended;
}

inline PseudoTerminal::PseudoTerminal()
{
    master = posix_openpt(O_RDWR | O_NOCTTY);
    if (master >= 0 && grantpt(master) == 0 && unlockpt(master) == 0)
        slave = ptsname(master);
}

inline PseudoTerminal::~PseudoTerminal()
{
    closeMaster();
}

inline void PseudoTerminal::closeMaster()
{
    if (master >= 0)
        ::close(master);
    master = -1;
}

inline void PseudoTerminal::send(const std::string& bytes)
{
    ASSERT_EQ(::write(master, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
}

inline std::string PseudoTerminal::receive(size_t size)
{
    std::string got;
    const auto deadline = Clock::now() + kDeadline;
    while (got.size() < size && Clock::now() < deadline) {
        pollfd ready{master, POLLIN, 0};
        if (poll(&ready, 1, 100) <= 0)
            continue;
        char buffer[256];
        const ssize_t count = ::read(master, buffer, sizeof buffer);
        if (count <= 0)
            break;
        got.append(buffer, static_cast<size_t>(count));
    }
    return got;
}

}
