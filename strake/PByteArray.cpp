// PByteArray: bytes with a terminating zero, on a shared record.
#include "PByteArray.h"

#include "StrakeText.h"

#include <cstring>

PByteArrayPrivate::PByteArrayPrivate(const PByteArrayPrivate& other)
{
    assign(other.data, other.size);
}

PByteArrayPrivate::PByteArrayPrivate(PByteArrayPrivate&& other) noexcept : size(other.size)
{
    if (other.data == other.inlineBlock) {
        std::memcpy(inlineBlock, other.inlineBlock, size + 1);
        data = inlineBlock;
    } else {
        data = other.data;
    }
    other.data = nullptr;
    other.size = 0;
}

PByteArrayPrivate::~PByteArrayPrivate()
{
    if (data != inlineBlock)
        delete[] data;
}

unsigned char* PByteArrayPrivate::blockFor(unsigned long count)
{
    if (count < InlineSize && data != inlineBlock)
        return inlineBlock;
    return new unsigned char[count + 1];
}

void PByteArrayPrivate::adopt(unsigned char* block, unsigned long count)
{
    if (data != inlineBlock && data != block)
        delete[] data;
    data = block;
    size = count;
}

void PByteArrayPrivate::assign(const unsigned char* bytes, unsigned long count)
{
    unsigned char* block = nullptr;
    if (count > 0) {
        block = blockFor(count);
        if (bytes)
            std::memcpy(block, bytes, count);
        else
            std::memset(block, 0, count);
        block[count] = 0;
    }
    adopt(block, count);
}

PByteArray::PByteArray() = default;

PByteArray::PByteArray(unsigned long size)
{
    d->assign(nullptr, size);
}

PByteArray::PByteArray(unsigned char value, unsigned long size)
{
    d->assign(nullptr, size);
    if (size > 0)
        std::memset(d->data, value, size);
}

PByteArray::PByteArray(const unsigned char* bytes, unsigned long size)
{
    if (bytes)
        d->assign(bytes, size);
}

PByteArray::PByteArray(const char* text)
{
    if (text)
        d->assign(reinterpret_cast<const unsigned char*>(text), std::strlen(text));
}

PByteArray::PByteArray(const std::string& bytes)
{
    d->assign(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
}

unsigned char* PByteArray::data()
{
    return d->data;
}

const char* PByteArray::constChars() const
{
    return d->data ? reinterpret_cast<const char*>(d->data) : "";
}

std::string PByteArray::toStdString() const
{
    return std::string(constChars(), d->size);
}

unsigned char& PByteArray::operator[](const unsigned long& index)
{
    return d->data[index];
}

const unsigned char& PByteArray::operator[](const unsigned long& index) const
{
    return d->data[index];
}

void PByteArray::set(unsigned long index, unsigned char value)
{
    if (index < d->size)
        d->data[index] = value;
}

void PByteArray::zero()
{
    if (d->size > 0)
        std::memset(d->data, 0, d->size);
}

PByteArray& PByteArray::add(const unsigned char* bytes, unsigned long count)
{
    if (!bytes || count == 0)
        return *this;
    PByteArrayPrivate* record = d.data();
    const unsigned long oldSize = record->size;
    const unsigned long newSize = oldSize + count;
    if (newSize < PByteArrayPrivate::InlineSize && record->data == record->inlineBlock) {
        // Grows in place; a source inside the block lies before the bytes written.
        std::memmove(record->inlineBlock + oldSize, bytes, count);
        record->inlineBlock[newSize] = 0;
        record->size = newSize;
        return *this;
    }
    unsigned char* block = record->blockFor(newSize);
    if (oldSize > 0)
        std::memcpy(block, record->data, oldSize);
    // The source may lie inside this array's own block: copy before the old block goes.
    std::memcpy(block + oldSize, bytes, count);
    block[newSize] = 0;
    record->adopt(block, newSize);
    return *this;
}

PByteArray& PByteArray::operator+=(const PByteArray& other)
{
    if (other.size() == 0)
        return *this;
    PByteArray keep(other);  // keeps the source alive when it shares this record
    return add(keep.constData(), keep.size());
}

void PByteArray::clear()
{
    *this = PByteArray();
}

PByteArray PByteArray::toHex(int) const
{
    return PByteArray(strake::string2hex(d->data, d->size));
}

PByteArray PByteArray::toBase64(int) const
{
    return PByteArray(strake::base64_encode(d->data, d->size));
}

bool operator==(const PByteArray& a, const PByteArray& b)
{
    if (a.size() != b.size())
        return false;
    return a.size() == 0 || std::memcmp(a.constData(), b.constData(), a.size()) == 0;
}
