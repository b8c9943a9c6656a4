// Tests of PVariant, PPropertyBag and PString's positional formatting.
#include "PPropertyBag.h"
#include "PVariant.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <utility>

namespace {

TEST(PVariantTest, textConvertsByAtoiWithOkTrueAndToBoolByItsWords)
{
    bool ok = false;
    EXPECT_EQ(PVariant("abc").toInt(&ok), 0);
    EXPECT_TRUE(ok);
    EXPECT_EQ(PVariant("42x").toInt(), 42);
    EXPECT_EQ(PVariant(" -7").toLong(), -7);
    EXPECT_DOUBLE_EQ(PVariant("2.5").toDouble(), 2.5);
    EXPECT_EQ(PVariant("9").toChar(&ok), 0);
    EXPECT_FALSE(ok);

    // To bool: text by its words and digits; a negative float is false, a negative int true.
    std::string bools;
    for (const PVariant& v : {PVariant("TRUE"), PVariant("2"), PVariant("0"), PVariant("no"),
                              PVariant("False"), PVariant(-1.5), PVariant(0.5), PVariant(-3)})
        bools += v.toBool() ? '1' : '0';
    EXPECT_EQ(bools, "11000011");

    ok = true;
    PVariant invalid;
    EXPECT_EQ(invalid.toInt(&ok), 0);
    EXPECT_FALSE(ok);
    EXPECT_FALSE(invalid.toBool());
    EXPECT_TRUE(invalid.toPString().isEmpty());
    EXPECT_TRUE(invalid.toByteArray().isEmpty());
    ok = true;
    EXPECT_EQ(PVariant(PByteArray("12")).toInt(&ok), 0);
    EXPECT_FALSE(ok);
}

TEST(PVariantTest, wholeNumbersCutAndFloatsTruncateSafely)
{
    EXPECT_EQ(PVariant(0x12345678LL).toShort(), 0x5678);
    EXPECT_EQ(PVariant(0x1FFLL).toUChar(), 0xFF);
    EXPECT_EQ(PVariant(-1).toUInt(), 0xFFFFFFFFu);
    EXPECT_EQ(PVariant(3.9).toInt(), 3);
    EXPECT_EQ(PVariant(-3.9f).toLong(), -3);
    // Out-of-range floats must not be undefined behaviour.
    EXPECT_EQ(PVariant(1e300).toLongLong(), std::numeric_limits<long long>::max());
    EXPECT_EQ(PVariant(std::nan("")).toLongLong(), 0);
    EXPECT_FLOAT_EQ(PVariant(7).toFloat(), 7.0f);
    EXPECT_EQ(PVariant(18446744073709551615ul).toStdString(), "18446744073709551615");
}

TEST(PVariantTest, textAndByteFormsFollowTheBuildingType)
{
    std::string texts;
    for (const PVariant& v : {PVariant(true), PVariant('x'), PVariant(-12), PVariant(1.5), PVariant(L"Ключ"),
                              PVariant(PByteArray("raw")), PVariant(static_cast<unsigned char>(200)),
                              PVariant(static_cast<unsigned short>(65535)), PVariant(4294967295u),
                              PVariant(1LL << 40), PVariant(0.25f)})
        texts += v.toStdString() + "|";
    EXPECT_EQ(texts, "true|x|-12|1.5|Ключ|raw|200|65535|4294967295|1099511627776|0.25|");
    EXPECT_EQ(PVariant(PByteArray("Ж")).toStdWString(), L"Ж");
    const char16_t units[] = {u'O', u'K'};
    PVariant utf16Bytes(reinterpret_cast<const unsigned char*>(units), 4);
    EXPECT_EQ(utf16Bytes.toPString(), PString("OK"));

    // Little-endian; a long in the host's 32 bits; PString's text as wide characters, std::string's as UTF-8.
    const std::vector<size_t> widths = {PVariant(true).toByteArray().size(), PVariant(short(1)).toByteArray().size(),
        PVariant(1L).toByteArray().size(), PVariant(1ul).toByteArray().size(),
        PVariant(PString("Ж")).toByteArray().size()};
    EXPECT_EQ(widths, (std::vector<size_t>{1, 2, 4, 8, 4}));
    EXPECT_EQ(PVariant(0x0102).toByteArray()[0], 0x02);
    EXPECT_EQ(PVariant("Ж").toByteArray().toStdString(), "Ж");
}

TEST(PVariantTest, equalityComparesTextAcrossTypes)
{
    EXPECT_EQ(PVariant(1), PVariant(1.0));
    EXPECT_EQ(PVariant("a"), PVariant(PString("a")));
    EXPECT_EQ(PVariant(PByteArray("ab")), PVariant(PByteArray("ab")));
    EXPECT_NE(PVariant(PByteArray("ab")), PVariant(PByteArray("ac")));
    EXPECT_EQ(PVariant(), PVariant());
    EXPECT_EQ(PVariant(1.5f), PVariant(1.5f));
}

TEST(PStringFormatTest, substitutesPositionsAndPercent)
{
    PString pattern("%1 of %2, 100%% sure, %3 stays");
    EXPECT_EQ(pattern.format({PVariant(1), PVariant("two")}), PString("1 of two, 100% sure, %3 stays"));
    EXPECT_EQ(pattern.format({}), pattern);
    EXPECT_EQ(PString("[%1]").arg(PVariant(L"x")), PString("[x]"));
    EXPECT_EQ(PString("%1%1").arg(PVariant("")), PString(""));
    EXPECT_EQ(PString("%a%").arg(PVariant(1)), PString("%a%"));
    // A value ending in "%" meets the unit behind the placeholder; the scan still ends.
    EXPECT_EQ(PString("%11").arg(PVariant("%")), PString("%"));
}

TEST(PPropertyBagTest, addKeepsTheFirstValueSetNeedsTheKeyAndCopiesStandApart)
{
    PPropertyBag bag;
    EXPECT_TRUE(bag.addValue("Port", PVariant(1)));
    EXPECT_FALSE(bag.addValue("Port", PVariant(2)));
    EXPECT_EQ(bag.value("Port").toInt(), 1);
    bag.setValue("Speed", PVariant(9600));
    EXPECT_FALSE(bag.hasKey("Speed"));
    EXPECT_FALSE(bag.value("port").isValid());
    EXPECT_EQ(bag.value("missing", PVariant(7)).toInt(), 7);

    PPropertyBag copy(bag);
    copy.setValue("Port", PVariant(3));
    copy.addValue("b", PVariant(3));
    EXPECT_EQ(copy.value("Port").toInt(), 3);
    EXPECT_EQ(bag.value("Port").toInt(), 1);
    EXPECT_EQ(bag.size(), 1u);
    PPropertyBag taken(std::move(bag));
    EXPECT_TRUE(bag.empty());
    bag.addValue("c", PVariant(4));
    EXPECT_EQ(bag.value("c").toInt(), 4);
    EXPECT_EQ(taken.value("Port").toInt(), 1);
}

TEST(PPropertyBagTest, mergeAndEqualityByKeys)
{
    PPropertyBag a;
    a.addValue("x", PVariant(1));
    a.addValue("y", PVariant("2"));
    PPropertyBag b;
    b.addValue("x", PVariant("1"));
    b.addValue("y", PVariant(3));
    EXPECT_TRUE(a.isEqual(b, {"x", "absent"}));
    EXPECT_FALSE(a.isEqual(b, {"x", "y"}));
    b.merge(a);
    EXPECT_TRUE(a.isEqual(b, {"x", "y"}));
    EXPECT_TRUE(a.isEqual(a, {}));
    PPropertyBag c(a);
    c.addValue("z", PVariant(0));
    EXPECT_FALSE(a.isEqual(c, {}));
    a.merge(a);
    EXPECT_EQ(a.size(), 2u);
}

}
