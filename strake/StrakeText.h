// Free text helpers of the strake namespace: encoding conversions, splitting, trimming,
// hexadecimal and Base64 forms, printf-style formatting.
#pragma once

#include <cctype>
#include <sstream>
#include <string>
#include <vector>

namespace strake {

// Conversions between UTF-8 (std::string), UTF-32 (std::wstring) and UTF-16 (std::u16string).
// Invalid sequences are dropped and the conversion goes on; none of them fails.
std::string wstr2str(const std::wstring& s);
std::wstring str2wstr(const std::string& s);
std::string _tavrelstr2str(const std::u16string& s);
std::u16string str2_tavrelstr(const std::string& s);
std::wstring _tavrelstr2wstr(const std::u16string& s);
std::u16string wstr2_tavrelstr(const std::wstring& s);
std::u16string str2_tavrelstr(const char* begin, const char* end);
std::u16string wstr2_tavrelstr(const wchar_t* begin, const wchar_t* end);
std::u16string utf16Cleaned(const char16_t* begin, const char16_t* end);

// Case mapping of the default locale's ctype facet, element by element.
std::string tolower(const std::string& s);
std::string toupper(const std::string& s);
std::wstring tolower(const std::wstring& s);
std::wstring toupper(const std::wstring& s);

// printf-style formatting into a string of the exact length.
std::string format(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

// The text of a value by the stream insertion operator with default flags.
template <class C, class T>
std::basic_string<C> t2s(const T& value)
{
    std::basic_ostringstream<C> out;
    out << value;
    return out.str();
}

template <class C>
bool isSpaceChar(C c);
template <>
inline bool isSpaceChar<char>(char c)
{
    return c == 0 || std::isspace(static_cast<unsigned char>(c));
}
template <>
inline bool isSpaceChar<char16_t>(char16_t c)
{
    return c == 0 || c == 32 || c == 9 || c == 10 || c == 13;
}
template <>
inline bool isSpaceChar<wchar_t>(wchar_t c)
{
    return c == 0 || c == 32 || c == 9 || c == 10 || c == 13;
}

template <class C>
std::basic_string<C> trimed(const std::basic_string<C>& s)
{
    size_t first = 0;
    size_t last = s.size();
    while (first < last && isSpaceChar<C>(s[first]))
        ++first;
    while (last > first && isSpaceChar<C>(s[last - 1]))
        --last;
    return s.substr(first, last - first);
}

// Cuts at each separator. Pieces between two separators count even when empty; the rest
// behind the last separator is added only when it is not empty.
template <class C>
std::vector<std::basic_string<C>> split(const std::basic_string<C>& s, C separator)
{
    std::vector<std::basic_string<C>> pieces;
    size_t start = 0;
    for (size_t i = 0; i < s.size(); ++i) {
        if (s[i] == separator) {
            pieces.push_back(s.substr(start, i - start));
            start = i + 1;
        }
    }
    if (start < s.size())
        pieces.push_back(s.substr(start));
    return pieces;
}

// The same with a string separator, which must not be empty (an empty one gives no cut);
// the rest behind the last separator is added only with keepTail, and only when not empty.
template <class C>
std::vector<std::basic_string<C>> split(const std::basic_string<C>& s,
                                        const std::basic_string<C>& separator, bool keepTail)
{
    std::vector<std::basic_string<C>> pieces;
    if (separator.empty()) {
        if (keepTail && !s.empty())
            pieces.push_back(s);
        return pieces;
    }
    size_t start = 0;
    for (size_t at = s.find(separator); at != std::basic_string<C>::npos;
         at = s.find(separator, start)) {
        pieces.push_back(s.substr(start, at - start));
        start = at + separator.size();
    }
    if (keepTail && start < s.size())
        pieces.push_back(s.substr(start));
    return pieces;
}

// prefix + two upper-case hex digits + separator for each byte; empty for no data.
std::string string2hex(const void* data, unsigned long size, const std::string& separator = "",
                       const std::string& prefix = "");
std::string string2hex(const std::string& str, const std::string& separator = "",
                       const std::string& prefix = "");

// RFC 4648 Base64, standard alphabet, "=" padding, no line breaks.
std::string base64_encode(const void* data, const unsigned long& size);
std::string base64_encode(const std::string& raw);
// Lenient decoding: missing padding, "-" and "_" for "+" and "/", foreign characters skipped
// (the result keeps its computed length, zero-filled at the end). Never reads out of bounds.
std::string base64_decode(const char* text, const unsigned long& size);
std::string base64_decode(const std::string& text);
std::string raw2Base64(const std::string& raw);
std::string base642Raw(const std::string& text);

}
