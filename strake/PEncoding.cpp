// PEncoding, the encoding registry and the Vietnamese encoders.
#include "PEncoding.h"

#include "PEncodingTables_p.h"
#include "StrakeText.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace {

using VietnameseMap = std::map<wchar_t, std::string>;

// Built once from the generated rows; the maps are the form unicode2codepage takes. The
// tables are never destroyed: a delivery may recode while the process ends.
const VietnameseMap& vietnameseTable(strake::PVietnameseTable which)
{
    static const std::vector<VietnameseMap>& tables = *new std::vector<VietnameseMap>([] {
        std::vector<VietnameseMap> built(strake::VietnameseTableCount);
        for (size_t i = 0; i < strake::vietnameseRowCount; ++i) {
            const strake::PVietnameseRow& row = strake::vietnameseRows[i];
            for (int t = 0; t < strake::VietnameseTableCount; ++t)
                built[t].emplace(row.ch, row.bytes[t]);
        }
        return built;
    }());
    return tables[which];
}

const std::map<int, PEncodingPrivate>& registry()
{
    static const std::map<int, PEncodingPrivate>& rows = *new std::map<int, PEncodingPrivate>([] {
        std::map<int, PEncodingPrivate> built;
        auto add = [&built](int id, const char* name, int codePage, const char* javaName) {
            built[id] = PEncodingPrivate{id, name, codePage, javaName, javaName};
        };
        add(0, "", 0, "");
        add(775, "CP775", 775, "CP775");
        add(866, "CP866", 866, "CP866");
        add(1251, "CP1251", 1251, "CP1251");
        add(1257, "CP1257", 1257, "CP1257");
        add(1258, "CP1258", 1258, "CP1258");
        add(20127, "CP20127", 65001, "CP20127");
        add(20866, "KOI8-R", 20866, "KOI8-R");
        add(65001, "UTF-8", 65001, "UTF-8");
        add(101258, "TCVN3_SHORT", 0, "");
        add(111258, "TCVN3", 0, "");
        add(121258, "TCVN3_LOW", 0, "");
        add(201258, "VNI_SHORT", 0, "");
        add(211258, "VNI", 0, "");
        add(311258, "VPS", 0, "");
        add(411258, "VISCII", 0, "");
        add(511258, "VILAT", 0, "");
        return built;
    }());
    return rows;
}

// Both tables are built while the library loads, so no reader thread pays for it later.
const bool tablesBuilt = (vietnameseTable(strake::VietnameseVni), registry(), true);

const strake::PSingleByteCodePage* singleBytePage(const std::string& name)
{
    for (size_t i = 0; i < strake::singleByteCodePageCount; ++i) {
        if (name == strake::singleByteCodePages[i].name)
            return &strake::singleByteCodePages[i];
    }
    return nullptr;
}

std::wstring decodeSingleByte(const strake::PSingleByteCodePage& page, const std::string& data)
{
    std::wstring text(data.size(), L'\0');
    for (size_t i = 0; i < data.size(); ++i)
        text[i] = static_cast<wchar_t>(page.toUnicode[static_cast<unsigned char>(data[i])]);
    return text;
}

std::string encodeSingleByte(const strake::PSingleByteCodePage& page, const std::wstring& text)
{
    const strake::PCodePageEntry* first = page.fromUnicode;
    const strake::PCodePageEntry* last = first + page.fromUnicodeCount;
    std::string bytes(text.size(), '?');
    for (size_t i = 0; i < text.size(); ++i) {
        // wchar_t is signed on some targets: compare as a code point so a negative element
        // cannot alias a table entry.
        const uint32_t ch = static_cast<uint32_t>(text[i]);
        if (ch > 0xFFFF)
            continue;
        const auto found = std::lower_bound(first, last, ch,
            [](const strake::PCodePageEntry& entry, uint32_t value) { return entry.ch < value; });
        if (found != last && found->ch == ch)
            bytes[i] = static_cast<char>(found->byte);
    }
    return bytes;
}

bool isUtf8(const std::string& javaName)
{
    return javaName == "UTF-8";
}

// Runs work on a new encoding of the registry id; the empty result when there is none or
// anything fails (only allocation can).
template <class Result, class Work>
Result withEncoding(int id, Work work)
{
    try {
        PEncodingFactory factory;
        if (!factory.hasEncoding(id))
            return Result();
        std::unique_ptr<PEncoding> encoding(factory.create(id));
        return encoding ? work(*encoding) : Result();
    } catch (...) {
        return Result();
    }
}

std::string unicode2table(const std::wstring& text, strake::PVietnameseTable which)
{
    return strake::unicode2codepage(text, vietnameseTable(which));
}

}

PEncoding::PEncoding() = default;

PEncoding::PEncoding(const PEncodingPrivate& row) : d(row) {}

PEncoding::~PEncoding() = default;

bool PEncoding::canEncode(const std::wstring&) const
{
    return d->id > 0 && !d->javaName.empty();
}

bool PEncoding::canDecode(const std::string&) const
{
    return d->id > 0 && !d->javaName.empty();
}

std::string PEncoding::encode(const std::wstring& text) const
{
    if (!canEncode(text))
        throw 1;
    if (isUtf8(d->javaName))
        return strake::wstr2str(text);
    if (const strake::PSingleByteCodePage* page = singleBytePage(d->javaName))
        return encodeSingleByte(*page, text);
    return std::string();
}

