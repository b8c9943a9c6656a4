// PPublished: a value that any thread reads without a lock or a shared count, and that its
// holder replaces now and then.
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <type_traits>
#include <utility>
#include <vector>

// The current value is read through a pointer stored with release order. A replaced value is
// not freed: it is kept with the holder until the holder dies, so a reader that took it
// before the replacement (a delivery on a Java thread while the host reopens the device)
// never reaches freed memory, and a reading costs one load, where a shared count costs two
// atomic writes and the library's atomic shared_ptr access a lock from a pool as well.
// The price is that every value set stays until the end: replace it a few times in the
// holder's life (a callback set at wiring, what an open makes), never per message. A value
// equal to one kept already (for types with ==) is published again instead of kept twice,
// so a holder that is set back and forth keeps no more.
// Thread-safety: get() from any thread at any time, for as long as the holder lives; set()
// from any thread, serialised by a lock of its own. A reader may still be using the old
// value after set() returns.
template <class T>
class PPublished {
public:
    explicit PPublished(T initial = T()) { publish(std::move(initial)); }
    PPublished(const PPublished&) = delete;
    PPublished& operator=(const PPublished&) = delete;

    const T& get() const { return *current_.load(std::memory_order_acquire); }

    void set(T value)
    {
        std::lock_guard<std::mutex> lock(mutex_);
        publish(std::move(value));
    }

    // How many values the holder keeps: 1 plus every distinct replacement.
    std::size_t keptCount() const
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return kept_.size();
    }

private:
    template <class U, class = void>
    struct Comparable : std::false_type {};
    template <class U>
    struct Comparable<U, std::void_t<decltype(std::declval<const U&>() == std::declval<const U&>())>>
        : std::true_type {};

    void publish(T value)
    {
        const T* found = nullptr;
        if constexpr (Comparable<T>::value) {
            for (const auto& kept : kept_) {
                if (*kept == value) {
                    found = kept.get();
                    break;
                }
            }
        }
        if (!found) {
            kept_.push_back(std::make_unique<const T>(std::move(value)));
            found = kept_.back().get();
        }
        current_.store(found, std::memory_order_release);
    }

    std::atomic<const T*> current_{nullptr};
    mutable std::mutex mutex_;  // guards kept_ for set() and keptCount()
    std::vector<std::unique_ptr<const T>> kept_;
};
