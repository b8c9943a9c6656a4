// PBroadcastReceaver: the device of broadcast mode, which describes the intent to catch and
// the extras that hold the data; PBroadcastDataField names one such extra.
#pragma once

#include "PIODevice.h"
#include "PSharedDataPtr.h"
#include "PString.h"

#include <cstdint>
#include <memory>
#include <set>

struct PBroadcastDataFieldPrivate {
    PString name;
    int type = 0;
};

// One intent extra: a name and a type code (0 void, 1 bool, 2 byte, 3 char, 4 short, 5 int,
// 6 long, 7 float, 8 double, 9 string; plus ArrayBit for an array of that type). A value;
// fields compare and order by name alone.
class PBroadcastDataField {
public:
    static constexpr int ArrayBit = 0x10000;
    enum Type : int { String = 9, ByteArray = ArrayBit | 2, CharArray = ArrayBit | 3 };

    PBroadcastDataField();
    PBroadcastDataField(const PString& name, int type);

    PString name() const { return d->name; }
    int type() const { return d->type; }
    bool operator<(const PBroadcastDataField& other) const { return d->name < other.d->name; }
    bool operator==(const PBroadcastDataField& other) const { return d->name == other.d->name; }

    // "string", "byte[]" and so on; an empty text for an unknown code.
    static PString typeName(int type);

private:
    PSharedDataPtr<PBroadcastDataFieldPrivate, _PDataCopyer<PBroadcastDataFieldPrivate>> d;
};

struct PBroadcastReceaverPrivate;

// Only delivers events: availibleBytes, read, peek and write give 0. Each intent that the
// companion catches arrives through deliverString or deliverData, on the companion's thread,
// as one event with input, id, type and state. Parameters read: Suffix (appended by
// deliverString to bytes that don't end with it), Prefix (not used here).
// Made with std::make_shared: the companion holds a PJavaHandles handle, made with it on the
// first open and dropped with it when the device is destroyed; a delivery under a handle of
// a closed device is dropped, one under a stale handle reaches nothing.
// Thread-safety: open and close on the host's thread; deliveries on any thread at any time;
// close, also from inside the callback, waits for no delivery.
// Failure: open gives false with the reason in getLastError().
class PBroadcastReceaver : public PIOCustomDevice {
public:
    PBroadcastReceaver();
    explicit PBroadcastReceaver(const PString& signalName);
    // Closes, and drops the companion and its handle.
    ~PBroadcastReceaver() override;

    void setSignalName(const PString& name);
    void setSignalCategoryName(const PString& name);
    void setFieldsDesc(const std::set<PBroadcastDataField>& fields);

    bool open(int flags) override;
    // Tells the companion to stop; the companion stays for a later open. Always true.
    bool close() override;
    // A valid companion that opened, and no close since.
    bool isOpen() const override;
    SizeType availibleBytes() const override;
    SizeType read(char* data, SizeType size) override;
    SizeType peek(char* data, SizeType size) override;
    SizeType write(const char* data, SizeType size) override;
    int capabilities() const override;
    using PIODevice::peek;
    using PIODevice::read;
    using PIODevice::write;

    // The parameter text that open hands to the companion.
    PString parametersText() const;

    // The roads from the companion: the device registered under the handle, when it is open
    // and has a callback, gets one event with the bytes as they are (deliverData), or with
    // the first extra of the XML text followed by the suffix (deliverString). A null handle,
    // unreadable XML or a document without action/fields/field delivers nothing.
    static void deliverData(int64_t handle, const PByteArray& data);
    static void deliverString(int64_t handle, const PString& xml);

    // The input of an extras XML text: the first field's Base64 value decoded, with the
    // suffix appended unless the bytes already end with it and are longer than it. False for
    // unreadable XML or no field.
    static bool inputFromXml(const PString& xml, const PByteArray& suffix, PByteArray* input);

private:
    void deliver(const PByteArray& input);

    std::unique_ptr<PBroadcastReceaverPrivate> d;
};
