// The one copy-on-write handle beneath every value class of the library.
#pragma once

#include <memory>
#include <utility>

// Copies a private record: from a raw pointer (a new raw copy) or from a shared owner
// (a new shared owner of a copy). A record with something special to copy gets its own copier.
template <class T>
struct _PDataCopyer {
    T* operator()(const T* d) const { return new T(*d); }
    std::shared_ptr<T> operator()(const std::shared_ptr<T>& d) const
    {
        return std::shared_ptr<T>((*this)(d.get()));
    }
};

// A handle on a shared private record. Copying shares the record (a pointer copy and an
// atomic increment); every write goes through a non-const accessor, which detaches first,
// so a write never shows through another handle. A moved-from handle gets a fresh empty
// record and is usable at once.
// Thread-safety: handles on one record may live on different threads; one handle must not
// be used from two threads at once.
template <class T, class Copyer = _PDataCopyer<T>>
class PSharedDataPtr {
public:
    PSharedDataPtr() : m_d(std::make_shared<T>()) {}
    explicit PSharedDataPtr(T* record) : m_d(record) {}
    explicit PSharedDataPtr(std::shared_ptr<T> record) : m_d(std::move(record)) {}
    PSharedDataPtr(const PSharedDataPtr& other) = default;
    PSharedDataPtr(PSharedDataPtr&& other) noexcept : m_d(std::move(other.m_d))
    {
        other.m_d = std::make_shared<T>();
    }
    PSharedDataPtr& operator=(const PSharedDataPtr& other)
    {
        if (m_d != other.m_d)
            m_d = other.m_d;
        return *this;
    }
    PSharedDataPtr& operator=(PSharedDataPtr&& other) noexcept
    {
        if (this != &other) {
            m_d = std::move(other.m_d);
            other.m_d = std::make_shared<T>();
        }
        return *this;
    }
    virtual ~PSharedDataPtr() = default;

    // Replaces a shared record by a private copy; a record used by this handle alone stays.
    virtual void detach()
    {
        if (m_d.use_count() > 1)
            m_d = Copyer()(m_d);
    }

    T* data()
    {
        detach();
        return m_d.get();
    }
    const T* data() const { return m_d.get(); }
    const T* constData() const { return m_d.get(); }
    T* operator->() { return data(); }
    const T* operator->() const { return m_d.get(); }
    T& operator*() { return *data(); }
    const T& operator*() const { return *m_d; }

    long useCount() const { return m_d.use_count(); }
    bool sharesWith(const PSharedDataPtr& other) const { return m_d == other.m_d; }

private:
    std::shared_ptr<T> m_d;
};
