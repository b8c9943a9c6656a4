// PEvent and PIODeviceEvent: a typed event with a small locked list of values.
#include "PEvent.h"

const PEvent::Field* PEvent::find(const PString& key) const
{
    // The keys of PEventKeys are found by address first, without comparing any text.
    for (const Field* field = begin(); field != end(); ++field) {
        if (field->key_ == &key)
            return field;
    }
    for (const Field* field = begin(); field != end(); ++field) {
        if (*field->key_ == key)
            return field;
    }
    return nullptr;
}

void PEvent::takeLent()
{
    if (lent_) {
        values_.assign(lent_, lent_ + lentCount_);
        lent_ = nullptr;
        lentCount_ = 0;
    }
}

PEvent::PEvent() : PEvent(0) {}

PEvent::PEvent(int type) : type_(type) {}

PEvent::PEvent(int type, KeyValue<PString, PVariant> values) : PEvent(type)
{
    setValues(std::move(values));
}

PEvent::PEvent(int type, const Field* fields, std::size_t count)
    : type_(type), lent_(count ? fields : nullptr), lentCount_(count ? count : 0)
{
}

// The copies move with their list's nodes, so the fields that point at them stay valid.
PEvent::PEvent(PEvent&& other) noexcept
    : type_(other.type_),
      lent_(other.lent_),
      lentCount_(other.lentCount_),
      values_(std::move(other.values_)),
      owned_(std::move(other.owned_))
{
    other.type_ = 0;
    other.lent_ = nullptr;
    other.lentCount_ = 0;
    other.values_.clear();
    other.owned_.clear();
}

PEvent& PEvent::operator=(PEvent&& other) noexcept
{
    if (this != &other) {
        type_ = other.type_;
        lent_ = other.lent_;
        lentCount_ = other.lentCount_;
        values_ = std::move(other.values_);
        owned_ = std::move(other.owned_);
        other.type_ = 0;
        other.lent_ = nullptr;
        other.lentCount_ = 0;
        other.values_.clear();
        other.owned_.clear();
    }
    return *this;
}

PEvent::~PEvent() = default;

void PEvent::own(Field& field, const PString* lastingKey, const PString& key, PVariant value)
{
    owned_.push_front(Owned{lastingKey ? PString() : key, std::move(value)});
    field.key_ = lastingKey ? lastingKey : &owned_.front().key;
    field.value_ = &owned_.front().value;
}

void PEvent::keep(const PString* lastingKey, PVariant value)
{
    takeLent();
    values_.emplace_back(lastingKey, nullptr);
    own(values_.back(), lastingKey, *lastingKey, std::move(value));
}

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
    takeLent();
    if (auto* field = const_cast<Field*>(find(key))) {
        // A copy made by this event is written in place; a borrowed value gets a copy, and
        // the key stays where it was: lasting, borrowed along with the value, or owned.
        for (Owned& owned : owned_) {
            if (&owned.value == field->value_) {
                owned.value = value;
                return;
            }
        }
        own(*field, field->key_, *field->key_, value);
        return;
    }
    values_.emplace_back(nullptr, nullptr);
    own(values_.back(), nullptr, key, value);
}

void PEvent::setValues(KeyValue<PString, PVariant> values)
{
    std::vector<Field> fields;
    std::forward_list<Owned> owned;
    fields.reserve(values.size());
    for (const auto& item : values.container()) {
        owned.push_front(Owned{item.first, item.second});
        fields.emplace_back(&owned.front().key, &owned.front().value);
    }
    std::lock_guard<std::mutex> guard(mutex_);
    lent_ = nullptr;
    lentCount_ = 0;
    values_.swap(fields);
    owned_.swap(owned);
    // The old values go outside the lock (at the end of the function).
}

KeyValue<PString, PVariant> PEvent::fieldsValues() const
{
    KeyValue<PString, PVariant> map;
    std::lock_guard<std::mutex> guard(mutex_);
    for (const Field* field = begin(); field != end(); ++field)
        map.setValue(field->key(), field->value());
    return map;
}

PVariant PEvent::value(const PString& key) const
{
    std::lock_guard<std::mutex> guard(mutex_);
    const Field* field = find(key);
    return field ? field->value() : PVariant();
}

const PVariant& PEvent::borrowValue(const PString& key) const
{
    static const PVariant& absent = *new PVariant;  // never destroyed: read while the process ends
    const Field* field = find(key);
    return field ? field->value() : absent;
}

std::vector<PString> PEvent::fields() const
{
    std::vector<PString> keys;
    std::lock_guard<std::mutex> guard(mutex_);
    keys.reserve(static_cast<std::size_t>(end() - begin()));
    for (const Field* field = begin(); field != end(); ++field)
        keys.push_back(field->key());
    return keys;
}

PIODeviceEvent::PIODeviceEvent() : PEvent(EventType) {}

PIODeviceEvent::PIODeviceEvent(KeyValue<PString, PVariant> values)
    : PEvent(EventType, std::move(values))
{
}

PIODeviceEvent::PIODeviceEvent(const Field* fields, std::size_t count)
    : PEvent(EventType, fields, count)
{
}

PIODeviceEvent::~PIODeviceEvent() = default;

PEvent* PIODeviceEvent::copy() const
{
    return new PIODeviceEvent(fieldsValues());
}
