// PKeyboard: the device of keyboard mode. It registers with the keyboard service and receives
// the service's key events on the service's timer.
#pragma once

#include "PIODevice.h"
#include "PKeyCodes.h"

#include <atomic>
#include <vector>

// No data goes through the device interface: read, peek, write and availibleBytes give 0.
// Each tick of the service brings one event with keyboard_input (the packed key messages of
// the tick, empty when none came), on the service's timer thread; the callback answers with
// acceptStatus on the event.
// Made with std::make_shared: the service holds the device by a weak reference and keeps it
// alive over each callback, so the host may close or let go of the device from inside its
// own callback. Parameter: timeout, the tick in milliseconds (default 75), which takes
// effect only for the device that starts the service.
// Thread-safety: open on the host's thread; close from any thread, also from inside the
// callback, any number of times.
class PKeyboard : public PIOCustomDevice {
public:
    PKeyboard();
    // Closes.
    ~PKeyboard() override;

    // Registers with the service and starts it. False with the reason in getLastError():
    // code 2 "Failed to register keyboard device" when this device is registered already, or
    // the service's own error.
    bool open(int flags) override;
    // Unregisters and stops the service (the last device ends its timer). Always true.
    bool close() override;
    SizeType availibleBytes() const override;
    SizeType read(char* data, SizeType size) override;
    SizeType peek(char* data, SizeType size) override;
    SizeType write(const char* data, SizeType size) override;
    int capabilities() const override;
    using PIODevice::peek;
    using PIODevice::read;
    using PIODevice::write;

    // Does nothing on this platform: false.
    bool inject(const std::vector<PKeyMSG>& messages, int flags);

private:
    unsigned long handlerId() const;

    // Set while this device holds one start of the service and its registration, so that
    // two closes never give back more than it took.
    std::atomic<bool> m_started{false};
};
