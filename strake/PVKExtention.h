// PVKExtention: a component's table of methods and properties, by position, name and alias.
#pragma once

#include "PGlobal.h"
#include "PMethod.h"
#include "PProperty.h"

#include <memory>

struct PVKExtentionPrivate;

// Positions are the host's indexes, in order of adding. Look-ups are exact (case counts);
// a name is found first among main names, then among aliases. A name added twice keeps
// both positions, and look-ups by name answer the later one.
// Thread-safety: filled by one thread, then only read; reads may come from any thread.
class PVKExtention {
public:
    PVKExtention();
    virtual ~PVKExtention();
    P_DISABLE_COPY(PVKExtention)

    // The alias is stored even when empty.
    void addMethod(const PMethod& method, const PString& alias);
    // aliases: ";"-separated, empty pieces skipped.
    void addProperty(const PProperty& property, const PString& aliases);
    // Replace the (first) alias of a main name; a name without an entry changes nothing.
    void changeMethodAlias(const PString& name, const PString& alias);
    void changePropAlias(const PString& name, const PString& alias);

    // Copies; a default (invalid) object for a position at or beyond the end or an
    // unknown name.
    PMethod getMethod(unsigned long index) const;
    PProperty getProperty(unsigned long index) const;
    PMethod getMethod(const PString& name) const;
    PProperty getProperty(const PString& name) const;
    // The position of what getMethod/getProperty finds; -1 when it is not valid.
    long findMethod(const PString& name) const;
    long findProperty(const PString& name) const;
    // The alias of a main name (a property's first); empty when there is none.
    PString methodAlias(const PString& name) const;
    PString propAlias(const PString& name) const;

    unsigned long methodsCount() const;
    unsigned long propertiesCount() const;

private:
    std::unique_ptr<PVKExtentionPrivate> d;
};
