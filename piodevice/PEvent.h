// PEvent, a typed event carrying a locked map of values, and PIODeviceEvent, the data event
// that devices hand to the input processors.
#pragma once

#include "PPropertyBag.h"
#include "PString.h"
#include "PVariant.h"

#include <initializer_list>
#include <mutex>
#include <vector>

// An event type and a map of PString to PVariant. Moved, never copied except by copy().
// An event holds a handful of keys: they are kept in order of first writing and found by
// comparing, which costs less than hashing them.
// Thread-safety: the values are guarded by the event's own lock; type() takes none.
// No operation fails but by allocation.
class PEvent {
public:
    // One key and its value. A key that lives as long as the library (the keys of
    // PEventKeys) is held by address, so that making and dropping a field does not touch the
    // key's shared count; any other key is held by a copy. A value may be borrowed the same
    // way, by whoever makes an event that dies before the value and while it stays unchanged
    // (a device's event made and dropped within one delivery): every shared count changed
    // costs an atomic operation, and the road of a scanned code has dozens of them.
    class Field {
    public:
        Field(const PString& key, PVariant value) : own_(key), value_(std::move(value)) {}
        Field(const PString* lastingKey, PVariant value)
            : lasting_(lastingKey), value_(std::move(value))
        {
        }
        Field(const PString* lastingKey, const PVariant* lastingValue)
            : lasting_(lastingKey), borrowed_(lastingValue)
        {
        }
        const PString& key() const { return lasting_ ? *lasting_ : own_; }
        const PVariant& value() const { return borrowed_ ? *borrowed_ : value_; }
        void setValue(const PVariant& value)
        {
            value_ = value;
            borrowed_ = nullptr;
        }

    private:
        const PString* lasting_ = nullptr;
        const PVariant* borrowed_ = nullptr;
        PString own_;
        PVariant value_;
    };

    // An empty list of fields with room for at least `capacity`, for the constructor below.
    // It takes the storage of an event that this thread dropped before when it has some: the
    // road of a scanned code makes and drops two events, and so makes no allocation for them.
    static std::vector<Field> newFields(std::size_t capacity);

    PEvent();
    explicit PEvent(int type);
    PEvent(int type, KeyValue<PString, PVariant> values);
    // Takes the fields over as they are: the caller gives each key once.
    PEvent(int type, std::vector<Field>&& fields);
    // Takes over the record; the moved-from event is left empty, of type 0, and usable.
    PEvent(PEvent&& other) noexcept;
    PEvent& operator=(PEvent&& other) noexcept;
    PEvent(const PEvent&) = delete;
    PEvent& operator=(const PEvent&) = delete;
    virtual ~PEvent();

    // A new event of the same class holding the same values; owned by the caller.
    virtual PEvent* copy() const;

    int type() const;
    void setValue(const PString& key, const PVariant& value);
    void setValues(KeyValue<PString, PVariant> values);
    // The map, shared with the event until either side writes.
    KeyValue<PString, PVariant> fieldsValues() const;
    // The stored value, or an invalid PVariant when the key is absent.
    PVariant value(const PString& key) const;
    // Reads several values under one lock: each key's value (invalid when absent) into the
    // PVariant paired with it.
    void readValues(std::initializer_list<std::pair<const PString*, PVariant*>> reads) const;
    // The stored value itself (an invalid PVariant when the key is absent), read without the
    // lock: for the one that holds the event while no other thread can write it (a processor
    // reading the event a device hands it). Valid until the key is written or the event dies.
    const PVariant& borrowValue(const PString& key) const;
    // The keys, in the order they were first written.
    std::vector<PString> fields() const;

private:
    // The field of the key, or null. Call under the lock, or while no other thread can see
    // the event.
    const Field* find(const PString& key) const;

    // The record is the event's own, not behind a pointer: an event is made and dropped for
    // every block a device delivers, and this spares each an allocation.
    int type_ = 0;  // never changes after construction, so it is read without a lock
    mutable std::mutex mutex_;  // guards values_
    std::vector<Field> values_;
};

// The data event of a device, type 17: the only type that the input processors accept.
class PIODeviceEvent : public PEvent {
public:
    static constexpr int EventType = 17;

    PIODeviceEvent();
    explicit PIODeviceEvent(KeyValue<PString, PVariant> values);
    explicit PIODeviceEvent(std::vector<Field>&& fields);
    PIODeviceEvent(PIODeviceEvent&&) noexcept = default;
    PIODeviceEvent& operator=(PIODeviceEvent&&) noexcept = default;
    ~PIODeviceEvent() override;

    PEvent* copy() const override;
};
