// PString: construction from every text encoding, search, edit and split.
#include "PString.h"

#include "StrakeText.h"

#include <cstring>
#include <cwchar>
#include <stdexcept>

namespace {

template <class C>
unsigned long lengthOf(const C* text, unsigned long n)
{
    if (n != 0)
        return n;
    unsigned long length = 0;
    while (text[length] != 0)
        ++length;
    return length;
}

char16_t asciiUpper(char16_t c)
{
    return c >= u'a' && c <= u'z' ? char16_t(c - 32) : c;
}

char16_t asciiLower(char16_t c)
{
    return c >= u'A' && c <= u'Z' ? char16_t(c + 32) : c;
}

}

PString::PString() = default;

PString::PString(const char* utf8, unsigned long n)
{
    if (utf8)
        d->text = strake::str2_tavrelstr(utf8, utf8 + lengthOf(utf8, n));
}

PString::PString(const std::string& utf8)
{
    d->text = strake::str2_tavrelstr(utf8);
}

PString::PString(const wchar_t* utf32, unsigned long n)
{
    if (utf32)
        d->text = strake::wstr2_tavrelstr(utf32, utf32 + lengthOf(utf32, n));
}

PString::PString(const std::wstring& utf32)
{
    d->text = strake::wstr2_tavrelstr(utf32);
}

PString::PString(const char16_t* utf16, unsigned long n)
{
    if (utf16)
        d->text = strake::utf16Cleaned(utf16, utf16 + lengthOf(utf16, n));
}

PString::PString(const std::u16string& utf16)
{
    d->text = strake::utf16Cleaned(utf16.data(), utf16.data() + utf16.size());
}

PString::PString(std::u16string&& utf16)
{
    const char16_t* begin = utf16.data();
    std::u16string cleaned = strake::utf16Cleaned(begin, begin + utf16.size());
    d->text = cleaned.size() == utf16.size() ? std::move(utf16) : std::move(cleaned);
}

PString::PString(unsigned long count, char16_t unit)
{
    d->text.assign(count, unit);
}

PString::PString(unsigned long count, char ch)
{
    d->text.assign(count, char16_t(static_cast<unsigned char>(ch)));
}


PString PString::fromUnits(std::u16string&& units)
{
    PString result;
    result.d->text = std::move(units);
    return result;
}

std::string PString::toStdString() const
{
    return strake::_tavrelstr2str(d->text);
}

std::wstring PString::toStdWString() const
{
    return strake::_tavrelstr2wstr(d->text);
}

PString& PString::operator+=(const PString& other)
{
    if (!other.d->text.empty()) {
        // Appending a string to itself must read before the detach changes the record.
        std::u16string tail = other.d->text;
        d->text += tail;
    }
    return *this;
}

char16_t& PString::operator[](int index)
{
    return d->text[static_cast<size_t>(index)];
}

const char16_t& PString::operator[](int index) const
{
    return d->text[static_cast<size_t>(index)];
}

char16_t& PString::at(int index)
{
    if (index < 0)
        throw std::out_of_range("PString::at");
    return d->text.at(static_cast<size_t>(index));
}

const char16_t& PString::at(int index) const
{
    if (index < 0)
        throw std::out_of_range("PString::at");
    return d->text.at(static_cast<size_t>(index));
}

std::u16string::iterator PString::begin()
{
    return d->text.begin();
}

std::u16string::iterator PString::end()
{
    return d->text.end();
}

std::u16string::reverse_iterator PString::rbegin()
{
    return d->text.rbegin();
}

std::u16string::reverse_iterator PString::rend()
{
    return d->text.rend();
}

int PString::find(const PString& what, int from) const
{
    if (from < 0)
        from = 0;
    size_t at = d->text.find(what.d->text, static_cast<size_t>(from));
    return at == std::u16string::npos ? -1 : static_cast<int>(at);
}

int PString::rfind(const PString& what, int) const
{
    size_t at = d->text.rfind(what.d->text);
    return at == std::u16string::npos ? -1 : static_cast<int>(at);
}

PString PString::substr(unsigned long position, unsigned long count) const
{
    return fromUnits(d->text.substr(position, count));
}

