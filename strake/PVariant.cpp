// PVariant: construction, conversions and comparison; PString's positional formatting.
#include "PVariant.h"

#include "StrakeText.h"

#include <cstdlib>
#include <cstring>

PVariant::PVariant() = default;

PVariant::PVariant(int type, int64_t value)
{
    PVariantPrivate* record = &d;
    record->type = type;
    record->value = value;
}

PVariant::PVariant(bool v) : PVariant(Bool, v ? 1 : 0) {}
PVariant::PVariant(char v) : PVariant(Char, static_cast<int64_t>(static_cast<signed char>(v))) {}
PVariant::PVariant(short v) : PVariant(Short, v) {}
PVariant::PVariant(int v) : PVariant(Int, v) {}
PVariant::PVariant(long v) : PVariant(Long, static_cast<int64_t>(v)) {}
PVariant::PVariant(long long v) : PVariant(LongLong, static_cast<int64_t>(v)) {}
PVariant::PVariant(unsigned char v) : PVariant(UChar, v) {}
PVariant::PVariant(unsigned short v) : PVariant(UShort, v) {}
PVariant::PVariant(unsigned int v) : PVariant(UInt, static_cast<int64_t>(v)) {}
PVariant::PVariant(unsigned long v) : PVariant(ULong, static_cast<int64_t>(v)) {}
PVariant::PVariant(unsigned long long v) : PVariant(ULong, static_cast<int64_t>(v)) {}

PVariant::PVariant(float v)
{
    PVariantPrivate* record = &d;
    record->type = Float;
    uint32_t bits;
    std::memcpy(&bits, &v, sizeof bits);
    record->value = bits;
}

PVariant::PVariant(double v)
{
    PVariantPrivate* record = &d;
    record->type = Double;
    std::memcpy(&record->value, &v, sizeof v);
}

PVariant::PVariant(const char* utf8)
{
    PVariantPrivate* record = &d;
    record->type = StdString;
    record->text = PString(utf8);
}

PVariant::PVariant(const std::string& utf8)
{
    PVariantPrivate* record = &d;
    record->type = StdString;
    record->text = PString(utf8);
}

PVariant::PVariant(const wchar_t* utf32)
{
    PVariantPrivate* record = &d;
    record->type = StdWString;
    record->text = PString(utf32);
}

PVariant::PVariant(const std::wstring& utf32)
{
    PVariantPrivate* record = &d;
    record->type = StdWString;
    record->text = PString(utf32);
}

PVariant::PVariant(const char16_t* utf16) : PVariant(PString(utf16)) {}

PVariant::PVariant(const PString& text)
{
    PVariantPrivate* record = &d;
    record->type = String;
    record->text = text;
}

PVariant::PVariant(const PByteArray& bytes)
{
    PVariantPrivate* record = &d;
    record->type = Bytes;
    record->bytes = bytes;
}

PVariant::PVariant(PByteArray&& bytes)
{
    PVariantPrivate* record = &d;
    record->type = Bytes;
    record->bytes = std::move(bytes);
}

PVariant::PVariant(const unsigned char* bytes, unsigned long size)
    : PVariant(PByteArray(bytes, size))
{
}

namespace {

float floatOf(int64_t value)
{
    uint32_t bits = static_cast<uint32_t>(value);
    float f;
    std::memcpy(&f, &bits, sizeof f);
    return f;
}

double doubleOf(int64_t value)
{
    double v;
    std::memcpy(&v, &value, sizeof v);
    return v;
}

// Truncation of a float to a whole number, without the undefined behaviour of an
// out-of-range cast: values beyond the range saturate, NaN gives 0.
long long truncated(double v)
{
    if (!(v == v))
        return 0;
    if (v >= 9223372036854775807.0)
        return 9223372036854775807LL;
    if (v <= -9223372036854775808.0)
        return static_cast<long long>(-9223372036854775807LL - 1);
    return static_cast<long long>(v);
}

void setOk(bool* ok, bool value)
{
    if (ok)
        *ok = value;
}

}

