// Device: one configured input device, an I/O device joined to an input processor, made
// from a settings bag by open; and its log.
#pragma once

#include "PDebug.h"
#include "PError.h"
#include "PGlobal.h"
#include "PIODevice.h"
#include "PPropertyBag.h"

#include <memory>

struct DevicePrivate;

// An object with identity, owned by the device registry through shared pointers.
// open turns the bag into running objects: the connection mode comes from the port value
// ("0"/"DEV_KEYBOARD" keyboard, "BROADCAST", "tcp://HOST:PORT", "udp://HOST:PORT", 12
// characters or more a Bluetooth address, a shorter number a serial port).
// Thread-safety: any thread may call any operation at any time. Deliveries pin the processor
// for their length, so close (and deleting the Device) is safe from another thread and from
// inside the device's own input callback; a close that meets an open under way leaves the
// closing to that open, which then fails. No operation waits for a delivery or holds a lock
// across a call out.
// Failure: open answers false, leaves the object closed, keeps the error as the last error
// and may be called again.
class Device {
public:
    Device();
    virtual ~Device();
    P_DISABLE_COPY(Device)

    // Both callbacks are copied into the processor and run on the device's delivering
    // threads; an exception they throw is dropped at the device's edge.
    virtual bool open(const PPropertyBag& settings, PIODevice::Callback input,
                      PIODevice::ErrorCallback error);
    // An I/O device and a processor are in place.
    virtual bool isOpened() const;
    // The I/O device first, then the processor and the log; safe to repeat. Always true.
    virtual bool close();

    PError getLastError() const;
    // The bag of the latest successful open.
    PPropertyBag settings() const;
    // Writes the error's text to the device log, when there is one, and keeps it.
    void setLastError(const PError& error);

    // Sets the device's log from "LogType" (0 a file at "LogFilePath", 1 the system log,
    // else none), named by "DevId". A log that can't be opened leaves the device without one.
    void initDebug(const PPropertyBag& settings);
    // The log's sink; empty when there is no log.
    PDebugMessageHandler debugMessageHandler() const;

private:
    std::unique_ptr<DevicePrivate> d;
};
