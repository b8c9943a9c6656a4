// Text helpers of the strake namespace.
#include "StrakeText.h"

#include <boost/locale/encoding_utf.hpp>

#include <cstdarg>
#include <cstdio>
#include <locale>

namespace strake {

namespace {

using boost::locale::conv::utf_to_utf;
using boost::locale::conv::skip;

const char kHexDigits[] = "0123456789ABCDEF";
const char kBase64Alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Values of the lenient Base64 set ("-" and "_" stand for "+" and "/"); -1 for the rest.
struct Base64Values {
    signed char value[256];
    Base64Values()
    {
        for (int c = 0; c < 256; ++c)
            value[c] = -1;
        for (int i = 0; i < 64; ++i)
            value[static_cast<unsigned char>(kBase64Alphabet[i])] = static_cast<signed char>(i);
        value['-'] = 62;
        value['_'] = 63;
    }
};
const Base64Values kBase64Values;

inline int base64Value(unsigned char c)
{
    return kBase64Values.value[c];
}

template <class C>
std::basic_string<C> mapCase(const std::basic_string<C>& s, bool upper)
{
    const auto& facet = std::use_facet<std::ctype<C>>(std::locale());
    std::basic_string<C> result(s);
    for (auto& c : result)
        c = upper ? facet.toupper(c) : facet.tolower(c);
    return result;
}

}

std::string wstr2str(const std::wstring& s)
{
    return utf_to_utf<char>(s.data(), s.data() + s.size(), skip);
}

std::wstring str2wstr(const std::string& s)
{
    return utf_to_utf<wchar_t>(s.data(), s.data() + s.size(), skip);
}

std::string _tavrelstr2str(const std::u16string& s)
{
    return utf_to_utf<char>(s.data(), s.data() + s.size(), skip);
}

std::u16string str2_tavrelstr(const std::string& s)
{
    return str2_tavrelstr(s.data(), s.data() + s.size());
}

std::u16string str2_tavrelstr(const char* begin, const char* end)
{
    return utf_to_utf<char16_t>(begin, end, skip);
}

std::wstring _tavrelstr2wstr(const std::u16string& s)
{
    return utf_to_utf<wchar_t>(s.data(), s.data() + s.size(), skip);
}

std::u16string wstr2_tavrelstr(const std::wstring& s)
{
    return wstr2_tavrelstr(s.data(), s.data() + s.size());
}

std::u16string wstr2_tavrelstr(const wchar_t* begin, const wchar_t* end)
{
    return utf_to_utf<char16_t>(begin, end, skip);
}

std::u16string utf16Cleaned(const char16_t* begin, const char16_t* end)
{
    // Well-formed UTF-16 (the usual case) is taken as it is; lone surrogates are dropped.
    bool wellFormed = true;
    for (const char16_t* p = begin; p != end && wellFormed; ++p) {
        if (*p >= 0xD800 && *p <= 0xDBFF) {
            if (p + 1 != end && p[1] >= 0xDC00 && p[1] <= 0xDFFF)
                ++p;
            else
                wellFormed = false;
        } else if (*p >= 0xDC00 && *p <= 0xDFFF) {
            wellFormed = false;
        }
    }
    if (wellFormed)
        return std::u16string(begin, end);
    return utf_to_utf<char16_t>(begin, end, skip);
}

std::string tolower(const std::string& s)
{
    return mapCase(s, false);
}

std::string toupper(const std::string& s)
{
    return mapCase(s, true);
}

std::wstring tolower(const std::wstring& s)
{
    return mapCase(s, false);
}

std::wstring toupper(const std::wstring& s)
{
    return mapCase(s, true);
}

std::string format(const char* fmt, ...)
{
    if (!fmt)
        return std::string();
    va_list args;
    va_start(args, fmt);
    va_list measureArgs;
    va_copy(measureArgs, args);
    int length = std::vsnprintf(nullptr, 0, fmt, measureArgs);
    va_end(measureArgs);
    std::string result;
    if (length > 0) {
        result.resize(static_cast<size_t>(length));
        std::vsnprintf(&result[0], result.size() + 1, fmt, args);
    }
    va_end(args);
    return result;
}

std::string string2hex(const void* data, unsigned long size, const std::string& separator,
                       const std::string& prefix)
{
    std::string result;
    if (!data || size == 0)
        return result;
    result.reserve(size * (2 + separator.size() + prefix.size()));
    const auto* bytes = static_cast<const unsigned char*>(data);
    for (unsigned long i = 0; i < size; ++i) {
        result += prefix;
        result += kHexDigits[bytes[i] >> 4];
        result += kHexDigits[bytes[i] & 0x0F];
        result += separator;
    }
    return result;
}

std::string string2hex(const std::string& str, const std::string& separator, const std::string& prefix)
{
    return string2hex(str.data(), str.size(), separator, prefix);
}

std::string base64_encode(const void* data, const unsigned long& size)
{
    std::string out;
    if (!data || size == 0)
        return out;
    const auto* in = static_cast<const unsigned char*>(data);
    out.resize((size + 2) / 3 * 4);
    char* o = &out[0];
    unsigned long i = 0;
    for (; i + 3 <= size; i += 3) {
        unsigned v = (unsigned(in[i]) << 16) | (unsigned(in[i + 1]) << 8) | in[i + 2];
        *o++ = kBase64Alphabet[(v >> 18) & 63];
        *o++ = kBase64Alphabet[(v >> 12) & 63];
        *o++ = kBase64Alphabet[(v >> 6) & 63];
        *o++ = kBase64Alphabet[v & 63];
    }
    if (i < size) {
        unsigned v = unsigned(in[i]) << 16;
        if (i + 1 < size)
            v |= unsigned(in[i + 1]) << 8;
        *o++ = kBase64Alphabet[(v >> 18) & 63];
        *o++ = kBase64Alphabet[(v >> 12) & 63];
        *o++ = i + 1 < size ? kBase64Alphabet[(v >> 6) & 63] : '=';
        *o++ = '=';
    }
    return out;
}

std::string base64_encode(const std::string& raw)
{
    return base64_encode(raw.data(), raw.size());
}

std::string base64_decode(const char* text, const unsigned long& size)
{
    const unsigned long n = text ? size : 0;
    if (n == 0)
        return std::string();
    const auto* in = reinterpret_cast<const unsigned char*>(text);
    const bool pad1 = n % 4 != 0 || in[n - 1] == '=';
    const bool pad2 = pad1 && (n % 4 > 2 || (n >= 2 && in[n - 2] != '='));
    const unsigned long last = (n - (pad1 ? 1 : 0)) / 4 * 4;
    std::string out(last / 4 * 3 + (pad1 ? 1 : 0) + (pad2 ? 1 : 0), '\0');
    unsigned long written = 0;

    // A group is four adjacent characters of the accepted set; the window slides one
    // position at a time until it finds one.
    unsigned long i = 0;
    while (i + 4 <= last) {
        int a = base64Value(in[i]), b = base64Value(in[i + 1]);
        int c = base64Value(in[i + 2]), e = base64Value(in[i + 3]);
        if (a < 0 || b < 0 || c < 0 || e < 0) {
            ++i;
            continue;
        }
        unsigned v = (unsigned(a) << 18) | (unsigned(b) << 12) | (unsigned(c) << 6) | unsigned(e);
        out[written++] = char((v >> 16) & 0xFF);
        out[written++] = char((v >> 8) & 0xFF);
        out[written++] = char(v & 0xFF);
        i += 4;
    }
    // The tail is read at `last` whatever the groups consumed; positions beyond the text
    // count as zero bits.
    auto valueAt = [&](unsigned long pos) -> unsigned {
        if (pos >= n)
            return 0;
        int v = base64Value(in[pos]);
        return v < 0 ? 0u : unsigned(v);
    };
    if (pad1 && written < out.size()) {
        unsigned v = (valueAt(last) << 18) | (valueAt(last + 1) << 12);
        out[written++] = char((v >> 16) & 0xFF);
        if (pad2 && written < out.size()) {
            v |= valueAt(last + 2) << 6;
            out[written++] = char((v >> 8) & 0xFF);
        }
    }
    return out;
}

std::string base64_decode(const std::string& text)
{
    return base64_decode(text.data(), text.size());
}

std::string raw2Base64(const std::string& raw)
{
    return base64_encode(raw);
}

std::string base642Raw(const std::string& text)
{
    return base64_decode(text);
}

}