bool PString::endsWith(const PString& tail) const
{
    const auto& text = d->text;
    const auto& end = tail.d->text;
    if (text.empty() || end.empty() || text.size() <= end.size())
        return false;
    return text.compare(text.size() - end.size(), end.size(), end) == 0;
}

bool PString::startsWith(const PString& head) const
{
    const auto& text = d->text;
    const auto& start = head.d->text;
    if (start.empty() || text.size() < start.size())
        return false;
    return text.compare(0, start.size(), start) == 0;
}

PString& PString::replace(const PString& from, const PString& to)
{
    const std::u16string needle = from.d->text;
    const std::u16string replacement = to.d->text;
    if (needle.empty() || d->text.find(needle) == std::u16string::npos)
        return *this;
    // Resuming one unit after the start would find the needle inside the replacement
    // again and again; then the scan goes on behind the inserted text.
    const bool selfFeeding = replacement.find(needle, 1) != std::u16string::npos;
    std::u16string& text = d->text;
    size_t at = text.find(needle);
    while (at != std::u16string::npos) {
        text.replace(at, needle.size(), replacement);
        at = text.find(needle, selfFeeding ? at + replacement.size() : at + 1);
    }
    return *this;
}

PString& PString::remove(const PString& s, int from, int count)
{
    const std::u16string needle = s.d->text;
    if (needle.empty() || count == 0 || d->text.find(needle, from < 0 ? 0 : size_t(from)) == std::u16string::npos)
        return *this;
    std::u16string& text = d->text;
    size_t at = text.find(needle, from < 0 ? 0 : size_t(from));
    int removed = 0;
    while (at != std::u16string::npos && (count < 0 || removed < count)) {
        text.erase(at, needle.size());
        ++removed;
        at = text.find(needle, at);
    }
    return *this;
}

PString& PString::trim()
{
    const auto& text = d->text;
    size_t first = 0;
    size_t last = text.size();
    while (first < last && strake::isSpaceChar<char16_t>(text[first]))
        ++first;
    while (last > first && strake::isSpaceChar<char16_t>(text[last - 1]))
        --last;
    if (first != 0 || last != text.size())
        d->text = text.substr(first, last - first);
    return *this;
}

PString PString::trimed() const
{
    return fromUnits(strake::trimed(d->text));
}

PString PString::trimedLeft() const
{
    const auto& text = d->text;
    size_t first = 0;
    while (first < text.size() && strake::isSpaceChar<char16_t>(text[first]))
        ++first;
    return fromUnits(text.substr(first));
}

PString PString::trimedRight() const
{
    const auto& text = d->text;
    size_t last = text.size();
    while (last > 0 && strake::isSpaceChar<char16_t>(text[last - 1]))
        --last;
    return fromUnits(text.substr(0, last));
}

PString PString::upperCased() const
{
    std::u16string text = d->text;
    for (auto& c : text)
        c = asciiUpper(c);
    return fromUnits(std::move(text));
}

PString PString::lowerCased() const
{
    std::u16string text = d->text;
    for (auto& c : text)
        c = asciiLower(c);
    return fromUnits(std::move(text));
}

PString PString::capitalized() const
{
    std::u16string text = d->text;
    if (!text.empty())
        text[0] = asciiUpper(text[0]);
    return fromUnits(std::move(text));
}

std::vector<PString> PString::split(char16_t separator) const
{
    std::vector<PString> result;
    for (auto& piece : strake::split<char16_t>(d->text, separator))
        result.push_back(fromUnits(std::move(piece)));
    return result;
}

std::vector<PString> PString::split(const PString& separator, bool keepTail) const
{
    std::vector<PString> result;
    for (auto& piece : strake::split<char16_t>(d->text, separator.d->text, keepTail))
        result.push_back(fromUnits(std::move(piece)));
    return result;
}

size_t PString::hash() const
{
    // Over the units themselves: equal texts have equal units, and no conversion is made on
    // every look-up of an event's or a bag's key.
    return std::hash<std::u16string>()(d->text);
}

PString operator+(const PString& a, const PString& b)
{
    PString result(a);
    result += b;
    return result;
}
