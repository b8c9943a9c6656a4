// PEvent and PIODeviceEvent: a typed event with a small locked list of values.
#include "PEvent.h"

#include <new>

namespace {

// The emptied field lists of the events that this thread dropped, a few, none too big.
struct SpareFields {
    static constexpr int Kept = 4;
    static constexpr std::size_t MaxCapacity = 32;
    std::vector<PEvent::Field> lists[Kept];
    int count = 0;
};

// This thread's spares, made on the first drop. The pointer is the one thread-local read on
// the way of an event: it is constant-initialised and trivial, so reading it runs no guard.
struct SpareSlot {
    SpareFields* spares;
    // Set once the thread's spares are gone: an event dropped after that (in a destructor run
    // at the thread's or the process's end) frees its list as usual.
    bool gone;
};
thread_local SpareSlot spareSlot{nullptr, false};

// Frees the spares at the thread's end; registered by the first drop that makes them.
struct SpareReaper {
    ~SpareReaper()
    {
        // Marked gone before the delete: nothing the delete runs may keep a list here again.
        SpareFields* spares = spareSlot.spares;
        spareSlot.spares = nullptr;
        spareSlot.gone = true;
        delete spares;
    }
};
thread_local SpareReaper spareReaper;

void keepSpare(std::vector<PEvent::Field>& fields) noexcept
{
    fields.clear();
    if (fields.capacity() == 0 || fields.capacity() > SpareFields::MaxCapacity)
        return;
    SpareSlot& slot = spareSlot;
    if (slot.spares == nullptr) {
        if (slot.gone)
            return;
        static_cast<void>(&spareReaper);  // the first use registers its destructor
        slot.spares = new (std::nothrow) SpareFields;
        if (slot.spares == nullptr)
            return;
    }
    SpareFields& spares = *slot.spares;
    if (spares.count < SpareFields::Kept)
        spares.lists[spares.count++].swap(fields);
}

}

std::vector<PEvent::Field> PEvent::newFields(std::size_t capacity)
{
    std::vector<Field> fields;
    if (SpareFields* spares = spareSlot.spares) {
        if (spares->count > 0)
            fields.swap(spares->lists[--spares->count]);
    }
    fields.reserve(capacity);
    return fields;
}

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

PEvent::~PEvent()
{
    keepSpare(values_);
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

const PVariant& PEvent::borrowValue(const PString& key) const
{
    static const PVariant absent;
    const Field* field = find(key);
    return field ? field->value() : absent;
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
