// The native methods of the device companions. Each finds its device by the handle that the
// companion was made with and holds it for the length of the delivery, so the host may close
// or drop the device from inside its own callback; a stale, unknown or zero handle reaches
// nothing. Nothing may reach the Java caller: each ends in the one catch ladder.
#include "PBluetooth.h"
#include "PBroadcastReceaver.h"
#include "PJNIHelper.h"
#include "PJavaDevice.h"
#include "PJavaHandles.h"
#include "PKeyboardIOQueueService.h"
#include "PSerialPort.h"
#include "PTcpSocket.h"
#include "PUdpSocket.h"
#include "StrakeText.h"

#include <jni.h>

namespace {

// Runs the delivery on the device registered under the handle, if it still lives.
template <class Device, class Delivery>
void deliver(jlong handle, Delivery delivery) noexcept
{
    try {
        if (auto device = PJavaHandles::find<Device>(handle))
            delivery(*device);
    } catch (...) {
        // The callback's own failure: the delivery is dropped, and Java sees nothing.
        PError::fromCurrentException();
    }
}

}

extern "C" KELMOR_EXPORT void Java_com_tavrel_piodevice_PSerialPort_PSerialPortStoreData(
    JNIEnv* env, jclass, jlong handle, jbyteArray data)
{
    deliver<PSerialPort>(handle, [&](PSerialPort& device) {
        device.onReceive(strake::jbyteArray2ByteArray(env, data));
    });
}

extern "C" KELMOR_EXPORT void Java_com_tavrel_piodevice_PTcpSocket_PTcpSocketStoreData(
    JNIEnv* env, jclass, jlong handle, jbyteArray data)
{
    deliver<PTcpSocket>(handle, [&](PTcpSocket& device) {
        device.onReceive(strake::jbyteArray2ByteArray(env, data));
    });
}

extern "C" KELMOR_EXPORT void Java_com_tavrel_piodevice_PTcpSocket_PTcpSocketStoreError(
    JNIEnv* env, jclass, jlong handle, jint code, jstring message)
{
    deliver<PTcpSocket>(handle, [&](PTcpSocket& device) {
        device.onError(PError(code, PString(strake::jstr2str<char16_t>(env, message))));
    });
}

extern "C" KELMOR_EXPORT void Java_com_tavrel_piodevice_PUdpSocket_PUdpSocketStoreData(
    JNIEnv* env, jclass, jlong handle, jbyteArray data)
{
    deliver<PUdpSocket>(handle, [&](PUdpSocket& device) {
        device.deliver(strake::jbyteArray2ByteArray(env, data));
    });
}

extern "C" KELMOR_EXPORT void Java_com_tavrel_piodevice_PUdpSocket_PUdpSocketStoreError(
    JNIEnv* env, jclass, jlong handle, jint code, jstring message)
{
    deliver<PUdpSocket>(handle, [&](PUdpSocket& device) {
        device.onError(PError(code, PString(strake::jstr2str<char16_t>(env, message))));
    });
}

extern "C" KELMOR_EXPORT void Java_com_tavrel_piodevice_PBluetooth_PBluetoothDataSend(
    JNIEnv* env, jclass, jlong handle, jbyteArray data)
{
    deliver<PBluetooth>(handle, [&](PBluetooth& device) {
        const PByteArray bytes = strake::jbyteArray2ByteArray(env, data);
        if (device.debugMessageHandler()) {
            const std::string raw(bytes.constChars(), bytes.size());
            PJavaDevice::debugLine(device, "obtained data size: " + std::to_string(raw.size())
                                               + "; base64:" + strake::raw2Base64(raw));
            PJavaDevice::debugLine(device, "data obtained: " + raw);
        }
        device.onReceive(bytes);
    });
}

extern "C" KELMOR_EXPORT void Java_com_tavrel_piodevice_PBroadcastReceaver_PBroadcastReceaverSendData(
    JNIEnv* env, jobject, jlong handle, jbyteArray data)
{
    try {
        if (handle != 0 && data != nullptr)
            PBroadcastReceaver::deliverData(handle, strake::jbyteArray2ByteArray(env, data));
    } catch (...) {
        // Nothing may reach the Java caller.
        PError::fromCurrentException();
    }
}

extern "C" KELMOR_EXPORT void Java_com_tavrel_piodevice_PBroadcastReceaver_PBroadcastReceaverSendString(
    JNIEnv* env, jobject, jlong handle, jstring xml)
{
    try {
        if (handle != 0)
            PBroadcastReceaver::deliverString(handle, PString(strake::jstr2str<char16_t>(env, xml)));
    } catch (...) {
        // Nothing may reach the Java caller.
        PError::fromCurrentException();
    }
}

extern "C" KELMOR_EXPORT void Java_com_tavrel_piodevice_PKeyboard_PKeyboardDataSend(
    JNIEnv* env, jobject, jlong handle, jstring packet)
{
    try {
        if (handle == 0)
            return;
        PKeyboardIOQueueService::deliverPacket(
            handle, PString(strake::jstr2str<char16_t>(env, packet)));
    } catch (...) {
        // Nothing may reach the Java caller.
        PError::fromCurrentException();
    }
}
