// PEvent and PIODeviceEvent: a typed event with a locked, shared map of values.
#include "PEvent.h"

#include "PLockedMap.h"

struct PEventPrivate {
    // Never changes after construction, so it is read without a lock.
    int type = 0;
    PLockedMap values;
};

PEvent::PEvent() : PEvent(0) {}

PEvent::PEvent(int type) : d(new PEventPrivate)
{
    d->type = type;
}

PEvent::PEvent(int type, KeyValue<PString, PVariant> values) : PEvent(type)
{
    d->values.setValues(std::move(values));
}

PEvent::PEvent(PEvent&& other) noexcept : d(std::move(other.d))
{
    other.d.reset(new PEventPrivate);
}

PEvent& PEvent::operator=(PEvent&& other) noexcept
{
    if (this != &other) {
        d = std::move(other.d);
        other.d.reset(new PEventPrivate);
    }
    return *this;
}

PEvent::~PEvent() = default;

PEvent* PEvent::copy() const
{
    return new PEvent(d->type, fieldsValues());
}

int PEvent::type() const
{
    return d->type;
}

void PEvent::setValue(const PString& key, const PVariant& value)
{
    d->values.setValue(key, value);
}

void PEvent::setValues(KeyValue<PString, PVariant> values)
{
    d->values.setValues(std::move(values));
}

KeyValue<PString, PVariant> PEvent::fieldsValues() const
{
    return d->values.values();
}

PVariant PEvent::value(const PString& key) const
{
    return d->values.value(key);
}

std::vector<PString> PEvent::fields() const
{
    return d->values.keys();
}

PIODeviceEvent::PIODeviceEvent() : PEvent(EventType) {}

PIODeviceEvent::PIODeviceEvent(KeyValue<PString, PVariant> values)
    : PEvent(EventType, std::move(values))
{
}

PIODeviceEvent::~PIODeviceEvent() = default;

PEvent* PIODeviceEvent::copy() const
{
    return new PIODeviceEvent(fieldsValues());
}
