// Host values written and read by the strake helpers, in memory of a counting host allocator.
#include "StrakeVariant.h"

#include "PHostMemoryManager.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

class StrakeVariantTest : public ::testing::Test {
protected:
    void TearDown() override
    {
        EXPECT_EQ(memory.liveBlocks(), 0u);
        EXPECT_EQ(memory.foreignBlocks(), 0u);
    }
    PHostMemoryManager memory;
};

TEST_F(StrakeVariantTest, textGoesToHostMemoryWithAZeroUnitBehind)
{
    tVariant v = hostEmptyValue();
    ASSERT_TRUE(strake::_tavrelstr2var(&v, u"Код 😀", &memory));
    EXPECT_EQ(v.wstrLen, 6u);
    EXPECT_TRUE(memory.owns(v.pwstrVal));
    EXPECT_EQ(v.pwstrVal[6], 0);
    EXPECT_EQ(strake::var2pstring(&v), PString(u"Код 😀"));
    memory.release(v);

    // The wchar_t form keeps 16 bits of each character.
    ASSERT_TRUE(strake::wstr2var(&v, L"A\u0416", &memory));
    EXPECT_EQ(hostTextOf(v), u"A\u0416");
    EXPECT_EQ(strake::var2wstr(&v), L"A\u0416");
    memory.release(v);

    tVariant untouched = hostEmptyValue();
    untouched.vt = VTYPE_I4;
    EXPECT_FALSE(strake::wstr2var(&untouched, L"x", nullptr));
    EXPECT_EQ(untouched.vt, VTYPE_I4);
    EXPECT_FALSE(strake::wstr2var(nullptr, L"x", &memory));

    char16_t hostPointer = u'h';
    v.pwstrVal = &hostPointer;
    ASSERT_TRUE(strake::wstr2var(&v, L"", &memory));
    EXPECT_EQ(v.vt, VTYPE_PWSTR);
    EXPECT_EQ(v.wstrLen, 0u);
    EXPECT_EQ(v.pwstrVal, &hostPointer);
    EXPECT_EQ(memory.allocations(), 2u);

    memory.setRefuseAllocations(true);
    EXPECT_FALSE(strake::wstr2var(&v, L"x", &memory));
    EXPECT_EQ(strake::AllocAndConvert(&memory, u"x", nullptr), nullptr);
    unsigned long length = 99;
    EXPECT_EQ(strake::AllocAndConvert(nullptr, L"four", &length), nullptr);
    EXPECT_EQ(length, 4u);

    char bytes[] = "abc";
    v.pstrVal = bytes;
    v.strLen = 3;
    v.vt = VTYPE_PSTR;
    EXPECT_TRUE(strake::var2pstring(&v).isEmpty() && strake::var2wstr(&v).empty() && strake::var2blob(&v).isEmpty());
    v.vt = VTYPE_BLOB;
    EXPECT_EQ(strake::var2blob(&v).toStdString(), "abc");
    EXPECT_TRUE(strake::var2pstring(nullptr).isEmpty() && strake::var2blob(nullptr).isEmpty());
    v.vt = VTYPE_PWSTR;
    v.pwstrVal = nullptr;
    v.wstrLen = 5;
    EXPECT_TRUE(strake::var2wstr(&v).empty());
}

TEST_F(StrakeVariantTest, hostValuesBecomePVariants)
{
    tVariant v = hostEmptyValue();
    struct Case {
        int vt;
        int64_t raw;
        int type;
    };
    for (const Case& c : {Case{VTYPE_I2, 5, PVariant::Int}, Case{VTYPE_I4, -7, PVariant::Int},
                          Case{VTYPE_UI1, 200, PVariant::Int}, Case{VTYPE_HRESULT, 1, PVariant::Int},
                          Case{VTYPE_I8, int64_t(1) << 40, PVariant::Long},
                          Case{VTYPE_UI8, -1, PVariant::Long}, Case{VTYPE_EMPTY, 0, PVariant::Invalid},
                          Case{VTYPE_NULL, 0, PVariant::Invalid}, Case{6, 0, PVariant::Invalid},
                          Case{VTYPE_ERROR, 0, PVariant::Invalid},
                          Case{VTYPE_VARIANT, 0, PVariant::Invalid}, Case{24, 0, PVariant::Invalid}}) {
        SCOPED_TRACE(c.vt);
        v = hostEmptyValue();
        v.llVal = c.raw;
        v.vt = static_cast<uint16_t>(c.vt);
        const PVariant value = strake::var2var(&v);
        EXPECT_EQ(value.type(), c.type);
        EXPECT_EQ(value.toLongLong(), c.type == PVariant::Int ? static_cast<int32_t>(c.raw) : c.raw);
    }
    EXPECT_FALSE(strake::var2var(nullptr).isValid());

    v = hostEmptyValue();
    v.ui8Val = 0x7E;  // any non-zero first byte is true
    v.vt = VTYPE_BOOL;
    EXPECT_TRUE(strake::var2var(&v).toBool());
    strake::double2var(&v, 2.5, VTYPE_R4);
    EXPECT_EQ(strake::var2var(&v).type(), PVariant::Float);
    strake::double2var(&v, 2.5, VTYPE_I4);
    EXPECT_EQ(v.vt, VTYPE_R8);
    EXPECT_EQ(strake::var2var(&v).toDouble(), 2.5);

    char utf8[] = "Øre";
    v = hostEmptyValue();
    v.pstrVal = utf8;
    v.strLen = std::strlen(utf8);
    v.vt = VTYPE_PSTR;
    EXPECT_EQ(strake::var2var(&v).toPString(), PString("Øre"));
    v.pstrVal = nullptr;
    EXPECT_EQ(strake::var2var(&v).type(), PVariant::StdString);
}

