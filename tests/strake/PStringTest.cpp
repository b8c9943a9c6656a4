// Tests of PString, PByteArray and the strake text helpers.
#include "PByteArray.h"
#include "PString.h"
#include "PVariant.h"
#include "StrakeText.h"

#include <gtest/gtest.h>

#include <unordered_set>

namespace {

TEST(PStringTest, copyThenChangeLeavesSourceAlone)
{
    PString source("scan");
    PString copy(source);
    copy += PString("ner");
    PString viaIndex(source);
    viaIndex[0] = u'S';
    PString viaIterator(source);
    *viaIterator.begin() = u'x';
    EXPECT_EQ(source, PString("scan"));
    EXPECT_EQ(copy, PString("scanner"));
    EXPECT_EQ(viaIndex, PString("Scan"));
    EXPECT_EQ(viaIterator, PString("xcan"));

    PString s("ab");
    s += s;
    EXPECT_EQ(s, PString("abab"));
}

TEST(PStringTest, buildsFromEveryEncodingComparesAndHashes)
{
    const PString expected(u"Сканер 1");
    EXPECT_EQ(PString("Сканер 1"), expected);
    EXPECT_EQ(PString(L"Сканер 1"), expected);
    EXPECT_EQ(PString(std::string("Сканер 1")), expected);
    EXPECT_EQ(PString("abcdef", 3), PString("abc"));
    EXPECT_EQ(PString(u"abcdef", 2), PString("ab"));
    EXPECT_EQ(PString(static_cast<const char*>(nullptr)), PString());
    EXPECT_EQ(PString(3ul, 'x'), PString("xxx"));
    EXPECT_EQ(expected.toStdString(), "Сканер 1");
    EXPECT_EQ(expected.toStdWString(), L"Сканер 1");
    EXPECT_EQ(expected.size(), 8u);
    // A code point beyond the basic plane counts two units.
    EXPECT_EQ(PString("\xF0\x9F\x98\x80").size(), 2u);

    // Texts compare by unsigned units, shorter first; equal texts hash equal.
    EXPECT_LT(PString("abc"), PString("abd"));
    EXPECT_LT(PString("ab"), PString("abc"));
    EXPECT_GT(PString(u"я"), PString("z"));

    std::unordered_set<PString> set{PString("a"), PString(u"Б")};
    EXPECT_EQ(set.count(PString(L"Б")), 1u);
}

TEST(PStringTest, invalidInputIsDroppedAndTheRestKept)
{
    // A stray continuation byte, an overlong form, a truncated sequence, a byte never valid.
    EXPECT_EQ(PString("ab\x80" "cd"), PString("abcd"));
    EXPECT_EQ(PString("a\xC0\xAF" "b"), PString("ab"));
    EXPECT_EQ(PString("x\xE2\x82"), PString("x"));
    EXPECT_EQ(PString("1\xFF" "2"), PString("12"));
    // Lone surrogates in UTF-16 and beyond-range values in UTF-32.
    const char16_t lone[] = {u'a', 0xDC00, u'b', 0xD800, 0};
    EXPECT_EQ(PString(lone), PString("ab"));
    const wchar_t wide[] = {L'a', static_cast<wchar_t>(0x110000), static_cast<wchar_t>(0xD800), L'b', 0};
    EXPECT_EQ(PString(wide), PString("ab"));
    EXPECT_EQ(strake::_tavrelstr2str(std::u16string(1, char16_t(0xDFFF))), "");
}

TEST(PStringTest, findRfindContainsAndEnds)
{
    PString s("a-b-c");
    EXPECT_EQ(s.find("-"), 1);
    EXPECT_EQ(s.find("-", 2), 3);
    EXPECT_EQ(s.find("x"), -1);
    EXPECT_TRUE(s.contains("b-c"));
    EXPECT_EQ(s.rfind("-", 0), 3);
    EXPECT_EQ(s.rfind("q"), -1);
    EXPECT_FALSE(PString("abc").endsWith("abc"));
    EXPECT_TRUE(PString("abc").endsWith("bc"));
    EXPECT_FALSE(PString("abc").endsWith(""));
    EXPECT_FALSE(PString("").endsWith("a"));
    EXPECT_EQ(s.substr(2), PString("b-c"));
    EXPECT_EQ(s.substr(2, 1), PString("b"));
    EXPECT_THROW(s.substr(6), std::out_of_range);
    EXPECT_THROW(s.at(5), std::out_of_range);
    EXPECT_THROW(s.at(-1), std::out_of_range);
}

TEST(PStringTest, replaceScansForwardAndAlwaysEndsAndRemoveCounts)
{
    EXPECT_EQ(PString("a;b;c").replace(";", ", "), PString("a, b, c"));
    EXPECT_EQ(PString("aaa").replace("aa", "a"), PString("aa"));
    EXPECT_EQ(PString("abab").replace("ab", "ab"), PString("abab"));
    EXPECT_EQ(PString("x").replace("", "y"), PString("x"));
    // A replacement holding the searched text behind its start is not searched again.
    EXPECT_EQ(PString("ab-ab").replace("ab", "xab"), PString("xab-xab"));
    EXPECT_EQ(PString("aa").replace("a", "ba"), PString("baba"));
    // Holding it at the start is safe with the plain scan.
    EXPECT_EQ(PString("ab").replace("ab", "abab"), PString("abab"));

    EXPECT_EQ(PString("a-b-c-d").remove("-", 0, 2), PString("abc-d"));
    EXPECT_EQ(PString("a-b-c-d").remove("-", 2), PString("a-bcd"));
    EXPECT_EQ(PString("a-b").remove("-", 0, 0), PString("a-b"));
    EXPECT_EQ(PString("a-b").remove(""), PString("a-b"));
}

TEST(PStringTest, trimRemovesBlanksLineEndsAndNulAndCaseTouchesAsciiOnly)
{
    const char16_t raw[] = {0, u' ', u'\t', u'a', u' ', u'b', u'\r', u'\n', 0, 0};
    PString s(std::u16string(raw, 9));
    EXPECT_EQ(s.trimed(), PString("a b"));
    EXPECT_EQ(s.trimedLeft().size(), 6u);
    EXPECT_EQ(s.trimedRight().size(), 6u);
    s.trim();
    EXPECT_EQ(s, PString("a b"));
    EXPECT_EQ(strake::trimed<char>(std::string("\0 x \n", 5)), "x");

    EXPECT_EQ(PString(u"aБz1").upperCased(), PString(u"AБZ1"));
    EXPECT_EQ(PString(u"AбZ").lowerCased(), PString(u"aбz"));
    EXPECT_EQ(PString("abc").capitalized(), PString("Abc"));
}

TEST(PStringTest, splitKeepsInnerEmptyPiecesButNoEmptyTail)
{
    // That the pieces join to the input less an empty tail is the split fuzz target's check.
    EXPECT_EQ(PString("a,b,").split(u','), (std::vector<PString>{PString("a"), PString("b")}));
    EXPECT_EQ(PString(",,").split(u','), std::vector<PString>(2));

    using V = std::vector<std::string>;
    EXPECT_EQ(strake::split<char>("k=v;;x", ";;", false), V{"k=v"});
    EXPECT_EQ(strake::split<char>("k=v;;x", ";;", true), (V{"k=v", "x"}));
    EXPECT_EQ(strake::split<char>("k=v;;", ";;", true), V{"k=v"});
    EXPECT_EQ(strake::split<char>("abc", "", true), V{"abc"});
    EXPECT_EQ(PString("a||b").split(PString("||"), true).size(), 2u);
}

TEST(PByteArrayTest, keepsAZeroBehindTheLastByteAndEditsDetach)
{
    const unsigned char raw[] = {1, 2, 3};
    PByteArray bytes(raw, 3);
    EXPECT_EQ(bytes.data()[3], 0);
    bytes.add(raw, 2);
    ASSERT_EQ(bytes.size(), 5u);
    EXPECT_EQ(bytes.constData()[5], 0);
    EXPECT_EQ(PByteArray(0x41, 2).toStdString(), "AA");
    EXPECT_EQ(PByteArray(4ul).toStdString(), std::string(4, '\0'));
    const unsigned char forms[] = {0x00, 0x1D, 0xAB, 0xFF};
    EXPECT_EQ(PByteArray(forms, 4).toHex().toStdString(), "001DABFF");
    EXPECT_EQ(PByteArray(forms, 4).toBase64().toStdString(), "AB2r/w==");

    PByteArray text("abc");
    const PByteArray copy(text);
    text.set(3, 'x');  // past the end: nothing
    text.set(1, 'X');
    EXPECT_EQ(text.toStdString(), "aXc");
    EXPECT_EQ(copy.toStdString(), "abc");
    text.zero();
    EXPECT_EQ(text.toStdString(), std::string(3, '\0'));
    text.clear();
    EXPECT_FALSE(text.isValid());
    EXPECT_EQ(PByteArray().data(), nullptr);
    EXPECT_EQ(PByteArray().mitype(), 7);
}

TEST(PByteArrayTest, growsFromItsRecordsOwnBlockToTheHeapWithItsOwnBytesAsSource)
{
    PByteArray bytes("0123456789");
    const PByteArray shared(bytes);
    std::string expected = "0123456789";
    // 10 bytes, then 13 and 16 inside the record, then past its 64 bytes to the heap.
    for (int round = 0; round < 8; ++round) {
        bytes.add(bytes.constData() + round, 3);
        expected += expected.substr(static_cast<size_t>(round), 3);
        bytes += round % 2 ? bytes : PByteArray("x");
        expected += round % 2 ? expected : "x";
        ASSERT_EQ(bytes.toStdString(), expected) << "round " << round;
        ASSERT_EQ(bytes.constData()[bytes.size()], 0);
    }
    EXPECT_EQ(shared.toStdString(), "0123456789");
    const PVariant kept(PByteArray("short"));
    const PVariant copy = kept;
    EXPECT_EQ(copy.toByteArray().toStdString(), "short");
}

TEST(StrakeTextTest, hexWritesSeparatorBehindEveryByteAndFormatMeasuresExactly)
{
    EXPECT_EQ(strake::string2hex("AB", " ", "0x"), "0x41 0x42 ");
    EXPECT_EQ(strake::string2hex("", " ", "0x"), "");
    EXPECT_EQ(strake::string2hex(nullptr, 4), "");

    EXPECT_EQ(strake::format("%s-%04d", "id", 7), "id-0007");
    EXPECT_EQ(strake::format("%s", std::string(5000, 'x').c_str()).size(), 5000u);
    EXPECT_EQ(strake::format("%s", ""), "");
    EXPECT_EQ((strake::t2s<char>(1.5)), "1.5");
    EXPECT_EQ((strake::t2s<wchar_t>(42)), L"42");
    EXPECT_EQ(strake::toupper(std::string("ab1")), "AB1");
    EXPECT_EQ(strake::tolower(std::wstring(L"AB1")), L"ab1");
}

// Round trips of every length are the Base64 fuzz target's, replayed with the tests.
TEST(StrakeTextTest, base64DecoderIsLenient)
{
    EXPECT_EQ(strake::raw2Base64("Man"), "TWFu");
    EXPECT_EQ(strake::base642Raw("TWFu"), "Man");
    EXPECT_EQ(strake::base64_encode(std::string("\xff")), "/w==");
    // Without padding, or with the URL-safe characters.
    EXPECT_EQ(strake::base64_decode("QUI"), "AB");
    EXPECT_EQ(strake::base64_decode("-_-_"), strake::base64_decode("+/+/"));
    EXPECT_EQ(strake::base64_decode("QQ=="), "A");
    // A foreign character costs the characters ahead of it; the length stays, zeros at the end.
    EXPECT_EQ(strake::base64_decode("*TWFuTWF"), std::string("Man") + std::string(3, '\0'));
    EXPECT_EQ(strake::base64_decode(std::string()), "");
    EXPECT_EQ(strake::base64_decode(nullptr, 10), "");
    EXPECT_EQ(strake::base64_decode("=").size(), 1u);
}

}
