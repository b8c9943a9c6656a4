// PByteArray: bytes with a terminating zero, on a shared record.
#include "PByteArray.h"

#include "StrakeText.h"

#include <cstring>

PIMemory::~PIMemory() = default;

PByteArrayPrivate::PByteArrayPrivate(const PByteArrayPrivate& other)
{
    assign(other.data, other.size);
}

PByteArrayPrivate::PByteArrayPrivate(PByteArrayPrivate&& other) noexcept
    : data(other.data), size(other.size)
{
    other.data = nullptr;
    other.size = 0;
}

PByteArrayPrivate::~PByteArrayPrivate()
{
    delete[] data;
}

void PByteArrayPrivate::assign(const unsigned char* bytes, unsigned long count)
{
    unsigned char* block = nullptr;
    if (count > 0) {
        block = new unsigned char[count + 1];
        if (bytes)
            std::memcpy(block, bytes, count);
        else
            std::memset(block, 0, count);
        block[count] = 0;
    }
    delete[] data;
    data = block;
    size = count;
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

PByteArray::~PByteArray() = default;

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
    const unsigned long oldSize = d->size;
    auto* block = new unsigned char[oldSize + count + 1];
    if (oldSize > 0)
        std::memcpy(block, d->data, oldSize);
    // The source may lie inside this array's own block: copy before the old block goes.
    std::memcpy(block + oldSize, bytes, count);
    block[oldSize + count] = 0;
    PByteArrayPrivate* record = d.data();
    delete[] record->data;
    record->data = block;
    record->size = oldSize + count;
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