TEST_F(StrakeVariantTest, pVariantsGoToTheHostAndComeBack)
{
    const PVariant values[] = {
        PVariant(true),          PVariant(static_cast<unsigned char>(250)),
        PVariant(short(-3)),     PVariant(123456),
        PVariant(long(77)),      PVariant(static_cast<long long>(1) << 40),
        PVariant(1.25f),         PVariant(-2.5),
        PVariant(std::string("Øre")), PVariant(PString(u"Штрихкод")),
        PVariant(PByteArray(std::string("\x1D\x00z", 3))),
    };
    const int hostTypes[] = {11, 13, 2, 3, 3, 17, 4, 5, 8, 22, 23};
    for (size_t i = 0; i < sizeof values / sizeof values[0]; ++i) {
        SCOPED_TRACE(i);
        tVariant v = hostEmptyValue();
        ASSERT_TRUE(strake::make_variant(&v, values[i], &memory));
        EXPECT_EQ(v.vt, hostTypes[i]);
        if (hostValueHoldsBlock(v)) {
            EXPECT_TRUE(memory.owns(v.pstrVal));
        }
        const PVariant back = strake::var2var(&v);
        if (values[i].isText()) {
            EXPECT_EQ(back.toPString(), values[i].toPString());
        } else if (values[i].type() == PVariant::Bytes) {
            EXPECT_EQ(back.toByteArray(), values[i].toByteArray());
        } else if (v.vt == VTYPE_I2) {
            // Reading back takes 32 bits; the host reads the 16 it was given.
            EXPECT_EQ(v.shortVal, values[i].toShort());
        } else {
            EXPECT_EQ(back.toDouble(), values[i].toDouble());
        }
        memory.release(v);
    }
    tVariant text = hostEmptyValue();
    ASSERT_TRUE(strake::make_variant(&text, PVariant(std::string("abc")), &memory));
    EXPECT_EQ(text.pstrVal[3], 0);
    memory.release(text);
}

TEST_F(StrakeVariantTest, makeVariantFailsCleanlyWithoutMemory)
{
    tVariant v = hostEmptyValue();
    v.vt = VTYPE_I4;
    for (const PVariant& value : {PVariant(PString(u"x")), PVariant(std::string("x")),
                                  PVariant(PByteArray(std::string("x")))}) {
        EXPECT_FALSE(strake::make_variant(&v, value, nullptr));
        EXPECT_EQ(v.vt, VTYPE_EMPTY);
    }
    memory.setRefuseAllocations(true);
    EXPECT_FALSE(strake::make_variant(&v, PVariant(std::string("x")), &memory));
    EXPECT_FALSE(strake::make_variant(&v, PVariant(), &memory));
    EXPECT_EQ(v.vt, VTYPE_EMPTY);
    EXPECT_FALSE(strake::make_variant(nullptr, PVariant(1), &memory));

    const unsigned char data[] = {1, 2};
    EXPECT_FALSE(strake::blob2var(&v, data, 2, &memory));
    memory.setRefuseAllocations(false);
    EXPECT_FALSE(strake::blob2var(&v, data, 0, &memory));
    EXPECT_FALSE(strake::blob2var(&v, static_cast<const char*>(nullptr), 2, &memory));
    EXPECT_EQ(v.vt, VTYPE_EMPTY);
    ASSERT_TRUE(strake::blob2var(&v, data, 2, &memory));
    EXPECT_EQ(strake::var2blob(&v), PByteArray(data, 2));
    memory.release(v);
}

}
