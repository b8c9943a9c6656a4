// PLockedMap: each operation is one short stay under the lock.
#include "PLockedMap.h"

PLockedMap::PLockedMap(PStringVariantMap values) : m_values(std::move(values)) {}

void PLockedMap::setValue(const PString& key, const PVariant& value)
{
    std::lock_guard<std::mutex> guard(m_mutex);
    m_values.setValue(key, value);
}

PVariant PLockedMap::value(const PString& key, const PVariant& fallback) const
{
    std::lock_guard<std::mutex> guard(m_mutex);
    return m_values.value(key, fallback);
}

void PLockedMap::setValues(PStringVariantMap values)
{
    std::lock_guard<std::mutex> guard(m_mutex);
    m_values = std::move(values);
}

PStringVariantMap PLockedMap::values() const
{
    std::lock_guard<std::mutex> guard(m_mutex);
    return m_values;
}

std::vector<PString> PLockedMap::keys() const
{
    std::lock_guard<std::mutex> guard(m_mutex);
    return m_values.keys();
}
