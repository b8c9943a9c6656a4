// PIMemory, the abstract view of a memory block, and PByteArray, the library's byte value.
#pragma once

#include "PSharedDataPtr.h"

#include <string>

class PIMemory {
public:
    virtual ~PIMemory() = default;
    // A small type number: 0 here, 7 for PByteArray.
    virtual int mitype() const { return 0; }
    // data() is not null and size() is not 0.
    virtual bool isValid() const { return data() != nullptr && size() != 0; }
    virtual unsigned char* data() = 0;
    virtual const unsigned char* data() const = 0;
    virtual unsigned long size() const = 0;
};

// The block holds size + 1 bytes; the byte behind the last is always 0. An empty array has
// no block. A block of fewer than InlineSize bytes is the record's own: a scanned code is
// short, and this saves it an allocation of its own.
struct PByteArrayPrivate {
    static constexpr unsigned long InlineSize = 64;

    PByteArrayPrivate() = default;
    PByteArrayPrivate(const PByteArrayPrivate& other);
    PByteArrayPrivate(PByteArrayPrivate&& other) noexcept;
    PByteArrayPrivate& operator=(const PByteArrayPrivate&) = delete;
    ~PByteArrayPrivate();
    void assign(const unsigned char* bytes, unsigned long count);
    // Takes over a block of count + 1 bytes from blockFor, dropping the one it had.
    void adopt(unsigned char* block, unsigned long count);
    // A block for count + 1 bytes: the record's own when it fits and is free, else new[].
    unsigned char* blockFor(unsigned long count);

    unsigned char* data = nullptr;
    unsigned long long size = 0;
    unsigned char inlineBlock[InlineSize];
};

// Bytes with a terminating 0 behind them. Thread-safety: as any value handle.
class PByteArray : public PIMemory {
public:
    PByteArray();
    explicit PByteArray(unsigned long size);
    PByteArray(unsigned char value, unsigned long size);
    PByteArray(const unsigned char* bytes, unsigned long size);
    PByteArray(const char* text);
    explicit PByteArray(const std::string& bytes);
    PByteArray(const PByteArray&) = default;
    PByteArray(PByteArray&&) noexcept = default;
    PByteArray& operator=(const PByteArray&) = default;
    PByteArray& operator=(PByteArray&&) noexcept = default;
    ~PByteArray() override = default;

    int mitype() const override { return 7; }
    unsigned char* data() override;
    const unsigned char* data() const override { return d->data; }
    unsigned long size() const override { return d->size; }
    virtual const unsigned char* constData() const { return d->data; }
    // The bytes as chars, zero-terminated; "" for an empty array.
    const char* constChars() const;
    bool isEmpty() const { return d->size == 0; }
    std::string toStdString() const;

    unsigned char* operator*() { return data(); }
    unsigned char& operator[](const unsigned long& index);
    const unsigned char& operator[](const unsigned long& index) const;

    // Writes one byte; an index at or beyond size() is ignored.
    void set(unsigned long index, unsigned char value);
    void zero();
    // Appends; the block is reallocated to the exact new size.
    PByteArray& add(const unsigned char* bytes, unsigned long count);
    PByteArray& operator+=(const PByteArray& other);
    void clear();

    // Upper-case hexadecimal, two digits a byte, no separator; the argument takes no part.
    PByteArray toHex(int options = 0) const;
    // Base64 text without line breaks; the argument takes no part.
    PByteArray toBase64(int options = 0) const;

    // Compares contents.
    friend bool operator==(const PByteArray& a, const PByteArray& b);
    friend bool operator!=(const PByteArray& a, const PByteArray& b) { return !(a == b); }

private:
    PSharedDataPtr<PByteArrayPrivate> d;
};
