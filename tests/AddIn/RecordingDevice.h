// A recording stand-in for the I/O devices, and a factory of them with fixed port and device lists.
#pragma once

#include "PDeviceFactory.h"
#include "PEvent.h"
#include "PPropertyBag.h"

#include <atomic>
#include <initializer_list>
#include <mutex>
#include <vector>

namespace kelmortest {

// Records its spec, open flags and closes. The counters are atomic; the rest is set before open.
class RecordingDevice : public PIOCustomDevice {
public:
    explicit RecordingDevice(const PDeviceSpec& made, PError failure)
        : spec(made), m_failure(std::move(failure))
    {
    }

    bool open(int flags) override
    {
        openedWith = flags;
        if (onOpen)
            onOpen(*this);
        if (m_failure.isError()) {
            setLastError(m_failure);
            return false;
        }
        return PIODevice::open(flags);
    }
    bool close() override
    {
        ++closes;
        return PIODevice::close();
    }
    SizeType availibleBytes() const override { return 0; }
    SizeType read(char*, SizeType) override { return 0; }
    SizeType peek(char*, SizeType) override { return 0; }
    SizeType write(const char*, SizeType) override { return 0; }
    int capabilities() const override { return 0; }

    // Hands bytes to the callback as a device does: an event on the caller's stack.
    void deliver(const PByteArray& bytes)
    {
        const Callback callback = this->callback();
        if (!callback)
            return;
        PIODeviceEvent event;
        event.setValue(PString("input"), PVariant(bytes));
        callback(&event);
    }
    void deliver(const char* text) { deliver(PByteArray(std::string(text))); }

    const PDeviceSpec spec;
    std::atomic<int> openedWith{-1};
    std::atomic<int> closes{0};
    // Runs inside open, before its answer.
    std::function<void(RecordingDevice&)> onOpen;

private:
    PError m_failure;
};

// Makes RecordingDevices; the next `failures` of them fail their open with `failure`.
// Thread-safety: make and the accessors lock; the lists are set before use.
class RecordingFactory : public PDeviceFactory {
public:
    std::shared_ptr<PIOCustomDevice> make(const PDeviceSpec& spec) override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        PError failure;
        if (failures > 0) {
            --failures;
            failure = this->failure;
        }
        auto device = std::make_shared<RecordingDevice>(spec, failure);
        device->onOpen = onOpen;
        m_made.push_back(device);
        return device;
    }
    std::vector<PSerialPortEntry> serialPorts() override { return ports; }
    std::vector<PBluetoothEntry> bluetoothDevices() override { return bluetooth; }

    std::shared_ptr<RecordingDevice> last()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_made.empty() ? nullptr : m_made.back();
    }
    std::vector<std::shared_ptr<RecordingDevice>> made()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_made;
    }
    int count() { return static_cast<int>(made().size()); }

    std::vector<PSerialPortEntry> ports;
    std::vector<PBluetoothEntry> bluetooth;
    int failures = 0;
    PError failure{PError::DeviceFailure, PString("no answer")};
    std::function<void(RecordingDevice&)> onOpen;

private:
    std::mutex m_mutex;  // guards m_made and the failure count
    std::vector<std::shared_ptr<RecordingDevice>> m_made;
};

// Puts a factory in place for a scope and brings back the build's own after it.
class FactoryScope {
public:
    explicit FactoryScope(std::shared_ptr<PDeviceFactory> factory)
    {
        PDeviceFactory::setCurrent(std::move(factory));
    }
    ~FactoryScope() { PDeviceFactory::setCurrent(nullptr); }
    FactoryScope(const FactoryScope&) = delete;
    FactoryScope& operator=(const FactoryScope&) = delete;
};

inline PBluetoothEntry bluetoothEntry(const char* address, const char* info, const char* name)
{
    PBluetoothEntry entry;
    if (address)
        entry.setValue(PString("address"), PVariant(PByteArray(std::string(address))));
    if (info)
        entry.setValue(PString("info"), PVariant(PByteArray(std::string(info))));
    if (name)
        entry.setValue(PString("name"), PVariant(PString(name)));
    return entry;
}

// Four ports, and devices with a name, only info, only an address, and a Russian name.
inline void fillFakeLists(RecordingFactory& factory)
{
    for (int n = 1; n <= 4; ++n)
        factory.ports.push_back({n, PString("/dev/ttyUSB" + std::to_string(n - 1)),
                                 PString("COM" + std::to_string(n))});
    factory.bluetooth = {
        bluetoothEntry("00:11:22:33:44:55", "Ferrel RS-40 [00:11:22:33:44:55]", "Ferrel RS-40"),
        bluetoothEntry("AA:BB:CC:DD:EE:FF", "[no name]", nullptr),
        bluetoothEntry("01:02:03:04:05:06", nullptr, nullptr),
        bluetoothEntry("10:20:30:40:50:60", "Сканер <1> & co", "Сканер <1> & co"),
    };
}

// Settings as the host's SetParameter calls leave them.
inline PPropertyBag bag(std::initializer_list<std::pair<const char*, PVariant>> values)
{
    PPropertyBag result;
    for (const auto& value : values)
        result.addValue(PString(value.first), value.second);
    return result;
}

}
