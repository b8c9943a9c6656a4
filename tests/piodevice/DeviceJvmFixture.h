// The fixture of the device tests in the VM, with a recording companion and an event recorder.
#pragma once

#include "../strake/Android/PJNITestFixture.h"
#include "PEvent.h"
#include "PIODevice.h"
#include "PseudoTerminal.h"
#include "WaitCounter.h"

#include <gtest/gtest.h>
#include <jni.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

extern "C" {
void Java_com_tavrel_piodevice_PSerialPort_PSerialPortStoreData(JNIEnv*, jclass, jlong, jbyteArray);
void Java_com_tavrel_piodevice_PTcpSocket_PTcpSocketStoreData(JNIEnv*, jclass, jlong, jbyteArray);
void Java_com_tavrel_piodevice_PTcpSocket_PTcpSocketStoreError(JNIEnv*, jclass, jlong, jint, jstring);
void Java_com_tavrel_piodevice_PUdpSocket_PUdpSocketStoreData(JNIEnv*, jclass, jlong, jbyteArray);
void Java_com_tavrel_piodevice_PUdpSocket_PUdpSocketStoreError(JNIEnv*, jclass, jlong, jint, jstring);
void Java_com_tavrel_piodevice_PBluetooth_PBluetoothDataSend(JNIEnv*, jclass, jlong, jbyteArray);
void Java_com_tavrel_piodevice_PKeyboard_PKeyboardDataSend(JNIEnv*, jobject, jlong, jstring);
void Java_com_tavrel_piodevice_PBroadcastReceaver_PBroadcastReceaverSendData(JNIEnv*, jobject, jlong, jbyteArray);
void Java_com_tavrel_piodevice_PBroadcastReceaver_PBroadcastReceaverSendString(JNIEnv*, jobject, jlong, jstring);
}

