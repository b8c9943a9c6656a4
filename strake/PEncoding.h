// Code pages: the encoding registry, PEncoding for one code page, the Vietnamese encoders.
#pragma once

#include "PSharedDataPtr.h"

#include <map>
#include <string>
#include <vector>

// One row of the encoding registry.
struct PEncodingPrivate {
    int id = 0;           // the key of the encoding
    std::string name;     // its name
    int codePage = 0;     // a code page number
    std::string javaName; // the charset name of the converter; empty for the Vietnamese ones
    std::string altName;  // a second name, kept for reference only
};

// Turns text into bytes and bytes into text for one code page.
//
// The code pages of the registry (CP775, CP866, CP1251, CP1257, CP1258, CP20127 i.e. US-ASCII,
// KOI8-R, UTF-8) are converted in process by built-in tables, without Java or the JNI lock,
// so decoding may run on any reader thread.
// - encode: a character the code page has no byte for becomes "?" (0x3F); for UTF-8 an
//   element that is no Unicode scalar value (a surrogate, above U+10FFFF) is dropped.
// - decode: a byte the code page leaves undefined becomes U+FFFD; for UTF-8 an invalid
//   sequence is dropped and decoding goes on with the next byte.
// Neither direction fails, and both take time linear in the input.
//
// Thread-safety: the tables are immutable; all operations are const and may run on any number
// of threads at once. One object must not be assigned while another thread uses it.
class PEncoding {
public:
    PEncoding();
    explicit PEncoding(const PEncodingPrivate& row);
    virtual ~PEncoding();

    // True when id is above 0 and the row names a converter (javaName not empty).
    virtual bool canEncode(const std::wstring& text) const;
    virtual bool canDecode(const std::string& data) const;
    // The bytes of text in this code page. Throws an int of value 1 when canEncode is false;
    // a converter name that no built-in table knows gives the empty result.
    virtual std::string encode(const std::wstring& text) const;
    // The text of data (UTF-32 elements). Empty data, a row that cannot decode or an unknown
    // converter name give the empty text.
    virtual std::wstring decode(const std::string& data) const;

    // The forms used by the system: the encoding of that registry id, or the empty result for
    // an id outside the registry, for id 0 and for decoding with a Vietnamese table. Never throw.
    static std::string encode(const std::wstring& text, int id);
    static std::wstring decode(const std::string& data, int id);

    int id() const;
    std::string name() const;
    int codePage() const;
    std::string javaName() const;
    std::string altName() const;

protected:
    PSharedDataPtr<PEncodingPrivate> d;
};

// The Vietnamese encodings: text to bytes by table only. canEncode is always true, canDecode
// always false, decode gives the empty text. A character outside the table and above 127
// becomes "?".
#define P_VIETNAMESE_ENCODING(Class)                                                               \
    class Class : public PEncoding {                                                               \
    public:                                                                                        \
        explicit Class(const PEncodingPrivate& row) : PEncoding(row) {}                            \
        bool canEncode(const std::wstring& text) const override;                                  \
        bool canDecode(const std::string& data) const override;                                   \
        std::string encode(const std::wstring& text) const override;                              \
        std::wstring decode(const std::string& data) const override;                              \
    };
P_VIETNAMESE_ENCODING(PVNI)
P_VIETNAMESE_ENCODING(PVNIShort)
P_VIETNAMESE_ENCODING(PVPS)
P_VIETNAMESE_ENCODING(PTCVN3)
P_VIETNAMESE_ENCODING(PTCVN3Short)
P_VIETNAMESE_ENCODING(PTCVN3Low)
P_VIETNAMESE_ENCODING(PVISCII)
P_VIETNAMESE_ENCODING(PVILAT)
#undef P_VIETNAMESE_ENCODING

// The registry of encodings: 17 rows keyed by id. Immutable and shared by every factory, so a
// factory is cheap to make and safe to use from any thread.
class PEncodingFactory {
public:
    PEncodingFactory();
    virtual ~PEncodingFactory();

    // The rows in order of id.
    virtual std::vector<PEncodingPrivate> encodings() const;
    virtual bool hasEncoding(const int& id) const;
    // A new object owned by the caller (delete it), or null for an id outside the registry.
    // The Vietnamese ids give their classes, the others a plain PEncoding with their row.
    virtual PEncoding* create(const int& id) const;
    // Encodings are not looked up by name: always null.
    virtual PEncoding* create(const std::string& name) const;

private:
    const std::map<int, PEncodingPrivate>* m_rows; // the process-wide registry, never freed
};

namespace strake {

// Text to bytes by a table: an element up to 127 is that byte, another one the bytes of its
// row, or "?" without a row. Pure functions, safe on any thread.
std::string unicode2codepage(const std::wstring& text, const std::map<wchar_t, std::string>& table);
std::string unicode2tcvn3(const std::wstring& text);
std::string unicode2tcvn3short(const std::wstring& text);
// As unicode2tcvn3, with the letters up to 127 lowered too, so all the result is lower case.
std::string unicode2tcvn3low(const std::wstring& text);
std::string unicode2vni(const std::wstring& text);
std::string unicode2vnishort(const std::wstring& text);
std::string unicode2vps(const std::wstring& text);
std::string unicode2viscii(const std::wstring& text);
std::string unicode2vilat(const std::wstring& text);

}
