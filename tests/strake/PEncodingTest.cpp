// Tests of PEncoding: the factory, the Vietnamese tables and the code pages, checked against iconv.
#include "PEncoding.h"

#include <gtest/gtest.h>

#include <cstring>
#include <iconv.h>
#include <memory>
#include <typeinfo>

namespace {

// What iconv makes of one unit ("" when it refuses), flushing a stateful converter that holds a letter back.
std::string iconvOne(iconv_t cd, const void* unit, size_t size)
{
    iconv(cd, nullptr, nullptr, nullptr, nullptr);
    char* in = static_cast<char*>(const_cast<void*>(unit));
    char out[16];
    char* outPtr = out;
    size_t outLeft = sizeof out;
    if (iconv(cd, &in, &size, &outPtr, &outLeft) == static_cast<size_t>(-1)
        || iconv(cd, nullptr, nullptr, &outPtr, &outLeft) == static_cast<size_t>(-1))
        return std::string();
    return std::string(out, outPtr);
}

} // namespace

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
    EXPECT_EQ(strake::unicode2vni(L"Vi\x1EC7t"), "Vie\xE4t");
    EXPECT_EQ(strake::unicode2tcvn3low(L"ABC\x1EA4"), "abc\xCA");
    EXPECT_EQ(strake::unicode2tcvn3(L"ABC"), "ABC");
    EXPECT_EQ(strake::unicode2vilat(L"Tr\x01B0\x1EDDng \x0110\x1EA1i"), "Truong Dai");
    EXPECT_EQ(PEncoding::encode(L"\x1EA4", 111258), "\xA2\xCA");
}

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
    EXPECT_EQ(PEncoding::encode(PEncoding::decode("\xC0\x1D\x88", 1251), 65001),
        "\xD0\x90\x1D\xE2\x82\xAC");
}

TEST(PEncodingTest, singleByteCodePagesAgreeWithIconv)
{
    const std::pair<int, const char*> pages[] = {{775, "CP775"}, {866, "CP866"}, {1251, "CP1251"},
        {1257, "CP1257"}, {1258, "CP1258"}, {20127, "US-ASCII"}, {20866, "KOI8-R"}};
    for (const auto& page : pages) {
        SCOPED_TRACE(page.second);
        const iconv_t toPage = iconv_open(page.second, "WCHAR_T");
        const iconv_t fromPage = iconv_open("WCHAR_T", page.second);
        ASSERT_TRUE(toPage != reinterpret_cast<iconv_t>(-1) && fromPage != reinterpret_cast<iconv_t>(-1))
            << "the C library has no converter";
        for (int b = 0; b < 256; ++b) {
            const char byte = static_cast<char>(b);
            const std::wstring text = PEncoding::decode(std::string(1, byte), page.first);
            const std::string wide = iconvOne(fromPage, &byte, 1);
            wchar_t expected = 0xFFFD;  // for a byte that iconv rejects
            if (wide.size() == sizeof expected)
                std::memcpy(&expected, wide.data(), sizeof expected);
            EXPECT_EQ(text, std::wstring(1, expected)) << "byte " << b;
        }
        // CP1258 makes precomposed letters of two bytes in iconv; one byte or "?" here.
        for (char32_t ch = 0; ch < 0x10000; ++ch) {
            if (ch >= 0xD800 && ch < 0xE000)
                continue;
            const wchar_t unit = static_cast<wchar_t>(ch);
            const std::string expected = iconvOne(toPage, &unit, sizeof unit);
            EXPECT_EQ(PEncoding::encode(std::wstring(1, unit), page.first), expected.size() == 1 ? expected : "?")
                << "character " << std::hex << static_cast<unsigned>(ch);
        }
        iconv_close(toPage);
        iconv_close(fromPage);
    }
}
