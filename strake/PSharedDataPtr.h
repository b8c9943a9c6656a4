// The one copy-on-write handle beneath every value class of the library.
#pragma once

#include <atomic>
#include <new>
#include <utility>

// Copies a private record for a write through a shared handle: the record's copy constructor.
// A record with something special to copy gets its own copier, a function object answering a
// new T (moved into place, so a record that copies dearly should also move cheaply).
template <class T>
struct _PDataCopyer {
    T operator()(const T& record) const { return T(record); }
};

// A handle on a shared private record: one pointer, to the record and its count of handles.
// Copying shares the record (a pointer copy and an atomic increment); every write goes through
// a non-const accessor, which detaches first, so a write never shows through another handle.
// A default or moved-from handle holds nothing and reads as a default T, so neither a default
// handle nor a move allocates or throws; the first write makes the record.
// Thread-safety: handles on one record may live on different threads; one handle must not
// be used from two threads at once.
template <class T, class Copyer = _PDataCopyer<T>>
class PSharedDataPtr {
public:
    PSharedDataPtr() noexcept = default;
    // Takes the record over (moving it into the counted block) and deletes it.
    explicit PSharedDataPtr(T* record) : m_d(record ? new Node(std::move(*record)) : nullptr)
    {
        delete record;
    }
    explicit PSharedDataPtr(const T& record) : m_d(new Node(record)) {}
    explicit PSharedDataPtr(T&& record) : m_d(new Node(std::move(record))) {}
    PSharedDataPtr(const PSharedDataPtr& other) noexcept : m_d(other.m_d)
    {
        if (m_d)
            m_d->ref.fetch_add(1, std::memory_order_relaxed);
    }
    PSharedDataPtr(PSharedDataPtr&& other) noexcept : m_d(other.m_d) { other.m_d = nullptr; }
    PSharedDataPtr& operator=(const PSharedDataPtr& other) noexcept
    {
        PSharedDataPtr(other).swap(*this);
        return *this;
    }
    PSharedDataPtr& operator=(PSharedDataPtr&& other) noexcept
    {
        PSharedDataPtr(std::move(other)).swap(*this);
        return *this;
    }
    ~PSharedDataPtr() { release(m_d); }

    // Replaces a shared record by a private copy, and nothing by a fresh record; a record
    // used by this handle alone stays.
    void detach()
    {
        if (!m_d) {
            m_d = new Node();
        } else if (m_d->ref.load(std::memory_order_acquire) != 1) {
            Node* copy = new Node(Copyer()(m_d->value));
            release(m_d);
            m_d = copy;
        }
    }

    T* data()
    {
        detach();
        return &m_d->value;
    }
    const T* data() const { return constData(); }
    const T* constData() const { return m_d ? &m_d->value : &empty(); }
    T* operator->() { return data(); }
    const T* operator->() const { return constData(); }
    T& operator*() { return *data(); }
    const T& operator*() const { return *constData(); }

    // Handles on the record, this one included; 0 for a handle that holds nothing.
    long useCount() const { return m_d ? m_d->ref.load(std::memory_order_relaxed) : 0; }
    bool sharesWith(const PSharedDataPtr& other) const { return m_d == other.m_d; }
    void swap(PSharedDataPtr& other) noexcept { std::swap(m_d, other.m_d); }

private:
    struct Node {
        template <class... Args>
        explicit Node(Args&&... args) : value(std::forward<Args>(args)...)
        {
        }
        std::atomic<long> ref{1};
        T value;
    };

    // The last handle frees the record without an atomic write: no other handle exists to be
    // copied from while it goes, so the count can't rise under it.
    static void release(Node* node) noexcept
    {
        if (node && (node->ref.load(std::memory_order_acquire) == 1
                     || node->ref.fetch_sub(1, std::memory_order_acq_rel) == 1))
            delete node;
    }

    // What a handle that holds nothing reads: made once in static storage, never written and
    // never destroyed, so that it outlives every static handle. A default record owns no heap
    // memory, so a library unloaded with it leaves nothing behind.
    static const T& empty()
    {
        alignas(T) static unsigned char storage[sizeof(T)];
        static const T* const record = new (storage) T();
        return *record;
    }

    Node* m_d = nullptr;
};
