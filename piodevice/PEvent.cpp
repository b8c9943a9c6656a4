// PEvent and PIODeviceEvent: a typed event with a small locked list of values.
#include "PEvent.h"

const PEvent::Field* PEvent::find(const PString& key) const
{
    // The keys of PEventKeys are found by address first, without comparing any text.
    for (const Field& field : values_) {
        if (&field.key() == &key)
            return &field;
    }
    for (const Field& field : values_) {
        if (field.key() == key)
            return &field;
    }
    return nullptr;
}

PEvent::PEvent() : PEvent(0) {}

PEvent::PEvent(int type) : type_(type) {}

PEvent::PEvent(int type, KeyValue<PString, PVariant> values) : PEvent(type)
{
    setValues(std::move(values));
}

PEvent::PEvent(int type, std::vector<Field>&& fields) : type_(type), values_(std::move(fields)) {}

PEvent::PEvent(PEvent&& other) noexcept : type_(other.type_), values_(std::move(other.values_))
{
    other.type_ = 0;
    other.values_.clear();
}

PEvent& PEvent::operator=(PEvent&& other) noexcept
{
    if (this != &other) {
        type_ = other.type_;
        values_ = std::move(other.values_);
        other.type_ = 0;
        other.values_.clear();
    }
    return *this;
}

PEvent::~PEvent() = default;

PEvent* PEvent::copy() const
{
    return new PEvent(type_, fieldsValues());
}

int PEvent::type() const
{
    return type_;
}

void PEvent::setValue(const PString& key, const PVariant& value)
{
    std::lock_guard<std::mutex> guard(mutex_);
    if (auto* field = const_cast<Field*>(find(key)))
        field->setValue(value);
    else
        values_.emplace_back(key, value);
}

void PEvent::setValues(KeyValue<PString, PVariant> values)
{
    std::vector<Field> fields;
    fields.reserve(values.size());
    for (const auto& item : values.container())
        fields.emplace_back(item.first, item.second);
    std::lock_guard<std::mutex> guard(mutex_);
    values_.swap(fields);
    // The old values go outside the lock (fields, at the end of the function).
}

KeyValue<PString, PVariant> PEvent::fieldsValues() const
{
    KeyValue<PString, PVariant> map;
    std::lock_guard<std::mutex> guard(mutex_);
    for (const Field& field : values_)
        map.setValue(field.key(), field.value());
    return map;
}

PVariant PEvent::value(const PString& key) const
{
    std::lock_guard<std::mutex> guard(mutex_);
    const Field* field = find(key);
    return field ? field->value() : PVariant();
}

void PEvent::readValues(std::initializer_list<std::pair<const PString*, PVariant*>> reads) const
{
    std::lock_guard<std::mutex> guard(mutex_);
    for (const auto& read : reads) {
        const Field* field = find(*read.first);
        *read.second = field ? field->value() : PVariant();
    }
}

const PVariant* PEvent::borrowValue(const PString& key) const
{
    const Field* field = find(key);
    return field ? &field->value() : nullptr;
}

std::vector<PString> PEvent::fields() const
{
    std::vector<PString> keys;
    std::lock_guard<std::mutex> guard(mutex_);
    keys.reserve(values_.size());
    for (const Field& field : values_)
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
