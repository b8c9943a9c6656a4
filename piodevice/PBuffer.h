// PBuffer, a linear byte buffer of fixed capacity with the device interface, and
// PThreadSafeBuffer, the same under a lock, with waits for data.
#pragma once

#include "PIODevice.h"

#include <memory>

struct PBufferPrivate;
struct PThreadSafeBufferPrivate;

// A linear buffer, not a ring: read position <= write position <= capacity, and the space
// before the read position is reused only once the buffer has been drained while open with
// OpenRewindEmpty. Capacity costs address space only: a page becomes resident when a byte is
// first written to it, so a large buffer that is never filled costs no memory.
// Reopening read-only exposes the bytes held at the last close (all of the capacity when
// nothing was kept). A full or closed buffer answers a short count or 0, never an error.
// Thread-safety: none; use PThreadSafeBuffer across threads.
class PBuffer : public PIODevice {
public:
    explicit PBuffer(SizeType capacity);
    ~PBuffer() override;

    bool open(int flags) override;
    // False, changing nothing, when not open.
    bool close() override;
    SizeType availibleBytes() const override;
    SizeType read(char* data, SizeType size) override;
    SizeType peek(char* data, SizeType size) override;
    SizeType write(const char* data, SizeType size) override;
    int capabilities() const override;
    SizeType skip(SizeType size) override;
    using PIODevice::peek;
    using PIODevice::read;
    using PIODevice::write;

    virtual SizeType capacity() const;
    // Shrinking keeps the leading bytes and clamps the positions; growing keeps everything.
    // Throws std::bad_alloc when no address space is left.
    virtual void setCapasity(SizeType capacity);
    virtual SizeType availibleSpace() const;

protected:
    // The unlocked operations, for a derived class that runs them under its own lock: they
    // call one another directly, never through the virtual slots.
    bool bufferOpen(int flags);
    bool bufferClose();
    SizeType bufferAvailibleBytes() const;
    SizeType bufferRead(char* data, SizeType size);
    SizeType bufferPeek(char* data, SizeType size) const;
    SizeType bufferWrite(const char* data, SizeType size);
    SizeType bufferSkip(SizeType size);
    SizeType bufferCapacity() const;
    SizeType bufferAvailibleSpace() const;
    void bufferSetCapasity(SizeType capacity);

private:
    std::unique_ptr<PBufferPrivate> b;
};

// PBuffer under a mutex, for one writer and readers on other threads. A successful write
// and close wake every waiter. A wait ends at the first wake-up, so a waiter looks at
// availibleBytes itself afterwards. The destructor closes, wakes the waiters and lets them
// leave before the lock goes away.
class PThreadSafeBuffer : public PBuffer {
public:
    explicit PThreadSafeBuffer(SizeType capacity);
    ~PThreadSafeBuffer() override;

    bool open(int flags) override;
    bool close() override;
    SizeType availibleBytes() const override;
    SizeType read(char* data, SizeType size) override;
    SizeType peek(char* data, SizeType size) override;
    SizeType write(const char* data, SizeType size) override;
    SizeType skip(SizeType size) override;
    using PIODevice::peek;
    using PIODevice::read;
    using PIODevice::write;
    SizeType capacity() const override;
    void setCapasity(SizeType capacity) override;
    SizeType availibleSpace() const override;

    // False at once when closed, of capacity 0 or not readable. A time of 0 answers whether
    // bytes are available; a negative time waits for one wake-up and answers isOpen(); a
    // positive one waits once and answers true only when woken before the deadline while open.
    bool waitForReadyRead(int msecs) override;
    // The same wait, through waitForReadyRead.
    bool waitForBytesWriten(int msecs) override;

private:
    std::unique_ptr<PThreadSafeBufferPrivate> t;
};
