// What the Java-backed devices share: the companion with the handle it calls back with, the
// frame of open and write, and the data event.
#pragma once

#include "PBuffer.h"
#include "PEvent.h"
#include "PIODevice.h"
#include "PJavaCompanion.h"
#include "PJavaHandles.h"

#include <array>
#include <atomic>
#include <memory>
#include <mutex>

// A device's Java companion and its registration in PJavaHandles. The handle lives exactly as
// long as the companion that was given it, so a companion that outlives its device, or calls
// after it was dropped, reaches nothing.
// Thread-safety: any thread may take the companion (a copy that keeps it alive for a call)
// while another replaces or drops it.
class PDeviceCompanion {
public:
    PDeviceCompanion() = default;
    PDeviceCompanion(const PDeviceCompanion&) = delete;
    PDeviceCompanion& operator=(const PDeviceCompanion&) = delete;

    // The companion now, or null.
    std::shared_ptr<PJavaCompanion> get() const;
    bool exists() const { return get() != nullptr; }
    bool isValid() const;

    // Registers the device under a new handle and makes the companion of that class with it.
    // Throws PError: for a device not owned by a shared_ptr (code 2), or with the JNI layer's
    // error when the companion can't be made (the handle is dropped again).
    template <class Device>
    void create(Device& device, const PString& className)
    {
        auto self = std::static_pointer_cast<Device>(device.weak_from_this().lock());
        createWith(PJavaHandles::add(self), className);
    }

    // The companion for an open: made first (as create) when `make` says so, then checked.
    // Throws PError when it can't be made or is not valid: the JNI layer's error, or code 2.
    template <class Device>
    std::shared_ptr<PJavaCompanion> prepare(Device& device, const PString& className, bool make)
    {
        if (make)
            create(device, className);
        return checked(className);
    }

    // Drops the handle first, so that later deliveries reach nothing, and hands the companion
    // over to the caller, who closes it; it goes when the last copy goes.
    std::shared_ptr<PJavaCompanion> take();

private:
    void createWith(int64_t handle, const PString& className);
    std::shared_ptr<PJavaCompanion> checked(const PString& className) const;

    mutable std::mutex mutex_;  // guards companion_ and handle_
    std::shared_ptr<PJavaCompanion> companion_;
    int64_t handle_ = 0;
};

// The read and write buffers of a device, 16 MiB each, costing nothing until written.
struct PDeviceBuffers {
    PThreadSafeBuffer read{0x1000000};
    PThreadSafeBuffer write{0x1000000};

    // Opens the buffers asked for with OpenDeviceBuffer; throws PError 200 "failed to
    // initialize read Buffer" (or write) when one won't open.
    void open(bool forRead, bool forWrite);
    void close();
    bool isOpen() const { return read.isOpen() || write.isOpen(); }
};

namespace PJavaDevice {

// The error of the exception being handled, as the open and write frames keep it. Call only
// inside a catch.
PError caughtError();

// "key=value;" items joined, nothing escaped.
PString parameterText(std::initializer_list<std::pair<const char*, PString>> items);

// The write of every Java-backed device: "device not opened" (200) when not open, "JNI is not
// availble" (2) without env, else the companion's "write" with a copy of the bytes. Answers
// the size when Java said true, else 0; a failure (never a false answer alone) goes to
// *error, which the device keeps as its last error.
PIODevice::SizeType write(bool open, const std::shared_ptr<PJavaCompanion>& companion,
                          const char* data, PIODevice::SizeType size, PError* error);

// The socket devices' last error, which the companion's error thread may write while the host
// reads it: kept and read under the device's exclusive lock, its code mirrored in `code` for
// isOpen(), which takes no lock.
void keepError(PIODevice& device, std::atomic<int>& code, const PError& error);
PError keptError(const PIODevice& device);
// What a socket device tells when it keeps no error itself: the companion's message (code 2),
// else the error of the companion's last call; `kept` when it is an error or there is no
// companion.
PError lastError(const PError& kept, const std::shared_ptr<PJavaCompanion>& companion);
// An error that the companion reported: the error callback first, then, under the exclusive
// lock, the device and its buffers closed and the error kept.
void reportError(PIODevice& device, PDeviceBuffers& buffers, std::atomic<int>& code,
                 const PError& error);

// What the data events of a serial or Bluetooth device say besides the input: made once
// when the device opens, so that an event only shares these values.
struct EventHeader {
    PVariant id;
    PVariant type;
    PVariant state;
    PVariant alias;
};
bool operator==(const EventHeader& a, const EventHeader& b);
EventHeader eventHeader(const PString& id, const char* type, const PVariant& alias);

// The fields of the data event of a serial or Bluetooth device, borrowing the input and the
// header's values: both must outlive the event made of them, unchanged.
using DeviceFields = std::array<PEvent::Field, 6>;
DeviceFields deviceFields(const PVariant& input, const EventHeader& header);

// The data event of a socket device with its values beside it, made in place: no allocation
// but the texts'. A null type leaves "type" out. Not copyable: the event points at the values.
class SocketEvent {
public:
    SocketEvent(const PByteArray& input, const char* id, const char* type);
    SocketEvent(const SocketEvent&) = delete;
    SocketEvent& operator=(const SocketEvent&) = delete;
    PIODeviceEvent* event() { return &event_; }

private:
    const PVariant input_;
    const PVariant id_;
    const PVariant type_;
    const std::array<PEvent::Field, 5> fields_;
    PIODeviceEvent event_;
};

// Writes one debug line when the device has a handler.
void debugLine(const PIODevice& device, const std::string& text);

}
