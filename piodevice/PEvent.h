// PEvent, a typed event carrying a locked map of values, and PIODeviceEvent, the data event
// that devices hand to the input processors.
#pragma once

#include "PPropertyBag.h"
#include "PString.h"
#include "PVariant.h"

#include <forward_list>
#include <mutex>
#include <vector>

// An event type and a map of PString to PVariant. Moved, never copied except by copy().
// An event holds a handful of keys: they are kept in order of first writing and found by
// comparing, which costs less than hashing them.
// Thread-safety: the values are guarded by the event's own lock; type() takes none.
// No operation fails but by allocation.
class PEvent {
public:
    // One key and its value, both by address: a key that lives as long as the library (the
    // keys of PEventKeys) and a value borrowed by whoever makes an event that dies before the
    // value and while it stays unchanged (a device's event made and dropped within one
    // delivery), or the event's own copies (see keep). Making and dropping a field then
    // changes no shared count (each one an atomic operation, and the road of a scanned code
    // would have dozens) and runs no destructor.
    class Field {
    public:
        Field(const PString* key, const PVariant* value) : key_(key), value_(value) {}
        const PString& key() const { return *key_; }
        const PVariant& value() const { return *value_; }

    private:
        friend class PEvent;
        const PString* key_;
        const PVariant* value_;
    };

    PEvent();
    explicit PEvent(int type);
    PEvent(int type, KeyValue<PString, PVariant> values);
    // Reads its fields from the caller's array, which must outlive the event unchanged; the
    // caller gives each key once. The first write copies them into the event. The road of a
    // scanned code makes its two events so: without an allocation or a copy.
    PEvent(int type, const Field* fields, std::size_t count);
    // Takes over the record; the moved-from event is left empty, of type 0, and usable.
    PEvent(PEvent&& other) noexcept;
    PEvent& operator=(PEvent&& other) noexcept;
    PEvent(const PEvent&) = delete;
    PEvent& operator=(const PEvent&) = delete;
    virtual ~PEvent();

    // A new event of the same class holding the same values; owned by the caller.
    virtual PEvent* copy() const;

    int type() const;
    // Adds a field holding a copy of the value, for a key not in the event yet: for the one
    // making the event, before another thread can see it (takes no lock).
    void keep(const PString* lastingKey, PVariant value);
    void setValue(const PString& key, const PVariant& value);
    void setValues(KeyValue<PString, PVariant> values);
    // The map, shared with the event until either side writes.
    KeyValue<PString, PVariant> fieldsValues() const;
    // The stored value, or an invalid PVariant when the key is absent.
    PVariant value(const PString& key) const;
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
    // The fields in order, lent or the event's own.
    const Field* begin() const { return lent_ ? lent_ : values_.data(); }
    const Field* end() const { return lent_ ? lent_ + lentCount_ : values_.data() + values_.size(); }
    // Makes the lent fields the event's own, before a write; under the lock, or before the
    // event is shared.
    void takeLent();
    // The copies this event holds of keys and values, each kept where it was made.
    struct Owned {
        PString key;
        PVariant value;
    };
    // A new copy of the value (and of the key, unless it lasts) for the field.
    void own(Field& field, const PString* lastingKey, const PString& key, PVariant value);

    // The record is the event's own, not behind a pointer: an event is made and dropped for
    // every block a device delivers, and this spares each an allocation.
    int type_ = 0;  // never changes after construction, so it is read without a lock
    mutable std::mutex mutex_;  // guards values_ and owned_
    const Field* lent_ = nullptr;  // the caller's fields, while the event has no own
    std::size_t lentCount_ = 0;
    std::vector<Field> values_;
    // Empty on the road of a scanned code, whose events borrow every value.
    std::forward_list<Owned> owned_;
};

// The data event of a device, type 17: the only type that the input processors accept.
class PIODeviceEvent : public PEvent {
public:
    static constexpr int EventType = 17;

    PIODeviceEvent();
    explicit PIODeviceEvent(KeyValue<PString, PVariant> values);
    PIODeviceEvent(const Field* fields, std::size_t count);
    PIODeviceEvent(PIODeviceEvent&&) noexcept = default;
    PIODeviceEvent& operator=(PIODeviceEvent&&) noexcept = default;
    ~PIODeviceEvent() override;

    PEvent* copy() const override;
};
