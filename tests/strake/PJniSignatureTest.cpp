// Tests of PJniSignature: type codes of good signatures, the reason of each malformed one.
#include "PJniSignature.h"

#include <gtest/gtest.h>

namespace {

struct Good {
    const char* text;
    std::vector<int> parameters;
    int returnType;
};

TEST(PJniSignatureTest, wellFormedSignaturesGiveTheirTypeCodes)
{
    const Good cases[] = {
        {"(Landroid/app/Activity;J)V", {0x100, 7}, 1},
        {"([B)Z", {0x2003}, 2},
        {"()Ljava/lang/String;", {}, 0x101},
        {"(ZBCSIJFD)V", {2, 3, 4, 5, 6, 7, 8, 9}, 1},
        // Nesting is not counted, and only exactly java/lang/String is a string.
        {"([[I[Ljava/lang/String;Ljava/lang/Strings;Ljava/lang/Strin;)[J",
         {0x2006, 0x2101, 0x100, 0x100}, 0x2007},
        {"(L;)I", {0x100}, 6},
        {" \t(Ljava/lang/String;)V\r\n", {0x101}, 1},
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
        EXPECT_TRUE(signature.isValid());
        EXPECT_EQ(signature.parameterTypes(), c.parameters);
        EXPECT_EQ(signature.parametersCount(), static_cast<int>(c.parameters.size()));
        EXPECT_EQ(signature.retValueType(), c.returnType);
        EXPECT_EQ(PJniSignature(PString(c.text)).parameterTypes(), c.parameters);
    }

    // Parsing a copy leaves the original alone.
    PJniSignature original(PString("(IJ)V"));
    PJniSignature copy = original;
    EXPECT_FALSE(copy.parse(PString("(Q)V")));
    EXPECT_TRUE(copy.parse(PString("([B)Z")));
    EXPECT_EQ(original.parameterTypes(), (std::vector<int>{6, 7}));
    EXPECT_EQ(original.parameterType(1), 7);
    EXPECT_EQ(original.parameterType(2), 0);
    EXPECT_EQ(original.parameterType(-1), 0);
}

TEST(PJniSignatureTest, malformedSignaturesFailWithTheirReasonAndKeepNothing)
{
    const std::pair<const char*, const char*> cases[] = {
        {"", "no open quote"},
        {"   ", "no open quote"},
        {"I)V", "no open quote"},
        {"(I", "no close quote"},
        {"(IL", "no close quote"},
        {"(ILjava/lang/String)V", "no close simbol for class name"},
        {"(IV)V", "parameter cant be void"},
        {"([V)V", "parameter cant be void"},
        {"(I)[V", "void cant be array"},
        {"([)V", "void cant be array"},
        {"(IQ)V", "bad class mark"},
        {"(I I)V", "bad class mark"},
        {"(I)V\xC3\xA9", "bad class mark"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.first);
        PJniSignature signature(PString("(I)V"));
        ASSERT_TRUE(signature.isValid());
        PError why;
        EXPECT_FALSE(signature.parse(PString(c.first), why));
        EXPECT_EQ(why.code(), 100);
        EXPECT_EQ(why.message(), PString(c.second));
        EXPECT_FALSE(signature.isValid());
        EXPECT_EQ(signature.retValueType(), 0);
        EXPECT_EQ(signature.parametersCount(), 0);
    }

    // Without a return type a signature is invalid, but no error.
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
