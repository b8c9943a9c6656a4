// PJavaHandles: the numbers that Java companions hold in place of native addresses.
#pragma once

#include <cstdint>
#include <memory>

// A Java companion keeps the native side's "address" for as long as it likes and calls back
// with it from its own threads. It gets a handle instead: a number under which the native
// object is registered, never 0 and never given out twice in the life of the process. An
// exported function finds the object by its handle and holds it for the length of the call,
// so a handle that is stale, unknown or of another class reaches nothing, and an object whose
// owner lets go of it during a delivery (a host that closes the device from inside its own
// event handler) lives until that delivery has unwound.
//
// Objects are registered by shared_ptr and kept by weak_ptr: the table never keeps an object
// alive by itself.
// Thread-safety: every operation may be called from any thread at any time. remove() waits
// for nothing, so it is safe under any lock and from inside a delivery.
class PJavaHandles {
public:
    // Registers the object under a new handle. An empty pointer gives 0.
    template <class T>
    static int64_t add(const std::shared_ptr<T>& object)
    {
        return object ? addErased(std::weak_ptr<void>(object), tag<T>()) : 0;
    }

    // Drops the handle: later lookups find nothing. Unknown handles and 0 are ignored.
    static void remove(int64_t handle);

    // The object registered under the handle as this exact class, while it lives; null for a
    // removed, unknown or zero handle, or one registered as another class. The result keeps
    // the object alive.
    template <class T>
    static std::shared_ptr<T> find(int64_t handle)
    {
        return std::static_pointer_cast<T>(findErased(handle, tag<T>()));
    }

    // How many handles are registered now (live or not yet removed); for tests and the soak.
    static std::size_t count();

private:
    using Tag = const void*;
    template <class T>
    static Tag tag()
    {
        static const char unique = 0;
        return &unique;
    }
    static int64_t addErased(std::weak_ptr<void> object, Tag tag);
    static std::shared_ptr<void> findErased(int64_t handle, Tag tag);
};

// Registers an object for its life as a handle holder: add() on attach, remove() on detach
// and in the destructor. Not copyable; an object keeps one per companion it creates.
class PJavaHandle {
public:
    PJavaHandle() = default;
    PJavaHandle(const PJavaHandle&) = delete;
    PJavaHandle& operator=(const PJavaHandle&) = delete;
    ~PJavaHandle() { detach(); }

    // Detaches any previous handle, then registers the object under a new one.
    template <class T>
    int64_t attach(const std::shared_ptr<T>& object)
    {
        detach();
        value_ = PJavaHandles::add(object);
        return value_;
    }
    void detach()
    {
        PJavaHandles::remove(value_);
        value_ = 0;
    }
    int64_t value() const { return value_; }

private:
    int64_t value_ = 0;
};
