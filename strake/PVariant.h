// PVariant: the library's immutable typed value.
#pragma once

#include "PByteArray.h"
#include "PString.h"

#include <cstdint>
#include <string>

struct PVariantPrivate {
    int type = 0;
    int64_t value = 0;
    PByteArray bytes;
    PString text;
};

// An immutable value: invalid, bool, an integer width, float, double, text or bytes.
// Copies share the text or bytes; a value may be read on any thread.
class PVariant {
public:
    enum Type : int {
        Invalid = 0,
        Bool = 0x101,
        Char = 0x102,
        Short = 0x104,
        Int = 0x106,
        Long = 0x108,
        LongLong = 0x10A,
        UChar = 0x10C,
        UShort = 0x10D,
        UInt = 0x10E,
        ULong = 0x10F,
        Float = 0x201,
        Double = 0x202,
        StdString = 0x401,
        StdWString = 0x402,
        String = 0x403,
        Bytes = 0x801,
    };
    enum TypeClass : int { WholeClass = 0x100, FloatClass = 0x200, TextClass = 0x400, BytesClass = 0x800 };

    PVariant();
    PVariant(bool v);
    PVariant(char v);
    PVariant(short v);
    PVariant(int v);
    PVariant(long v);
    PVariant(long long v);
    PVariant(unsigned char v);
    PVariant(unsigned short v);
    PVariant(unsigned int v);
    PVariant(unsigned long v);
    PVariant(unsigned long long v);
    PVariant(float v);
    PVariant(double v);
    PVariant(const char* utf8);
    PVariant(const std::string& utf8);
    PVariant(const wchar_t* utf32);
    PVariant(const std::wstring& utf32);
    PVariant(const char16_t* utf16);
    PVariant(const PString& text);
    PVariant(const PByteArray& bytes);
    PVariant(PByteArray&& bytes);
    PVariant(const unsigned char* bytes, unsigned long size);

    int type() const { return d.type; }
    bool isValid() const { return d.type != Invalid; }
    bool isText() const { return (d.type & TextClass) != 0; }

    int toInt(bool* ok = nullptr) const;
    short toShort(bool* ok = nullptr) const;
    unsigned short toUShort(bool* ok = nullptr) const;
    unsigned short toWord(bool* ok = nullptr) const { return toUShort(ok); }
    unsigned int toUInt(bool* ok = nullptr) const;
    unsigned int toDWord(bool* ok = nullptr) const { return toUInt(ok); }
    long toLong(bool* ok = nullptr) const;
    unsigned long toULong(bool* ok = nullptr) const;
    long long toLongLong(bool* ok = nullptr) const;
    unsigned long long toULongLong(bool* ok = nullptr) const;
    unsigned long long toQWord(bool* ok = nullptr) const { return toULongLong(ok); }
    char toChar(bool* ok = nullptr) const;
    unsigned char toUChar(bool* ok = nullptr) const;
    unsigned char toByte(bool* ok = nullptr) const { return toUChar(ok); }
    float toFloat(bool* ok = nullptr) const;
    double toDouble(bool* ok = nullptr) const;
    bool toBool(bool* ok = nullptr) const;

    std::string toStdString() const;
    std::wstring toStdWString() const;
    PString toPString() const;
    PByteArray toByteArray() const;
    // The bytes a Bytes value holds, without a copy: valid while this value lives; null for
    // any other type.
    const PByteArray* bytesOf() const { return d.type == Bytes ? &d.bytes : nullptr; }
    // The text a text value holds, likewise; null for any other type.
    const PString* textOf() const { return (d.type & 0xF00) == TextClass ? &d.text : nullptr; }

    friend bool operator==(const PVariant& a, const PVariant& b);
    friend bool operator!=(const PVariant& a, const PVariant& b) { return !(a == b); }

private:
    PVariant(int type, int64_t value);
    // Held in place: a value costs no allocation of its own, and a copy shares the text or
    // bytes it holds. Written only by the constructors.
    PVariantPrivate d;
};