// One native of a companion class, bound to the function of its JNI name.
#define KELMOR_NATIVE(cls, name, signature)                                              \
    {u"com.tavrel.piodevice." #cls, {const_cast<char*>(#name), const_cast<char*>(signature), \
                                     reinterpret_cast<void*>(&Java_com_tavrel_piodevice_##cls##_##name)}}

namespace kelmortest {

// The test host's Android helper, answering some class names with another class.
class RedirectingAndroidHelper : public IHostAndroidHelper {
public:
    jobject getActivity() override { return PHostJvm::androidHelper().getActivity(); }
    jclass findClass(const char16_t* name) override
    {
        const auto found = m_redirects.find(name ? name : u"");
        return PHostJvm::androidHelper().findClass(found == m_redirects.end() ? name : found->second.c_str());
    }
    void redirect(const std::u16string& from, const std::u16string& to) { m_redirects[from] = to; }

private:
    std::map<std::u16string, std::u16string> m_redirects;
};

class DeviceJvmTest : public PJNITest {
protected:
    void SetUp() override
    {
        m_host.setAndroidHelper(static_cast<IHostAndroidHelper*>(&m_helper));
        PJNITest::SetUp();
        static const bool bound = bindNatives();
        ASSERT_TRUE(bound);
    }
    void TearDown() override
    {
        EXPECT_TRUE(companionThreadsEnded()) << "a companion thread outlived its device";
        PJNITest::TearDown();
    }

    // From now on the JNI layer finds the class `to` when asked for `from`.
    void redirect(const std::u16string& from, const std::u16string& to)
    {
        PJNIHelper::disconnect();
        m_helper.redirect(from, to);
        ASSERT_TRUE(PJNIHelper::connect(&m_host));
    }

    static JNIEnv* env() { return PHostJvm::env(); }

    // Java threads that send an intent with the extra `name` and a key packet over and over;
    // stopFloods answers whether they ended within ten seconds.
    static void startFloods(const char* action, const char* name, const char* keyPacket)
    {
        callStatic(kTraffic, "startFloods",
                   "(Ljava/lang/String;Ljava/lang/String;Ljava/lang/String;)V", action, name, keyPacket);
    }
    static bool stopFloods() { return kelmortest::callStatic<bool>(kTraffic, "stopFloods", "(J)Z", jlong(10000)); }
    static constexpr const char16_t* kTraffic = u"com.tavrel.kelmortest.DeviceTraffic";

    // The next serial, socket and Bluetooth companions made are RecordingCompanions.
    void useRecordingCompanions()
    {
        for (const char16_t* name : {u"SerialPort", u"TcpSocket", u"UdpSocket", u"Bluetooth"})
            redirect(u"com.tavrel.piodevice.P" + std::u16string(name), kRecording);
        resetRecording();
    }
    static void resetRecording() { callStatic(kRecording, "reset", "()V"); }
    static void setRecording(const char* field, bool value)
    {
        callStatic(kRecording, "setFlag", "(Ljava/lang/String;Z)V", field, jboolean(value));
    }
    static void setRecording(const char* field, const char* text)
    {
        callStatic(kRecording, "setText", "(Ljava/lang/String;Ljava/lang/String;)V", field, text);
    }
    static std::string recordedCalls() { return callStatic<std::string>(kRecording, "calls", "()Ljava/lang/String;"); }
    static long long lastHandle() { return callStatic<long long>(kRecording, "lastHandle", "()J"); }
    static constexpr const char16_t* kRecording = u"com.tavrel.piodevice.RecordingCompanion";

    RedirectingAndroidHelper m_helper;

private:
    // The companions' natives resolve to this program's copy of the library, whose device
    // table the tests use, not to a libkelmor.so that Java may have loaded.
    static bool bindNatives()
    {
        const std::pair<const char16_t*, JNINativeMethod> natives[] = {
            KELMOR_NATIVE(PKeyboard, PKeyboardDataSend, "(JLjava/lang/String;)V"),
            KELMOR_NATIVE(PBroadcastReceaver, PBroadcastReceaverSendData, "(J[B)V"),
            KELMOR_NATIVE(PBroadcastReceaver, PBroadcastReceaverSendString, "(JLjava/lang/String;)V"),
            KELMOR_NATIVE(PSerialPort, PSerialPortStoreData, "(J[B)V"),
            KELMOR_NATIVE(PTcpSocket, PTcpSocketStoreData, "(J[B)V"),
            KELMOR_NATIVE(PTcpSocket, PTcpSocketStoreError, "(JILjava/lang/String;)V"),
            KELMOR_NATIVE(PUdpSocket, PUdpSocketStoreData, "(J[B)V"),
            KELMOR_NATIVE(PUdpSocket, PUdpSocketStoreError, "(JILjava/lang/String;)V"),
            KELMOR_NATIVE(PBluetooth, PBluetoothDataSend, "(J[B)V"),
        };
        bool bound = true;
        for (const auto& [className, method] : natives) {
            jclass cls = PHostJvm::androidHelper().findClass(className);
            bound = bound && cls && env()->RegisterNatives(cls, &method, 1) == JNI_OK;
            if (cls)
                env()->DeleteLocalRef(cls);
        }
        return bound;
    }
};

}

namespace devicetest {

using kelmortest::DeviceJvmTest;
using kelmortest::PseudoTerminal;
using kelmortest::companionThreadsEnded;
using kelmortest::eventually;
using kelmortest::registerBluetooth;
using kelmortest::setProperty;
using kelmortest::unregisterBluetooth;

// Copies of the events a device raised, counted.
class Recorder : public kelmortest::WaitCounter {
public:
    PIODevice::Callback callback()
    {
        return [this](PEvent* event) {
            {
                std::lock_guard<std::mutex> lock(mutex_);
                events_.emplace_back(event->copy());
            }
            add();
        };
    }
    // Waits until the events' inputs joined hold at least size bytes; the joined input.
    std::string waitForInput(size_t size)
    {
        for (;;) {
            const long seen = count();
            std::string joined;
            for (const auto& event : events())
                joined += event->value(PString("input")).toByteArray().toStdString();
            if (joined.size() >= size || !waitFor(seen + 1))
                return joined;
        }
    }
    std::vector<std::shared_ptr<PEvent>> events()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return events_;
    }

private:
    std::mutex mutex_;  // guards events_
    std::vector<std::shared_ptr<PEvent>> events_;
};

}
