// KeyValue, the copy-on-write hash map beneath settings and translations, and PPropertyBag,
// the string-keyed bag of PVariant values that carries a device's settings.
#pragma once

#include "PString.h"
#include "PVariant.h"

#include <unordered_map>
#include <vector>

template <class K, class V>
class KeyValueInterface {
public:
    virtual ~KeyValueInterface() = default;
    virtual void setValue(const K& key, const V& value) = 0;
    virtual V value(const K& key, const V& fallback) const = 0;
};

// A hash map shared between copies and copied when written while shared.
template <class K, class V, class Container = std::unordered_map<K, V>>
class KeyValue : public KeyValueInterface<K, V> {
public:
    // Writes the key, inserting it when absent.
    void setValue(const K& key, const V& value) override { (*d)[key] = value; }
    // The stored value, or fallback when the key is absent.
    V value(const K& key, const V& fallback = V()) const override
    {
        auto found = d->find(key);
        return found == d->end() ? fallback : found->second;
    }
    // Inserts and answers true; a present key is left as it is and the answer is false.
    bool insert(const K& key, const V& value)
    {
        if (hasKey(key))
            return false;
        d->emplace(key, value);
        return true;
    }
    bool hasKey(const K& key) const { return d->find(key) != d->end(); }
    bool remove(const K& key) { return hasKey(key) && d->erase(key) > 0; }
    size_t size() const { return d->size(); }
    bool empty() const { return d->empty(); }
    void clear() { *d = Container(); }
    std::vector<K> keys() const
    {
        std::vector<K> result;
        result.reserve(d->size());
        for (const auto& item : *d)
            result.push_back(item.first);
        return result;
    }
    const Container& container() const { return *d; }

private:
    PSharedDataPtr<Container> d;
};

using PStringVariantMap = KeyValue<PString, PVariant>;
using PStringStringMap = KeyValue<PString, PString>;

struct PPropertyBagPrivate;

// String-keyed PVariant values; keys compare exactly, with case; keys() has no defined order.
// Thread-safety: as any value handle.
class PPropertyBag {
public:
    PPropertyBag();
    // A bag of the map's values (a copy of them).
    PPropertyBag(const PStringVariantMap& map);
    PPropertyBag(const PPropertyBag& other) noexcept;
    PPropertyBag(PPropertyBag&& other) noexcept;
    PPropertyBag& operator=(const PPropertyBag& other) noexcept;
    PPropertyBag& operator=(PPropertyBag&& other) noexcept;
    ~PPropertyBag();

    // Inserts and answers true; a present key keeps its value and the answer is false.
    bool addValue(const PString& key, const PVariant& value);
    // Replaces the value of a present key; an absent key changes nothing.
    void setValue(const PString& key, const PVariant& value);
    PVariant value(const PString& key, const PVariant& fallback = PVariant()) const;
    bool hasKey(const PString& key) const;
    size_t size() const;
    bool empty() const;
    std::vector<PString> keys() const;
    void clear();
    // With keys: those keys compare equal in both bags (absent in both counts as equal).
    // Without: the same key lists, position by position, and equal values.
    bool isEqual(const PPropertyBag& other, const std::vector<PString>& keys) const;
    // Writes every key of other: replaced when present, added when not.
    void merge(const PPropertyBag& other);

private:
    PSharedDataPtr<PPropertyBagPrivate> d;
};
