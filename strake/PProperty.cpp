// A host-visible property: the checked write and the read through its getter.
#include "PProperty.h"

#include "StrakeVariant.h"

#define PROPERTY_ERROR(code, message) P_MODULE_ERROR("jni/../../strake/PProperty", code, message)

PProperty::PProperty() = default;

PProperty::PProperty(const PString& name, const PSemanticEntry& entry, PPropertyGetter getter,
                     PPropertySetter setter, PPropertyNotifyer notifyer)
{
    d->name = name;
    d->entry = entry;
    d->getter = std::move(getter);
    d->setter = std::move(setter);
    d->notifyer = std::move(notifyer);
}

PProperty::~PProperty() = default;

bool PProperty::isValid() const
{
    return !d->name.isEmpty() && d->entry.isValid() && static_cast<bool>(d->getter);
}

void PProperty::setGetter(PPropertyGetter getter)
{
    d->getter = std::move(getter);
}

void PProperty::setSetter(PPropertySetter setter)
{
    d->setter = std::move(setter);
}

void PProperty::setNotifyer(PPropertyNotifyer notifyer)
{
    d->notifyer = std::move(notifyer);
}

void PProperty::setAllocator(IMemoryManager* allocator)
{
    d->allocator = allocator;
}

bool PProperty::setValue(const tVariant* value, PError* error)
{
    PError local;
    try {
        const PPropertyPrivate& property = *d.constData();
        property.entry.check(value, nullptr);
        if (property.setter && property.setter(value) && property.notifyer)
            property.notifyer(*value);
    } catch (...) {
        local = PError::fromCurrentException(PROPERTY_ERROR(PError::GeneralFailure, PString()),
                                             PError::StandardText::Dropped);
    }
    return PError::settle(local, error);
}

bool PProperty::getValue(tVariant* value, PError* error) const
{
    return getValue(value, d->allocator, error);
}

bool PProperty::getValue(tVariant* value, IMemoryManager* allocator, PError* error) const
{
    PError local;
    try {
        if (!value)
            throw PROPERTY_ERROR(PNoPlaceForValue, PString());
        if (!d->getter)
            throw PROPERTY_ERROR(PNoGetter, PString());
        d->getter(value, allocator);
    } catch (...) {
        local = PError::fromCurrentException(PROPERTY_ERROR(PError::GeneralFailure, PString()),
                                             PError::StandardText::Dropped);
    }
    return PError::settle(local, error);
}

tVariant PProperty::getValue(PError* error) const
{
    tVariant value;
    strake::empty2var(&value);
    getValue(&value, error);
    return value;
}
