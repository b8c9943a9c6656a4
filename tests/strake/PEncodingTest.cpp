// Tests of PEncoding: the factory, the Vietnamese tables and the code pages, checked against iconv.
#include "PEncoding.h"

#include <gtest/gtest.h>

#include <cstring>
#include <iconv.h>
#include <memory>
#include <typeinfo>

namespace {

std::string bytes(std::initializer_list<int> values)
{
    std::string out;
    for (int v : values)
        out += static_cast<char>(v);
    return out;
}

// The C library's converters between one code page and wchar_t, each opened once.
class IconvPage {
public:
    explicit IconvPage(const char* page) : m_cds{iconv_open(page, "WCHAR_T"), iconv_open("WCHAR_T", page)} {}
    ~IconvPage()
    {
        for (iconv_t cd : m_cds) {
            if (cd != kFailed)
                iconv_close(cd);
        }
    }
    bool isOpen() const { return m_cds[0] != kFailed && m_cds[1] != kFailed; }

    // The one-byte form of ch, or -1 when iconv gives no single byte for it.
    int encode(wchar_t ch) const
    {
        const std::string out = convert(m_cds[0], reinterpret_cast<char*>(&ch), sizeof ch);
        return out.size() == 1 ? static_cast<unsigned char>(out[0]) : -1;
    }
    // The character of one byte, or U+FFFD when iconv rejects the byte.
    wchar_t decode(char byte) const
    {
        const std::string out = convert(m_cds[1], &byte, 1);
        wchar_t ch = 0xFFFD;
        if (out.size() == sizeof ch)
            std::memcpy(&ch, out.data(), sizeof ch);
        return ch;
    }

private:
    static inline const iconv_t kFailed = reinterpret_cast<iconv_t>(-1);

    // Converts and flushes (a stateful converter may hold a letter back); "" when refused.
    static std::string convert(iconv_t cd, char* in, size_t inLeft)
    {
        iconv(cd, nullptr, nullptr, nullptr, nullptr);
        char out[16];
        char* outPtr = out;
        size_t outLeft = sizeof out;
        if (iconv(cd, &in, &inLeft, &outPtr, &outLeft) == static_cast<size_t>(-1)
            || iconv(cd, nullptr, nullptr, &outPtr, &outLeft) == static_cast<size_t>(-1))
            return std::string();
        return std::string(out, outPtr);
    }

    iconv_t m_cds[2];
};

} // namespace

// ---- registry and factory ----

TEST(PEncodingTest, factoryMakesTheVietnameseClassesAndPlainEncodingsForTheRest)
{
    PEncodingFactory factory;
    const std::vector<std::pair<int, const std::type_info*>> expected = {
        {101258, &typeid(PTCVN3Short)}, {111258, &typeid(PTCVN3)}, {121258, &typeid(PTCVN3Low)},
        {201258, &typeid(PVNIShort)}, {211258, &typeid(PVNI)}, {311258, &typeid(PVPS)},
        {411258, &typeid(PVISCII)}, {511258, &typeid(PVILAT)}, {1251, &typeid(PEncoding)},
        {0, &typeid(PEncoding)}};
    for (const auto& item : expected) {
        std::unique_ptr<PEncoding> encoding(factory.create(item.first));
        ASSERT_NE(encoding, nullptr) << item.first;
        const PEncoding& made = *encoding;
        EXPECT_EQ(typeid(made), *item.second) << item.first;
        EXPECT_EQ(encoding->id(), item.first);
        const bool vietnamese = item.first > 100000;
        EXPECT_EQ(encoding->canEncode(L"x"), item.first != 0) << item.first;
        EXPECT_EQ(encoding->canDecode("x"), !vietnamese && item.first != 0) << item.first;
        if (vietnamese) {
            EXPECT_EQ(encoding->decode("abc"), L"");
        }
    }
    EXPECT_FALSE(factory.hasEncoding(12345));
    EXPECT_EQ(factory.create(12345), nullptr);
    EXPECT_EQ(factory.create(std::string("CP1251")), nullptr);

    // The static forms give empty results where nothing can be done.
    EXPECT_EQ(PEncoding::encode(L"abc", 12345), "");
    EXPECT_EQ(PEncoding::decode("abc", 12345), L"");
    EXPECT_EQ(PEncoding::encode(L"abc", 0), "");
    EXPECT_EQ(PEncoding::decode("abc", 0), L"");
    EXPECT_EQ(PEncoding::decode("abc", 211258), L"");
    EXPECT_EQ(PEncoding::decode("", 1251), L"");
    EXPECT_EQ(PEncoding::encode(L"abc", 211258), "abc");
}

TEST(PEncodingTest, directEncodeThrowsOneWhenTheRowCannotEncode)
{
    EXPECT_THROW(PEncoding().encode(L"abc"), int);
    try {
        PEncoding(PEncodingPrivate{7, "none", 0, "", ""}).encode(L"abc");
    } catch (int code) {
        EXPECT_EQ(code, 1);
    }
    // A converter that no table knows gives nothing rather than a wrong text.
    const PEncoding unknown(PEncodingPrivate{7, "X", 7, "X-UNKNOWN", "X-UNKNOWN"});
    EXPECT_EQ(unknown.encode(L"abc"), "");
    EXPECT_EQ(unknown.decode("abc"), L"");
}

