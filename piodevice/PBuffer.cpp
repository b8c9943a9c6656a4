// PBuffer and PThreadSafeBuffer: a linear byte buffer on lazily committed pages, and the same
// under a lock with waits for data.
#include "PBuffer.h"

#include <sys/mman.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>

namespace {

using SizeType = PIODevice::SizeType;

// Zeroed bytes. A large block is an anonymous private mapping: the kernel gives zero pages
// on first touch, so a device's 16 MiB buffers cost address space at construction and memory
// only where bytes are written. A small one comes from the heap, since a mapping costs two
// system calls and a TLB flush on every core when it goes. `touched` is the high-water mark
// of writes: beyond it every byte is zero, which lets a resize copy only what was ever written.
class PBufferStorage {
public:
    PBufferStorage() = default;
    explicit PBufferStorage(SizeType size) : m_size(size)
    {
        if (size == 0)
            return;
        void* block = mapped() ? mmap(nullptr, static_cast<size_t>(size), PROT_READ | PROT_WRITE,
                                      MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)
                               : std::calloc(static_cast<size_t>(size), 1);
        if (block == (mapped() ? MAP_FAILED : nullptr))
            throw std::bad_alloc();
        m_data = static_cast<unsigned char*>(block);
    }
    PBufferStorage(const PBufferStorage&) = delete;
    PBufferStorage& operator=(const PBufferStorage&) = delete;
    ~PBufferStorage()
    {
        if (m_data == nullptr)
            return;
        if (mapped())
            munmap(m_data, static_cast<size_t>(m_size));
        else
            std::free(m_data);
    }

    void swap(PBufferStorage& other) noexcept
    {
        std::swap(m_data, other.m_data);
        std::swap(m_size, other.m_size);
        std::swap(m_touched, other.m_touched);
    }

    SizeType size() const { return m_size; }
    const unsigned char* data() const { return m_data; }
    SizeType touched() const { return m_touched; }

    void store(SizeType at, const char* bytes, SizeType count)
    {
        std::memcpy(m_data + at, bytes, static_cast<size_t>(count));
        m_touched = std::max(m_touched, at + count);
    }
    // Takes over the leading bytes of other that were ever written.
    void copyFrom(const PBufferStorage& other)
    {
        const SizeType count = std::min(other.m_touched, m_size);
        if (count != 0)
            store(0, reinterpret_cast<const char*>(other.m_data), count);
    }

private:
    static constexpr SizeType kSmallestMapping = 64 * 1024;
    bool mapped() const { return m_size >= kSmallestMapping; }

    unsigned char* m_data = nullptr;
    SizeType m_size = 0;
    SizeType m_touched = 0;
};

}

struct PBufferPrivate {
    PBufferStorage storage;
    SizeType readPosition = 0;
    SizeType writePosition = 0;
    // What a read-only reopen exposes: the write position at the last close.
    SizeType keptSize = 0;
};

PBuffer::PBuffer(SizeType capacity) : b(new PBufferPrivate)
{
    PBufferStorage(capacity).swap(b->storage);
}

PBuffer::~PBuffer()
{
    bufferClose();
}

bool PBuffer::bufferOpen(int flags)
{
    b->readPosition = 0;
    if (flags & OpenWrite) {
        b->writePosition = 0;
        b->keptSize = 0;
    } else {
        b->writePosition = b->keptSize != 0 ? b->keptSize : b->storage.size();
    }
    PIODevice::open(flags);
    return isOpen();
}

bool PBuffer::bufferClose()
{
    if (!PIODevice::isOpen())
        return false;
    b->keptSize = b->writePosition;
    b->readPosition = 0;
    b->writePosition = 0;
    return PIODevice::close();
}

SizeType PBuffer::bufferAvailibleBytes() const
{
    return b->writePosition - b->readPosition;
}

SizeType PBuffer::bufferPeek(char* data, SizeType size) const
{
    if (!PIODevice::isOpen() || !(openFlags() & OpenRead) || data == nullptr)
        return 0;
    const SizeType count = std::min(size, bufferAvailibleBytes());
    if (count != 0)
        std::memcpy(data, b->storage.data() + b->readPosition, static_cast<size_t>(count));
    return count;
}

SizeType PBuffer::bufferRead(char* data, SizeType size)
{
    const SizeType count = bufferPeek(data, size);
    bufferSkip(count);
    return count;
}

SizeType PBuffer::bufferWrite(const char* data, SizeType size)
{
    if (!PIODevice::isOpen() || !(openFlags() & OpenWrite) || data == nullptr)
        return 0;
    const SizeType count = std::min(size, bufferAvailibleSpace());
    if (count != 0) {
        b->storage.store(b->writePosition, data, count);
        b->writePosition += count;
    }
    return count;
}

SizeType PBuffer::bufferSkip(SizeType size)
{
    const SizeType count = std::min(size, bufferAvailibleBytes());
    b->readPosition += count;
    if ((openFlags() & OpenRewindEmpty) && b->readPosition == b->writePosition) {
        b->readPosition = 0;
        b->writePosition = 0;
    }
    return count;
}

SizeType PBuffer::bufferCapacity() const
{
    return b->storage.size();
}

SizeType PBuffer::bufferAvailibleSpace() const
{
    return b->storage.size() - b->writePosition;
}

