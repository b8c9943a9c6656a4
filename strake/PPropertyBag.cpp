// PPropertyBag: the settings bag.
#include "PPropertyBag.h"

PPropertyBag::PPropertyBag() = default;

PPropertyBag::PPropertyBag(const PStringVariantMap& map)
    : d(std::make_shared<PPropertyBagPrivate>(map))
{
}

PPropertyBag::~PPropertyBag() = default;

bool PPropertyBag::addValue(const PString& key, const PVariant& value)
{
    if (d.constData()->hasKey(key))
        return false;
    return d->insert(key, value);
}

void PPropertyBag::setValue(const PString& key, const PVariant& value)
{
    if (d.constData()->hasKey(key))
        d->setValue(key, value);
}

PVariant PPropertyBag::value(const PString& key, const PVariant& fallback) const
{
    return d->value(key, fallback);
}

bool PPropertyBag::hasKey(const PString& key) const
{
    return d->hasKey(key);
}

size_t PPropertyBag::size() const
{
    return d->size();
}

bool PPropertyBag::empty() const
{
    return d->empty();
}

std::vector<PString> PPropertyBag::keys() const
{
    return d->keys();
}

void PPropertyBag::clear()
{
    d->clear();
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
