// The method and property table of a component.
#include "PVKExtention.h"

#include <map>
#include <vector>

struct PVKExtentionPrivate {
    std::vector<PProperty> properties;
    std::map<PString, PProperty> propertyByName;
    std::map<PString, PProperty> propertyByAlias;
    std::map<PString, std::vector<PString>> propertyAliases;
    std::map<PString, uint64_t> propertyIndex;

    std::vector<PMethod> methods;
    std::map<PString, PMethod> methodByName;
    std::map<PString, PMethod> methodByAlias;
    std::map<PString, PString> methodAliases;
    std::map<PString, uint64_t> methodIndex;
};

namespace {

template <class T>
T byNameOrAlias(const std::map<PString, T>& byName, const std::map<PString, T>& byAlias,
                const PString& name)
{
    auto found = byName.find(name);
    if (found != byName.end())
        return found->second;
    found = byAlias.find(name);
    return found != byAlias.end() ? found->second : T();
}

template <class T>
long positionOf(const T& entry, const std::map<PString, uint64_t>& index)
{
    if (!entry.isValid())
        return -1;
    auto found = index.find(entry.name());
    return found != index.end() ? static_cast<long>(found->second) : -1;
}

// Moves the entry of `name` from the alias key `from` to `to`, leaving a key that now belongs
// to another entry alone.
template <class T>
void moveAlias(std::map<PString, T>& byAlias, const T& entry, const PString& from,
               const PString& to)
{
    auto old = byAlias.find(from);
    if (old != byAlias.end() && old->second.name() == entry.name())
        byAlias.erase(old);
    byAlias[to] = entry;
}

}

PVKExtention::PVKExtention() : d(new PVKExtentionPrivate) {}

PVKExtention::~PVKExtention() = default;

void PVKExtention::addMethod(const PMethod& method, const PString& alias)
{
    const PString name = method.name();
    d->methods.push_back(method);
    d->methodByName[name] = method;
    d->methodByAlias[alias] = method;
    d->methodAliases[name] = alias;
    d->methodIndex[name] = d->methods.size() - 1;
}

void PVKExtention::addProperty(const PProperty& property, const PString& aliases)
{
    const PString name = property.name();
    d->properties.push_back(property);
    d->propertyByName[name] = property;
    std::vector<PString>& list = d->propertyAliases[name];
    for (const PString& alias : aliases.split(PString(";"), true)) {
        if (alias.isEmpty())
            continue;
        d->propertyByAlias[alias] = property;
        list.push_back(alias);
    }
    d->propertyIndex[name] = d->properties.size() - 1;
}

void PVKExtention::changeMethodAlias(const PString& name, const PString& alias)
{
    auto entry = d->methodAliases.find(name);
    auto method = d->methodByName.find(name);
    if (entry == d->methodAliases.end() || method == d->methodByName.end())
        return;
    moveAlias(d->methodByAlias, method->second, entry->second, alias);
    entry->second = alias;
}

void PVKExtention::changePropAlias(const PString& name, const PString& alias)
{
    auto entry = d->propertyAliases.find(name);
    auto property = d->propertyByName.find(name);
    if (entry == d->propertyAliases.end() || property == d->propertyByName.end())
        return;
    std::vector<PString>& list = entry->second;
    if (list.empty()) {
        d->propertyByAlias[alias] = property->second;
        list.push_back(alias);
        return;
    }
    moveAlias(d->propertyByAlias, property->second, list.front(), alias);
    list.front() = alias;
}

PMethod PVKExtention::getMethod(unsigned long index) const
{
    return index < d->methods.size() ? d->methods[index] : PMethod();
}

PProperty PVKExtention::getProperty(unsigned long index) const
{
    return index < d->properties.size() ? d->properties[index] : PProperty();
}

PMethod PVKExtention::getMethod(const PString& name) const
{
    return byNameOrAlias(d->methodByName, d->methodByAlias, name);
}

PProperty PVKExtention::getProperty(const PString& name) const
{
    return byNameOrAlias(d->propertyByName, d->propertyByAlias, name);
}

long PVKExtention::findMethod(const PString& name) const
{
    return positionOf(getMethod(name), d->methodIndex);
}

long PVKExtention::findProperty(const PString& name) const
{
    return positionOf(getProperty(name), d->propertyIndex);
}

PString PVKExtention::methodAlias(const PString& name) const
{
    auto found = d->methodAliases.find(name);
    return found != d->methodAliases.end() ? found->second : PString();
}

PString PVKExtention::propAlias(const PString& name) const
{
    auto found = d->propertyAliases.find(name);
    return found != d->propertyAliases.end() && !found->second.empty() ? found->second.front()
                                                                       : PString();
}

unsigned long PVKExtention::methodsCount() const
{
    return d->methods.size();
}

unsigned long PVKExtention::propertiesCount() const
{
    return d->properties.size();
}