void PBuffer::bufferSetCapasity(SizeType capacity)
{
    if (capacity == b->storage.size())
        return;
    PBufferStorage resized(capacity);
    resized.copyFrom(b->storage);
    b->storage.swap(resized);
    b->writePosition = std::min(b->writePosition, capacity);
    b->readPosition = std::min(b->readPosition, capacity);
    b->keptSize = std::min(b->keptSize, capacity);
}

bool PBuffer::open(int flags)
{
    return bufferOpen(flags);
}

bool PBuffer::close()
{
    return bufferClose();
}

SizeType PBuffer::availibleBytes() const
{
    return bufferAvailibleBytes();
}

SizeType PBuffer::read(char* data, SizeType size)
{
    return bufferRead(data, size);
}

SizeType PBuffer::peek(char* data, SizeType size)
{
    return bufferPeek(data, size);
}

SizeType PBuffer::write(const char* data, SizeType size)
{
    return bufferWrite(data, size);
}

int PBuffer::capabilities() const
{
    return 0;
}

SizeType PBuffer::skip(SizeType size)
{
    return bufferSkip(size);
}

SizeType PBuffer::capacity() const
{
    return bufferCapacity();
}

void PBuffer::setCapasity(SizeType capacity)
{
    bufferSetCapasity(capacity);
}

SizeType PBuffer::availibleSpace() const
{
    return bufferAvailibleSpace();
}

struct PThreadSafeBufferPrivate {
    // Guards the positions, the storage and the waiter count.
    mutable std::mutex mutex;
    // Signalled by a write that stored bytes, by close and by the destructor.
    std::condition_variable readyRead;
    // Signalled when the last waiter leaves, so that the destructor may go on.
    std::condition_variable waitersGone;
    int waiters = 0;
};

PThreadSafeBuffer::PThreadSafeBuffer(SizeType capacity)
    : PBuffer(capacity), t(new PThreadSafeBufferPrivate)
{
}

PThreadSafeBuffer::~PThreadSafeBuffer()
{
    std::unique_lock<std::mutex> lock(t->mutex);
    bufferClose();
    t->readyRead.notify_all();
    // A woken waiter still needs the mutex to leave its wait; it must be gone before the
    // mutex and the condition variables are destroyed.
    t->waitersGone.wait(lock, [this] { return t->waiters == 0; });
}

bool PThreadSafeBuffer::open(int flags)
{
    std::lock_guard<std::mutex> guard(t->mutex);
    return bufferOpen(flags);
}

bool PThreadSafeBuffer::close()
{
    bool closed;
    {
        std::lock_guard<std::mutex> guard(t->mutex);
        closed = bufferClose();
    }
    t->readyRead.notify_all();
    return closed;
}

SizeType PThreadSafeBuffer::availibleBytes() const
{
    if (!isOpen())
        return 0;
    std::lock_guard<std::mutex> guard(t->mutex);
    return bufferAvailibleBytes();
}

SizeType PThreadSafeBuffer::read(char* data, SizeType size)
{
    if (!isOpen() || !(openFlags() & OpenRead))
        return 0;
    std::lock_guard<std::mutex> guard(t->mutex);
    return bufferRead(data, size);
}

SizeType PThreadSafeBuffer::peek(char* data, SizeType size)
{
    if (!isOpen() || !(openFlags() & OpenRead))
        return 0;
    std::lock_guard<std::mutex> guard(t->mutex);
    return bufferPeek(data, size);
}

SizeType PThreadSafeBuffer::write(const char* data, SizeType size)
{
    if (!isOpen() || !(openFlags() & OpenWrite))
        return 0;
    SizeType count;
    {
        std::lock_guard<std::mutex> guard(t->mutex);
        count = bufferWrite(data, size);
    }
    if (count != 0)
        t->readyRead.notify_all();
    return count;
}

SizeType PThreadSafeBuffer::skip(SizeType size)
{
    std::lock_guard<std::mutex> guard(t->mutex);
    return bufferSkip(size);
}

SizeType PThreadSafeBuffer::capacity() const
{
    std::lock_guard<std::mutex> guard(t->mutex);
    return bufferCapacity();
}

void PThreadSafeBuffer::setCapasity(SizeType capacity)
{
    std::lock_guard<std::mutex> guard(t->mutex);
    bufferSetCapasity(capacity);
}

SizeType PThreadSafeBuffer::availibleSpace() const
{
    std::lock_guard<std::mutex> guard(t->mutex);
    return bufferAvailibleSpace();
}

bool PThreadSafeBuffer::waitForReadyRead(int msecs)
{
    if (!isOpen() || !(openFlags() & OpenRead))
        return false;
    std::unique_lock<std::mutex> lock(t->mutex);
    // Asked again under the lock: a close between the first test and the lock would
    // otherwise leave this wait without the wake-up that ends it.
    if (bufferCapacity() == 0 || !isOpen())
        return false;
    const bool available = bufferAvailibleBytes() != 0;
    if (msecs == 0 || available)
        return available;

    ++t->waiters;
    bool result;
    // One wait, no loop: the first wake-up, whatever woke it, ends the call.
    if (msecs < 0) {
        t->readyRead.wait(lock);
        result = isOpen();
    } else {
        using Clock = std::chrono::system_clock;
        const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(msecs);
        t->readyRead.wait_until(lock, deadline);
        result = Clock::now() < deadline && isOpen();
    }
    if (--t->waiters == 0)
        t->waitersGone.notify_all();
    return result;
}

bool PThreadSafeBuffer::waitForBytesWriten(int msecs)
{
    return waitForReadyRead(msecs);
}
