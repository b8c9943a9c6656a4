// PProperty: a host-visible property with its type, getter, setter and change notifier.
#pragma once

#include "PSemanticEntry.h"
#include "PString.h"

#include <functional>

using PPropertyGetter = std::function<bool(tVariant* value, IMemoryManager* manager)>;
using PPropertySetter = std::function<bool(const tVariant* value)>;
using PPropertyNotifyer = std::function<void(const tVariant& value)>;

struct PPropertyPrivate {
    PString name;
    PSemanticEntry entry;
    PPropertyGetter getter;
    PPropertySetter setter;
    PPropertyNotifyer notifyer;
    IMemoryManager* allocator = nullptr;  // not owned: the host's
};

// A value handle, like PMethod. Readable with a getter, writable with a setter.
class PProperty {
public:
    PProperty();
    PProperty(const PString& name, const PSemanticEntry& entry, PPropertyGetter getter,
              PPropertySetter setter = PPropertySetter(),
              PPropertyNotifyer notifyer = PPropertyNotifyer());
    ~PProperty();

    PString name() const { return d->name; }
    const PSemanticEntry& entry() const { return d->entry; }
    // A name, a valid entry and a getter.
    bool isValid() const;
    bool isReadable() const { return static_cast<bool>(d->getter); }
    bool isWritable() const { return static_cast<bool>(d->setter); }

    void setGetter(PPropertyGetter getter);
    void setSetter(PPropertySetter setter);
    void setNotifyer(PPropertyNotifyer notifyer);
    void setAllocator(IMemoryManager* allocator);

    // Checks the value against the entry, then gives it to the setter (none: success, nothing
    // done); the notifier hears of it when the setter answers true. A false from the setter
    // is no error. Convention of PError::settle.
    bool setValue(const tVariant* value, PError* error);
    // setValue that throws its error.
    bool operator()(const tVariant* value) { return setValue(value, nullptr); }
    // Runs the getter into value with the allocator: no place (101), no getter (105).
    bool getValue(tVariant* value, PError* error) const;
    // The same with `allocator` in place of the stored one; copies nothing.
    bool getValue(tVariant* value, IMemoryManager* allocator, PError* error) const;
    // The value in a fresh slot; strings in it come from the allocator.
    tVariant getValue(PError* error) const;

private:
    PSharedDataPtr<PPropertyPrivate> d;
};