// ---- Vietnamese tables ----

TEST(PEncodingTest, everyVietnameseTableCoversTheSame135Characters)
{
    std::string (*const tables[])(const std::wstring&) = {strake::unicode2vni,
        strake::unicode2vnishort, strake::unicode2vps, strake::unicode2tcvn3,
        strake::unicode2tcvn3short, strake::unicode2tcvn3low, strake::unicode2viscii,
        strake::unicode2vilat};
    std::wstring covered;
    for (wchar_t ch = 0x80; ch < 0x2000; ++ch) {
        if (strake::unicode2vni(std::wstring(1, ch)) != "?")
            covered += ch;
    }
    EXPECT_EQ(covered.size(), 135u);
    for (auto table : tables) {
        int rows = 0;
        for (wchar_t ch = 0x80; ch < 0x2000; ++ch) {
            const std::string out = table(std::wstring(1, ch));
            const bool inTable = covered.find(ch) != std::wstring::npos;
            EXPECT_EQ(out != "?", inTable) << std::hex << static_cast<int>(ch);
            rows += inTable;
        }
        EXPECT_EQ(rows, 135);
    }
}

TEST(PEncodingTest, tableEncodingPassesAsciiAndMarksTheRestWithQuestionMarks)
{
    EXPECT_EQ(strake::unicode2vni(L"ABC xyz 0129\r\n"), "ABC xyz 0129\r\n");
    EXPECT_EQ(strake::unicode2vni(std::wstring(1, static_cast<wchar_t>(-1))), "?");
    EXPECT_EQ(strake::unicode2vni(std::wstring(1, L'\0')), std::string(1, '\0'));
    // Two-byte rows lengthen the result.
    EXPECT_EQ(strake::unicode2vni(L"Vi\x1EC7t"), "Vi" + bytes({0x65, 0xE4}) + "t");
    EXPECT_EQ(strake::unicode2tcvn3low(L"ABC\x1EA4"), "abc\xCA");
    EXPECT_EQ(strake::unicode2tcvn3(L"ABC"), "ABC");
    EXPECT_EQ(strake::unicode2vilat(L"Tr\x01B0\x1EDDng \x0110\x1EA1i"), "Truong Dai");
    EXPECT_EQ(PEncoding::encode(L"\x1EA4", 111258), bytes({0xA2, 0xCA}));
}

// ---- built-in code pages ----

TEST(PEncodingTest, recodingDropsOrMarksWhatTheTargetCannotHold)
{
    const std::wstring text = L"A\x0416\x20AC\x1F600";
    const std::string utf8 = "A\xD0\x96\xE2\x82\xAC\xF0\x9F\x98\x80";
    EXPECT_EQ(PEncoding::encode(text, 65001), utf8);
    EXPECT_EQ(PEncoding::decode(utf8, 65001), text);
    EXPECT_EQ(PEncoding::decode("a\xFF" "b\xE2\x82", 65001), L"ab");
    // Beyond the basic plane, and below zero, a code page has no byte: "?".
    EXPECT_EQ(PEncoding::encode(L"a\x4E2D\x1F600" L"b", 1251), "a??b");
    EXPECT_EQ(PEncoding::encode(std::wstring(1, static_cast<wchar_t>(-66)), 866), "?");
    // The stream processor's recoding: bytes from 1251 to UTF-8.
    EXPECT_EQ(PEncoding::encode(PEncoding::decode(bytes({0xC0, 0x1D, 0x88}), 1251), 65001),
        "\xD0\x90\x1D\xE2\x82\xAC");
}

TEST(PEncodingTest, singleByteCodePagesAgreeWithIconv)
{
    const std::pair<int, const char*> pages[] = {{775, "CP775"}, {866, "CP866"}, {1251, "CP1251"},
        {1257, "CP1257"}, {1258, "CP1258"}, {20127, "US-ASCII"}, {20866, "KOI8-R"}};
    for (const auto& page : pages) {
        SCOPED_TRACE(page.second);
        IconvPage iconvPage(page.second);
        if (!iconvPage.isOpen()) {
            ADD_FAILURE() << "the C library has no converter " << page.second;
            continue;
        }
        for (int b = 0; b < 256; ++b) {
            const std::wstring text = PEncoding::decode(std::string(1, static_cast<char>(b)), page.first);
            ASSERT_EQ(text.size(), 1u);
            EXPECT_EQ(text[0], iconvPage.decode(static_cast<char>(b))) << "byte " << b;
        }
        // CP1258 makes precomposed letters of two bytes in iconv; one byte or "?" here.
        for (char32_t ch = 0; ch < 0x10000; ++ch) {
            if (ch >= 0xD800 && ch < 0xE000)
                continue;
            const int expected = iconvPage.encode(static_cast<wchar_t>(ch));
            const std::string out = PEncoding::encode(std::wstring(1, static_cast<wchar_t>(ch)), page.first);
            ASSERT_EQ(out.size(), 1u);
            EXPECT_EQ(static_cast<unsigned char>(out[0]), expected < 0 ? '?' : expected)
                << "character " << std::hex << static_cast<unsigned>(ch);
        }
    }
}
