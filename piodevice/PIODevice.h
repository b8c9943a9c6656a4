// PIODevice, the abstract face of every way of reaching input equipment, and PIOCustomDevice,
// the base of real devices with their loose parameter bag.
#pragma once

#include "PByteArray.h"
#include "PDebug.h"
#include "PError.h"
#include "PPropertyBag.h"
#include "PString.h"
#include "PVariant.h"

#include <cstdint>
#include <functional>
#include <memory>

class PEvent;
struct PIODevicePrivate;
struct PIOCustomDevicePrivate;

// An object with identity: not copyable. A device does no thread work of its own; received
// data reaches the callback synchronously on the thread that delivered it. close() waits for
// no delivery: one that was already under way when it was called is completed, so whatever the
// callback reaches must outlive the device, not only its open time.
// Thread-safety: the open state may be asked from any thread, and the data callback may be
// replaced at any time (see heldCallback). The error callback, the debug handler and the
// last error are not guarded: set them before open and leave them alone while it is open.
// Failure: no operation throws; open answers false and write 0, and the reason stands in
// getLastError.
// A class that overrides the virtual read, peek or write adds `using PIODevice::read;` (and
// so on) to keep the PByteArray forms visible.
class PIODevice {
public:
    using SizeType = uint64_t;
    // Receives each data event; the event lives only during the call (keep a copy()).
    using Callback = std::function<void(PEvent*)>;
    // Receives the errors that a device reports by itself.
    using ErrorCallback = std::function<void(const PError&)>;
    using DebugMessageHandler = PDebugMessageHandler;

    enum OpenFlag : int {
        NotOpen = 0,
        OpenRead = 0x1,
        OpenWrite = 0x2,
        OpenReadWrite = OpenRead | OpenWrite,
        OpenBuffered = 0x100,
        OpenKeyboardFirst = 0x1000,
        OpenKeyboardSecond = 0x2000,
        OpenBufferOwned = 0x10000,
        OpenRewindEmpty = 0x20000,
        // What a device opens its own read and write buffers with.
        OpenDeviceBuffer = OpenReadWrite | OpenBufferOwned | OpenRewindEmpty,
    };

    PIODevice();
    PIODevice(const PIODevice&) = delete;
    PIODevice& operator=(const PIODevice&) = delete;
    virtual ~PIODevice();

    // Base: keeps the flags, marks the device open and answers isOpen().
    virtual bool open(int flags);
    // Base: marks the device closed and answers true.
    virtual bool close();
    virtual bool isOpen() const;
    virtual SizeType availibleBytes() const = 0;
    // Reads at most size bytes into data; answers the count.
    virtual SizeType read(char* data, SizeType size) = 0;
    // As read, leaving the bytes in place.
    virtual SizeType peek(char* data, SizeType size) = 0;
    // Answers the count taken; what does not fit is dropped.
    virtual SizeType write(const char* data, SizeType size) = 0;
    virtual int capabilities() const = 0;
    // Base: false at once.
    virtual bool waitForReadyRead(int msecs);
    // Base: false at once.
    virtual bool waitForBytesWriten(int msecs);
    // Base: skips nothing and answers 0.
    virtual SizeType skip(SizeType size);
    virtual PError getLastError() const;

    // An array of exactly size bytes filled by the virtual read; empty for size 0. The array
    // keeps the requested length even when fewer bytes came.
    PByteArray read(SizeType size);
    PByteArray readAll();
    PByteArray peek(SizeType size);
    // 0 for an empty array without reaching the device.
    SizeType write(const PByteArray& data);

    int openFlags() const;

    Callback callback() const;
    void setCallback(Callback callback);
    // The callback as the device holds it, for a delivery: no copy, no count. It stays valid
    // while the device lives, also when it is replaced during the call (the device keeps
    // every callback it was given), so set it a few times in a device's life, not per event.
    // Empty when none is set.
    const Callback& heldCallback() const;
    ErrorCallback errorCallback() const;
    void setErrorCallback(ErrorCallback callback);
    DebugMessageHandler debugMessageHandler() const;
    void setDebugMessageHandler(DebugMessageHandler handler);

    void setLastError(const PError& error);

    // A plain, non-recursive lock for a device's own error handling; pair every begin with
    // an end on the same thread.
    void exclusiveCallBegin();
    void exclusiveCallEnd();

private:
    std::unique_ptr<PIODevicePrivate> d;
};

// The base of every real device: adds a parameter bag that Device fills before open.
// A device that a Java companion calls back is made with std::make_shared: the companion
// holds a PJavaHandles handle to it, which needs the device's own shared owner.
// Thread-safety: the bag is guarded by its own lock; the rest as PIODevice.
class PIOCustomDevice : public PIODevice, public std::enable_shared_from_this<PIOCustomDevice> {
public:
    PIOCustomDevice();
    ~PIOCustomDevice() override;

    // Stores the value, adding the key when absent.
    void setParameter(const PString& name, const PVariant& value);
    // The stored value when the key exists (even an invalid one), otherwise fallback.
    PVariant parameter(const PString& name, const PVariant& fallback = PVariant()) const;

private:
    std::unique_ptr<PIOCustomDevicePrivate> dc;
};
