// PLockedMap, a map of PString to PVariant behind its own lock: the parameters of processors
// and devices and the values of events, which one thread writes while others read.
#pragma once

#include "PPropertyBag.h"
#include "PString.h"
#include "PVariant.h"

#include <mutex>
#include <vector>

// Not copyable or movable (an owner that moves keeps it behind a pointer).
// Thread-safety: every operation takes the lock and calls nothing outside the map while it
// holds it, so any thread may use it, even from inside a callback of the owner.
// Failure: only allocation can fail, and then the map is left as it was.
class PLockedMap {
public:
    PLockedMap() = default;
    explicit PLockedMap(PStringVariantMap values);
    PLockedMap(const PLockedMap&) = delete;
    PLockedMap& operator=(const PLockedMap&) = delete;

    // Writes the key, adding it when absent.
    void setValue(const PString& key, const PVariant& value);
    // The stored value when the key exists, even an invalid one; otherwise fallback.
    PVariant value(const PString& key, const PVariant& fallback = PVariant()) const;
    // Replaces every value.
    void setValues(PStringVariantMap values);
    // The map, shared with this one until either side writes.
    PStringVariantMap values() const;
    // The keys, in the map's order.
    std::vector<PString> keys() const;

private:
    mutable std::mutex m_mutex;  // guards m_values
    PStringVariantMap m_values;
};
