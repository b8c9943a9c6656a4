// PPropertyBag: the settings bag.
#include "PPropertyBag.h"

// The bag's one shared record: the values themselves, not a handle on another shared map.
struct PPropertyBagPrivate {
    std::unordered_map<PString, PVariant> values;
};

PPropertyBag::PPropertyBag() = default;

PPropertyBag::PPropertyBag(const PStringVariantMap& map)
    : d(PPropertyBagPrivate{map.container()})
{
}

PPropertyBag::PPropertyBag(const PPropertyBag& other) noexcept = default;
PPropertyBag::PPropertyBag(PPropertyBag&& other) noexcept = default;
PPropertyBag& PPropertyBag::operator=(const PPropertyBag& other) noexcept = default;
PPropertyBag& PPropertyBag::operator=(PPropertyBag&& other) noexcept = default;
PPropertyBag::~PPropertyBag() = default;

bool PPropertyBag::addValue(const PString& key, const PVariant& value)
{
    if (hasKey(key))
        return false;
    d->values.emplace(key, value);
    return true;
}

void PPropertyBag::setValue(const PString& key, const PVariant& value)
{
    if (hasKey(key))
        d->values[key] = value;
}

PVariant PPropertyBag::value(const PString& key, const PVariant& fallback) const
{
    const auto& values = d->values;
    auto found = values.find(key);
    return found == values.end() ? fallback : found->second;
}

bool PPropertyBag::hasKey(const PString& key) const
{
    return d->values.count(key) != 0;
}

size_t PPropertyBag::size() const
{
    return d->values.size();
}

bool PPropertyBag::empty() const
{
    return d->values.empty();
}

std::vector<PString> PPropertyBag::keys() const
{
    std::vector<PString> result;
    result.reserve(d->values.size());
    for (const auto& item : d->values)
        result.push_back(item.first);
    return result;
}

void PPropertyBag::clear()
{
    d = PSharedDataPtr<PPropertyBagPrivate>();  // other holders keep the values
}

bool PPropertyBag::isEqual(const PPropertyBag& other, const std::vector<PString>& keys) const
{
    auto sameValues = [&](const std::vector<PString>& list) {
        for (const auto& key : list) {
            if (value(key) != other.value(key))
                return false;
        }
        return true;
    };
    if (!keys.empty())
        return sameValues(keys);
    const std::vector<PString> mine = this->keys();
    const std::vector<PString> theirs = other.keys();
    if (mine.size() != theirs.size())
        return false;
    for (size_t i = 0; i < mine.size(); ++i) {
        if (mine[i] != theirs[i])
            return false;
    }
    return sameValues(mine);
}

void PPropertyBag::merge(const PPropertyBag& other)
{
    const PPropertyBag source(other);  // merging a bag into itself reads a stable copy
    for (const auto& key : source.keys()) {
        const PVariant value = source.value(key);
        if (hasKey(key))
            setValue(key, value);
        else
            addValue(key, value);
    }
}