// The whole-number view shared by the integer conversions: whole numbers as they are,
// floats truncated, text by atoi; bytes and invalid give 0 and ok false.
static long long wholeValue(const PVariantPrivate& v, bool* ok)
{
    const int cls = v.type & 0xF00;
    if (cls == PVariant::WholeClass) {
        setOk(ok, true);
        return v.value;
    }
    if (cls == PVariant::FloatClass) {
        setOk(ok, true);
        return truncated(v.type == PVariant::Float ? floatOf(v.value) : doubleOf(v.value));
    }
    if (cls == PVariant::TextClass) {
        setOk(ok, true);
        return std::atoi(v.text.toStdString().c_str());
    }
    setOk(ok, false);
    return 0;
}

int PVariant::toInt(bool* ok) const
{
    return static_cast<int>(static_cast<uint32_t>(wholeValue(d, ok)));
}

short PVariant::toShort(bool* ok) const
{
    return static_cast<short>(static_cast<uint16_t>(wholeValue(d, ok)));
}

unsigned short PVariant::toUShort(bool* ok) const
{
    return static_cast<unsigned short>(wholeValue(d, ok));
}

unsigned int PVariant::toUInt(bool* ok) const
{
    return static_cast<unsigned int>(wholeValue(d, ok));
}

long PVariant::toLong(bool* ok) const
{
    return static_cast<long>(wholeValue(d, ok));
}

unsigned long PVariant::toULong(bool* ok) const
{
    return static_cast<unsigned long>(wholeValue(d, ok));
}

long long PVariant::toLongLong(bool* ok) const
{
    return wholeValue(d, ok);
}

unsigned long long PVariant::toULongLong(bool* ok) const
{
    return static_cast<unsigned long long>(wholeValue(d, ok));
}

char PVariant::toChar(bool* ok) const
{
    return static_cast<char>(toUChar(ok));
}

unsigned char PVariant::toUChar(bool* ok) const
{
    if ((d.type & 0xF00) == WholeClass) {
        setOk(ok, true);
        return static_cast<unsigned char>(d.value);
    }
    setOk(ok, false);
    return 0;
}

double PVariant::toDouble(bool* ok) const
{
    const int cls = d.type & 0xF00;
    if (cls == WholeClass) {
        setOk(ok, true);
        if (d.type == ULong)
            return static_cast<double>(static_cast<unsigned long long>(d.value));
        return static_cast<double>(d.value);
    }
    if (cls == FloatClass) {
        setOk(ok, true);
        return d.type == Float ? floatOf(d.value) : doubleOf(d.value);
    }
    if (cls == TextClass) {
        setOk(ok, true);
        return std::atof(d.text.toStdString().c_str());
    }
    setOk(ok, false);
    return 0;
}

float PVariant::toFloat(bool* ok) const
{
    return static_cast<float>(toDouble(ok));
}

bool PVariant::toBool(bool* ok) const
{
    const int cls = d.type & 0xF00;
    if (cls == WholeClass) {
        setOk(ok, true);
        return d.value != 0;
    }
    if (cls == FloatClass) {
        setOk(ok, true);
        return toDouble() > 0;
    }
    if (cls == TextClass) {
        setOk(ok, true);
        const PString lower = d.text.lowerCased();
        if (lower == PString("true"))
            return true;
        if (lower == PString("false"))
            return false;
        return toInt() > 0;
    }
    setOk(ok, false);
    return false;
}

std::string PVariant::toStdString() const
{
    switch (d.type) {
    case Invalid:
        return std::string();
    case Bool:
        return d.value ? "true" : "false";
    case Char:
        return std::string(1, static_cast<char>(d.value));
    case ULong:
        return std::to_string(static_cast<unsigned long long>(d.value));
    case Float:
        return strake::t2s<char>(floatOf(d.value));
    case Double:
        return strake::t2s<char>(doubleOf(d.value));
    case Bytes:
        return d.bytes.toStdString();
    default:
        break;
    }
    if ((d.type & 0xF00) == TextClass)
        return d.text.toStdString();
    return std::to_string(static_cast<long long>(d.value));
}

