// Parsing of the host's and of JNI's method signatures, and the checks of parameter values.
#include "PJniSignature.h"
#include "PSemanticEntry.h"

#include <gtest/gtest.h>

namespace {

tVariant valueOfType(int type, uint32_t length = 0)
{
    tVariant v = {};
    v.vt = static_cast<uint16_t>(type);
    v.strLen = length;
    return v;
}

TEST(PSemanticEntryTest, signaturesParseIntoTypedEntriesOrTheDefault)
{
    struct Case {
        const char* text;
        int result;
        std::vector<int> params;
    };
    const Case cases[] = {
        {"BOOL(WSTR,REF)", 11, {22, 1}}, {"BOOL( WSTR , REF )", 11, {22, 1}},
        {"REF()", 1, {}},                 {"VOID()", 0, {}},                  {"(INT)", 0, {3}},
        {"BOOL(WSTR,)", 11, {22}},        {"BOOL(,WSTR)", 11, {0, 22}},
        {"INT2(INT4,INT,INT8,UINT2,UINT4,UINT,UINT8)", 2, {3, 3, 17, 15, 16, 16, 18}},
        {"DOUBLE(FLOAT,REAL,STR,BLOB,RESULT,VARIANT)", 5, {4, 4, 8, 23, 21, 12}},
        {"REF(WSTR) trailing text is ignored", 1, {22}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        const PMethodSemantic semantic = PMethodSemantic::fromString(c.text);
        EXPECT_EQ(semantic.result().type(), c.result);
        EXPECT_EQ(semantic.hasRetValue(), c.result > 0);
        EXPECT_TRUE(semantic.result().mandatory());
        std::vector<int> types;
        for (const PSemanticEntry& entry : semantic.parameters()) {
            types.push_back(entry.type());
            EXPECT_FALSE(entry.mandatory());
        }
        EXPECT_EQ(types, c.params);
    }

    for (const char* text : {"", "bool()", "FOO()", "BOOL", "BOOL(WSTR", "BOOL)WSTR(", "BOOL(wstr)",
                             "BOOL(WSTR,FOO)", "B OOL()"}) {
        SCOPED_TRACE(text);
        PMethodSemantic semantic;
        ASSERT_NO_THROW(semantic = PMethodSemantic::fromString(text));
        EXPECT_EQ(semantic.parametersCount(), 0u);
        EXPECT_FALSE(semantic.hasRetValue());
    }
}

TEST(PSemanticEntryTest, entriesFromSignaturesAcceptAnyPresentValue)
{
    const PMethodSemantic semantic = PMethodSemantic::fromString("BOOL(WSTR,BOOL)");
    tVariant params[2] = {valueOfType(VTYPE_I4), valueOfType(VTYPE_EMPTY)};
    PError error(7, "stale");
    EXPECT_TRUE(semantic.check(params, &error));
    EXPECT_EQ(error.code(), 0);
    EXPECT_FALSE(semantic.check(nullptr, &error));
    EXPECT_EQ(error.code(), 102);
    EXPECT_EQ(error.message(), PString("Parameter failed with error: [index = 0] "));
    EXPECT_FALSE(semantic.check(2, params, &error));
    EXPECT_EQ(error.code(), 111);
    EXPECT_THROW(semantic.check(5, params, nullptr), PError);

    // Defaults per parameter, none beyond the last, are PlatformNativeBaseTest's GetParamDefValue.
    EXPECT_FALSE(PSemanticEntry(VTYPE_EMPTY, true).isValid());
    EXPECT_TRUE(PSemanticEntry(VTYPE_NULL, false).isValid());
}

TEST(PSemanticEntryTest, mandatoryEntriesCheckFamilyLengthAndUsability)
{
    struct Case {
        PSemanticEntry entry;
        tVariant value;
        int code;
    };
    const Case cases[] = {
        {PSemanticEntry(VTYPE_I4, true), valueOfType(VTYPE_UI8), 0},
        {PSemanticEntry(VTYPE_I4, true), valueOfType(VTYPE_ERROR), 0},
        {PSemanticEntry(VTYPE_BOOL, true), valueOfType(VTYPE_UI1), 0},
        {PSemanticEntry(VTYPE_R8, true), valueOfType(VTYPE_R4), 0},
        {PSemanticEntry(VTYPE_BLOB, true), valueOfType(VTYPE_PSTR), 0},
        {PSemanticEntry(VTYPE_I4, true), valueOfType(VTYPE_R8), 103},
        {PSemanticEntry(VTYPE_PWSTR, true), valueOfType(VTYPE_PSTR), 103},
        {PSemanticEntry(VTYPE_VARIANT, true), valueOfType(VTYPE_VARIANT), 0},
        {PSemanticEntry(VTYPE_NULL, true), valueOfType(VTYPE_NULL), 102},
        {PSemanticEntry(VTYPE_EMPTY, true), valueOfType(VTYPE_EMPTY), 102},
        {PSemanticEntry(30, true), valueOfType(30), 102},
        {PSemanticEntry(4095, true), valueOfType(4095), 0},
        {PSemanticEntry(VTYPE_PWSTR, 2, 4, true), valueOfType(VTYPE_PWSTR, 1), 104},
        {PSemanticEntry(VTYPE_PWSTR, 2, 4, true), valueOfType(VTYPE_PWSTR, 4), 0},
        {PSemanticEntry(VTYPE_PWSTR, 2, 4, true), valueOfType(VTYPE_PWSTR, 5), 104},
        // A maximum at or below the minimum is no bound.
        {PSemanticEntry(VTYPE_BLOB, 2, 2, true), valueOfType(VTYPE_BLOB, 900), 0},
        {PSemanticEntry(VTYPE_BLOB, 2, 4, false), valueOfType(VTYPE_BLOB, 0), 0},
    };
    for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
        SCOPED_TRACE(i);
        PError error;
        EXPECT_EQ(cases[i].entry.check(&cases[i].value, &error), cases[i].code == 0);
        EXPECT_EQ(error.code(), cases[i].code);
    }
    PError error;
    EXPECT_FALSE(PSemanticEntry(VTYPE_I4, false).check(nullptr, &error));
    EXPECT_EQ(error.code(), 102);
}

TEST(PSemanticEntryTest, checkerDecidesThroughItsErrorNotItsAnswer)
{
    tVariant value = valueOfType(VTYPE_I4);
    const PSemanticEntry refusing(VTYPE_I4, [](const tVariant*, PError* error) {
        error->setError(100, "too big");
        return true;
    }, true);
    const PSemanticEntry grumbling(VTYPE_I4, [](const tVariant*, PError*) { return false; }, true);
    const PSemanticEntry throwing(VTYPE_I4, [](const tVariant*, PError*) -> bool {
        throw std::runtime_error("boom");
    }, true);
    PError error;
    EXPECT_FALSE(refusing.check(&value, &error));
    EXPECT_EQ(error.code(), 100);
    EXPECT_EQ(error.message(), PString("too big"));
    EXPECT_TRUE(grumbling.check(&value, &error));
    EXPECT_FALSE(throwing.check(&value, &error));
    EXPECT_EQ(error.code(), 2);
    EXPECT_TRUE(error.message().isEmpty());

    const PMethodSemantic semantic({PSemanticEntry(VTYPE_I4, false), refusing}, PSemanticEntry());
    tVariant params[2] = {value, value};
    EXPECT_FALSE(semantic.check(params, &error));
    EXPECT_EQ(error.code(), 100);
    EXPECT_EQ(error.message(), PString("Parameter failed with error: [index = 1] too big"));
}

// That a parse agrees with isValid and the constructor is the JNI signature fuzz target's check.
struct Good {
    const char* text;
    std::vector<int> parameters;
    int returnType;
};

TEST(PJniSignatureTest, wellFormedSignaturesGiveTheirTypeCodes)
{
    const Good cases[] = {
        {"(Landroid/app/Activity;J)V", {0x100, 7}, 1}, {"([B)Z", {0x2003}, 2}, {"()Ljava/lang/String;", {}, 0x101},
        {"(ZBCSIJFD)V", {2, 3, 4, 5, 6, 7, 8, 9}, 1}, {"(L;)I", {0x100}, 6}, {" \t(Ljava/lang/String;)V\r\n", {0x101}, 1},
        // Nesting is not counted, and only exactly java/lang/String is a string.
        {"([[I[Ljava/lang/String;Ljava/lang/Strings;Ljava/lang/Strin;)[J", {0x2006, 0x2101, 0x100, 0x100}, 0x2007},
        // A class name may hold a ")": the walk goes by the marks alone.
        {"(La)b;)D", {0x100}, 9},
        // A second return type replaces the first.
        {"()IJ", {}, 7},
    };
    for (const Good& c : cases) {
        SCOPED_TRACE(c.text);
        PError why(5, "stale");
        PJniSignature signature;
        EXPECT_TRUE(signature.parse(PString(c.text), why));
        EXPECT_FALSE(why.isError());
        EXPECT_EQ(signature.parameterTypes(), c.parameters);
        EXPECT_EQ(signature.parametersCount(), static_cast<int>(c.parameters.size()));
        EXPECT_EQ(signature.retValueType(), c.returnType);
    }

    PJniSignature original(PString("(IJ)V"));
    PJniSignature copy = original;
    EXPECT_FALSE(copy.parse(PString("(Q)V")));
    EXPECT_TRUE(copy.parse(PString("([B)Z")));
    EXPECT_EQ(original.parameterTypes(), (std::vector<int>{6, 7}));
    EXPECT_EQ(original.parameterType(1), 7);
    EXPECT_EQ(original.parameterType(-1), 0);
}

TEST(PJniSignatureTest, malformedSignaturesFailWithTheirReasonAndKeepNothing)
{
    const std::pair<const char*, const char*> cases[] = {
        {"   ", "no open quote"},          {"I)V", "no open quote"},
        {"(I", "no close quote"},          {"(IL", "no close quote"},
        {"(IV)V", "parameter cant be void"}, {"([V)V", "parameter cant be void"},
        {"(I)[V", "void cant be array"},     {"([)V", "void cant be array"},
        {"(I I)V", "bad class mark"},        {"(I)V\xC3\xA9", "bad class mark"},
        {"(ILjava/lang/String)V", "no close simbol for class name"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.first);
        PJniSignature signature(PString("(I)V"));
        ASSERT_TRUE(signature.isValid());
        PError why;
        EXPECT_FALSE(signature.parse(PString(c.first), why));
        EXPECT_EQ(why.message(), PString(c.second));
        EXPECT_EQ(signature.retValueType(), 0);
    }

    for (const char* text : {"()", "(I)", "(I)["}) {
        SCOPED_TRACE(text);
        PError why;
        PJniSignature signature;
        EXPECT_FALSE(signature.parse(PString(text), why));
        EXPECT_FALSE(why.isError());
        EXPECT_FALSE(signature.isValid());
    }
    PJniSignature empty;
    EXPECT_FALSE(empty.isValid());
    EXPECT_EQ(empty.parametersCount(), 0);
}

}
