// PString: the library's text value, UTF-16 units on a shared record.
#pragma once

#include "PSharedDataPtr.h"

#include <functional>
#include <string>
#include <vector>

class PVariant;

// Options of PString::format and PString::arg; they take no part in the result today.
enum class FormaterOptions : int { Default = 0 };

struct PStringPrivate {
    std::u16string text;
};

// Text as UTF-16 units. There is no null state: a default PString is empty. Construction
// never fails for content reasons: invalid UTF-8, UTF-16 or UTF-32 is dropped.
// Thread-safety: as any value handle (PSharedDataPtr.h).
class PString {
public:
    PString();
    // UTF-8. A null pointer gives the empty string; n 0 means up to the terminating NUL.
    PString(const char* utf8, unsigned long n = 0);
    PString(const std::string& utf8);
    // UTF-32, the platform's wchar_t; the same rule for n.
    PString(const wchar_t* utf32, unsigned long n = 0);
    PString(const std::wstring& utf32);
    // UTF-16; the same rule for n.
    PString(const char16_t* utf16, unsigned long n = 0);
    PString(const std::u16string& utf16);
    PString(std::u16string&& utf16);
    PString(unsigned long count, char16_t unit);
    PString(unsigned long count, char ch);
    PString(const PString&) = default;
    PString(PString&&) noexcept = default;
    PString& operator=(const PString&) = default;
    PString& operator=(PString&&) noexcept = default;
    ~PString() = default;

    unsigned long size() const { return d->text.size(); }
    bool isEmpty() const { return d->text.empty(); }
    bool empty() const { return d->text.empty(); }

    std::string toStdString() const;
    std::wstring toStdWString() const;
    const std::u16string& toTavrelString() const { return d->text; }
    // Zero-terminated units, valid while this handle is neither changed nor destroyed.
    const char16_t* utf16() const { return d->text.c_str(); }

    PString& operator+=(const PString& other);
    char16_t& operator[](int index);
    const char16_t& operator[](int index) const;
    // Throws std::out_of_range for an index at or beyond size().
    char16_t& at(int index);
    const char16_t& at(int index) const;

    std::u16string::iterator begin();
    std::u16string::iterator end();
    std::u16string::const_iterator begin() const { return d->text.begin(); }
    std::u16string::const_iterator end() const { return d->text.end(); }
    std::u16string::reverse_iterator rbegin();
    std::u16string::reverse_iterator rend();
    std::u16string::const_reverse_iterator rbegin() const { return d->text.rbegin(); }
    std::u16string::const_reverse_iterator rend() const { return d->text.rend(); }

    // Index of the first occurrence at or after from, or -1.
    int find(const PString& what, int from = 0) const;
    // Index of the last occurrence, or -1; the position takes no part.
    int rfind(const PString& what, int position = -1) const;
    bool contains(const PString& what) const { return find(what, 0) >= 0; }
    // Throws std::out_of_range for a position beyond size().
    PString substr(unsigned long position, unsigned long count = std::u16string::npos) const;
    // False for an empty string on either side and when this is not strictly longer.
    bool endsWith(const PString& tail) const;
    bool startsWith(const PString& head) const;

    // Replaces each occurrence in place, scanning forward; the scan resumes one unit after
    // the start of the replaced text. When `to` holds `from` anywhere but at its start that
    // scan would never end, so then it resumes behind the inserted text instead. An empty
    // `from` changes nothing.
    PString& replace(const PString& from, const PString& to);
    // Removes up to count occurrences of s at or after from; a negative count removes all.
    PString& remove(const PString& s, int from = 0, int count = -1);

    PString& trim();
    PString trimed() const;
    PString trimedLeft() const;
    PString trimedRight() const;
    PString upperCased() const;
    PString lowerCased() const;
    PString capitalized() const;

    std::vector<PString> split(char16_t separator) const;
    std::vector<PString> split(const PString& separator, bool keepTail) const;

    size_t hash() const;

    // "%1".."%9" replaced by the values' text, "%%" by "%"; see PVariant.cpp.
    PString format(const std::vector<PVariant>& args,
                   FormaterOptions options = FormaterOptions::Default) const;
    PString arg(const PVariant& value, FormaterOptions options = FormaterOptions::Default) const;

    friend bool operator==(const PString& a, const PString& b) { return a.d->text == b.d->text; }
    friend bool operator!=(const PString& a, const PString& b) { return a.d->text != b.d->text; }
    friend bool operator<(const PString& a, const PString& b) { return a.d->text < b.d->text; }
    friend bool operator>(const PString& a, const PString& b) { return b.d->text < a.d->text; }

    // Units taken as they are, for results cut from text that is already clean.
    static PString fromUnits(std::u16string&& units);

private:
    PSharedDataPtr<PStringPrivate> d;
};

PString operator+(const PString& a, const PString& b);

namespace std {
template <>
struct hash<PString> {
    size_t operator()(const PString& s) const { return s.hash(); }
};
}