std::wstring PVariant::toStdWString() const
{
    if ((d.type & 0xF00) == TextClass)
        return d.text.toStdWString();
    // Bytes are read as UTF-8, everything else has an ASCII or UTF-8 text form.
    return strake::str2wstr(toStdString());
}

PString PVariant::toPString() const
{
    if ((d.type & 0xF00) == TextClass)
        return d.text;
    if (d.type == Bytes) {
        const unsigned long units = d.bytes.size() / 2;
        std::u16string text(units, u'\0');
        if (units > 0)
            std::memcpy(&text[0], d.bytes.constData(), units * 2);
        return PString(text);
    }
    return PString(toStdWString());
}

PByteArray PVariant::toByteArray() const
{
    auto bytesOf = [](const void* value, unsigned long size) {
        return PByteArray(static_cast<const unsigned char*>(value), size);
    };
    const int64_t value = d.value;
    switch (d.type) {
    case Bytes:
        return d.bytes;
    case StdString:
        return PByteArray(d.text.toStdString());
    case StdWString:
    case String: {
        const std::wstring wide = d.text.toStdWString();
        std::string out;
        for (wchar_t c : wide) {
            uint32_t unit = static_cast<uint32_t>(c);
            out.append(reinterpret_cast<const char*>(&unit), 4);
        }
        return PByteArray(out);
    }
    case Bool:
    case Char:
    case UChar: {
        uint8_t v = static_cast<uint8_t>(value);
        return bytesOf(&v, 1);
    }
    case Short:
    case UShort: {
        uint16_t v = static_cast<uint16_t>(value);
        return bytesOf(&v, 2);
    }
    case Int:
    case Long:
    case UInt:
    case Float: {
        uint32_t v = static_cast<uint32_t>(value);
        return bytesOf(&v, 4);
    }
    case LongLong:
    case ULong:
    case Double:
        return bytesOf(&value, 8);
    default:
        return PByteArray();
    }
}

bool operator==(const PVariant& a, const PVariant& b)
{
    const PVariantPrivate& x = a.d;
    const PVariantPrivate& y = b.d;
    if (x.type != y.type)
        return a.toPString() == b.toPString();
    switch (x.type & 0xF00) {
    case PVariant::WholeClass:
        return x.value == y.value;
    case PVariant::FloatClass:
        return a.toDouble() == b.toDouble();
    case PVariant::TextClass:
        return x.text == y.text;
    case PVariant::BytesClass:
        return x.bytes == y.bytes;
    default:
        return true;  // two invalid values
    }
}

PString PString::format(const std::vector<PVariant>& args, FormaterOptions) const
{
    if (args.empty())
        return *this;
    std::vector<std::u16string> values;
    values.reserve(args.size());
    for (const auto& value : args)
        values.push_back(value.toPString().toTavrelString());

    std::u16string text = d->text;
    size_t i = 0;
    while (i + 1 < text.size()) {
        if (text[i] != u'%') {
            ++i;
            continue;
        }
        const char16_t next = text[i + 1];
        if (next == u'%') {
            text.erase(i, 1);
            i += 1;
        } else if (next >= u'1' && next <= u'9') {
            const size_t n = size_t(next - u'0');
            if (n <= values.size()) {
                const std::u16string& value = values[n - 1];
                text.replace(i, 2, value);
                // The scan resumes at the last unit of what was inserted.
                i += value.empty() ? 0 : value.size() - 1;
            } else {
                i += 1;
            }
        } else {
            i += 1;
        }
    }
    return fromUnits(std::move(text));
}

PString PString::arg(const PVariant& value, FormaterOptions options) const
{
    return format(std::vector<PVariant>{value}, options);
}
