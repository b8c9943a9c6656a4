// PEvent and PIODeviceEvent: a typed event with a small locked list of values.
#include "PEvent.h"

#include <mutex>

struct PEventPrivate {
    // Never changes after construction, so it is read without a lock.
    int type = 0;
    mutable std::mutex mutex;  // guards values
    std::vector<PEvent::Field> values;

    // The field of the key, or null. Call under the lock. The keys of PEventKeys are found by
    // address first, without comparing any text.
    const PEvent::Field* find(const PString& key) const
    {
        for (const PEvent::Field& field : values) {
            if (&field.key() == &key)
                return &field;
        }
        for (const PEvent::Field& field : values) {
            if (field.key() == key)
                return &field;
        }
        return nullptr;
    }
    // Call under the lock, or while no other thread can see the event.
    void set(const PString& key, const PVariant& value)
    {
        if (auto* field = const_cast<PEvent::Field*>(find(key)))
            field->setValue(value);
        else
            values.emplace_back(key, value);
    }
};

PEvent::PEvent() : PEvent(0) {}

PEvent::PEvent(int type) : d(new PEventPrivate)
{
    d->type = type;
}

PEvent::PEvent(int type, KeyValue<PString, PVariant> values) : PEvent(type)
{
    setValues(std::move(values));
}

PEvent::PEvent(int type, std::vector<Field>&& fields) : PEvent(type)
{
    d->values = std::move(fields);
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
    std::lock_guard<std::mutex> guard(d->mutex);
    d->set(key, value);
}

void PEvent::setValues(KeyValue<PString, PVariant> values)
{
    std::vector<Field> fields;
    fields.reserve(values.size());
    for (const auto& item : values.container())
        fields.emplace_back(item.first, item.second);
    std::lock_guard<std::mutex> guard(d->mutex);
    d->values.swap(fields);
    // The old values go outside the lock (fields, at the end of the function).
}

KeyValue<PString, PVariant> PEvent::fieldsValues() const
{
    KeyValue<PString, PVariant> map;
    std::lock_guard<std::mutex> guard(d->mutex);
    for (const Field& field : d->values)
        map.setValue(field.key(), field.value());
    return map;
}

PVariant PEvent::value(const PString& key) const
{
    std::lock_guard<std::mutex> guard(d->mutex);
    const Field* field = d->find(key);
    return field ? field->value() : PVariant();
}

void PEvent::readValues(std::initializer_list<std::pair<const PString*, PVariant*>> reads) const
{
    std::lock_guard<std::mutex> guard(d->mutex);
    for (const auto& read : reads) {
        const Field* field = d->find(*read.first);
        *read.second = field ? field->value() : PVariant();
    }
}

std::vector<PString> PEvent::fields() const
{
    std::vector<PString> keys;
    std::lock_guard<std::mutex> guard(d->mutex);
    keys.reserve(d->values.size());
    for (const Field& field : d->values)
        keys.push_back(field.key());
    return keys;
}

PIODeviceEvent::PIODeviceEvent() : PEvent(EventType) {}

PIODeviceEvent::PIODeviceEvent(KeyValue<PString, PVariant> values)
    : PEvent(EventType, std::move(values))
{
}

PIODeviceEvent::PIODeviceEvent(std::vector<Field>&& fields) : PEvent(EventType, std::move(fields))
{
}

PIODeviceEvent::~PIODeviceEvent() = default;

PEvent* PIODeviceEvent::copy() const
{
    return new PIODeviceEvent(fieldsValues());
}
