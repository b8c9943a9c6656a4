// PEvent, a typed event carrying a locked map of values, and PIODeviceEvent, the data event
// that devices hand to the input processors.
#pragma once

#include "PPropertyBag.h"
#include "PString.h"
#include "PVariant.h"

#include <memory>
#include <vector>

struct PEventPrivate;

// An event type and a map of PString to PVariant. Moved, never copied except by copy().
// Thread-safety: the values are guarded by the event's own lock; type() takes none.
// No operation fails.
class PEvent {
public:
    PEvent();
    explicit PEvent(int type);
    PEvent(int type, KeyValue<PString, PVariant> values);
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
    // The keys, in the map's order.
    std::vector<PString> fields() const;

private:
    std::unique_ptr<PEventPrivate> d;
};

// The data event of a device, type 17: the only type that the input processors accept.
class PIODeviceEvent : public PEvent {
public:
    static constexpr int EventType = 17;

    PIODeviceEvent();
    explicit PIODeviceEvent(KeyValue<PString, PVariant> values);
    PIODeviceEvent(PIODeviceEvent&&) noexcept = default;
    PIODeviceEvent& operator=(PIODeviceEvent&&) noexcept = default;
    ~PIODeviceEvent() override;

    PEvent* copy() const override;
};