std::wstring PEncoding::decode(const std::string& data) const
{
    if (data.empty() || !canDecode(data))
        return std::wstring();
    if (isUtf8(d->javaName))
        return strake::str2wstr(data);
    if (const strake::PSingleByteCodePage* page = singleBytePage(d->javaName))
        return decodeSingleByte(*page, data);
    return std::wstring();
}

std::string PEncoding::encode(const std::wstring& text, int id)
{
    return withEncoding<std::string>(id, [&text](const PEncoding& encoding) {
        return encoding.canEncode(text) ? encoding.encode(text) : std::string();
    });
}

std::wstring PEncoding::decode(const std::string& data, int id)
{
    return withEncoding<std::wstring>(id, [&data](const PEncoding& encoding) {
        return encoding.canDecode(data) ? encoding.decode(data) : std::wstring();
    });
}

int PEncoding::id() const
{
    return d->id;
}

std::string PEncoding::name() const
{
    return d->name;
}

int PEncoding::codePage() const
{
    return d->codePage;
}

std::string PEncoding::javaName() const
{
    return d->javaName;
}

std::string PEncoding::altName() const
{
    return d->altName;
}

#define P_VIETNAMESE_ENCODING_METHODS(Class, function)                                             \
    bool Class::canEncode(const std::wstring&) const { return true; }                              \
    bool Class::canDecode(const std::string&) const { return false; }                              \
    std::string Class::encode(const std::wstring& text) const { return strake::function(text); }  \
    std::wstring Class::decode(const std::string&) const { return std::wstring(); }

P_VIETNAMESE_ENCODING_METHODS(PVNI, unicode2vni)
P_VIETNAMESE_ENCODING_METHODS(PVNIShort, unicode2vnishort)
P_VIETNAMESE_ENCODING_METHODS(PVPS, unicode2vps)
P_VIETNAMESE_ENCODING_METHODS(PTCVN3, unicode2tcvn3)
P_VIETNAMESE_ENCODING_METHODS(PTCVN3Short, unicode2tcvn3short)
P_VIETNAMESE_ENCODING_METHODS(PTCVN3Low, unicode2tcvn3low)
P_VIETNAMESE_ENCODING_METHODS(PVISCII, unicode2viscii)
P_VIETNAMESE_ENCODING_METHODS(PVILAT, unicode2vilat)
#undef P_VIETNAMESE_ENCODING_METHODS

PEncodingFactory::PEncodingFactory() : m_rows(&registry()) {}

PEncodingFactory::~PEncodingFactory() = default;

std::vector<PEncodingPrivate> PEncodingFactory::encodings() const
{
    std::vector<PEncodingPrivate> rows;
    rows.reserve(m_rows->size());
    for (const auto& row : *m_rows)
        rows.push_back(row.second);
    return rows;
}

bool PEncodingFactory::hasEncoding(const int& id) const
{
    return m_rows->count(id) != 0;
}

PEncoding* PEncodingFactory::create(const int& id) const
{
    const auto found = m_rows->find(id);
    if (found == m_rows->end())
        return nullptr;
    const PEncodingPrivate& row = found->second;
    switch (id) {
    case 101258: return new PTCVN3Short(row);
    case 111258: return new PTCVN3(row);
    case 121258: return new PTCVN3Low(row);
    case 201258: return new PVNIShort(row);
    case 211258: return new PVNI(row);
    case 311258: return new PVPS(row);
    case 411258: return new PVISCII(row);
    case 511258: return new PVILAT(row);
    default: return new PEncoding(row);
    }
}

PEncoding* PEncodingFactory::create(const std::string&) const
{
    return nullptr;
}

namespace strake {

std::string unicode2codepage(const std::wstring& text, const std::map<wchar_t, std::string>& table)
{
    std::string bytes;
    bytes.reserve(text.size());
    for (const wchar_t element : text) {
        if (static_cast<uint32_t>(element) <= 127) {
            bytes += static_cast<char>(element);
            continue;
        }
        const auto found = table.find(element);
        if (found != table.end())
            bytes += found->second;
        else
            bytes += '?';
    }
    return bytes;
}

std::string unicode2tcvn3(const std::wstring& text)
{
    return unicode2table(text, VietnameseTcvn3);
}

std::string unicode2tcvn3short(const std::wstring& text)
{
    return unicode2table(text, VietnameseTcvn3Short);
}

std::string unicode2tcvn3low(const std::wstring& text)
{
    std::wstring lowered(text);
    for (wchar_t& element : lowered) {
        if (element >= L'A' && element <= L'Z')
            element = element - L'A' + L'a';
    }
    return unicode2table(lowered, VietnameseTcvn3Low);
}

std::string unicode2vni(const std::wstring& text)
{
    return unicode2table(text, VietnameseVni);
}

std::string unicode2vnishort(const std::wstring& text)
{
    return unicode2table(text, VietnameseVniShort);
}

std::string unicode2vps(const std::wstring& text)
{
    return unicode2table(text, VietnameseVps);
}

std::string unicode2viscii(const std::wstring& text)
{
    return unicode2table(text, VietnameseViscii);
}

std::string unicode2vilat(const std::wstring& text)
{
    return unicode2table(text, VietnameseVilat);
}

}
