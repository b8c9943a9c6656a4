// Tests of the message cutter: marking runs of text and terminator, and cutting messages.
#include "PMarkedSequence.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

using Marks = PMarkedSequence<char, const char*>;
using Strings = std::vector<std::string>;

Marks mark(const std::string& data, const std::string& sequence, int flags = 0)
{
    return markSequenceBy<char>(data.data(), data.size(), sequence.data(), sequence.size(), flags);
}

// The runs as "text:type" items, e.g. "AB:0|\r:1".
std::string describe(const Marks& marks)
{
    std::string out;
    for (size_t i = 0; i < marks.count(); ++i) {
        const auto m = marks[i];
        out += (i ? "|" : "") + std::string(m.begin(), m.end()) + ":" + std::to_string(m.type());
    }
    return out;
}

// A plain byte-by-byte reference of the character-set way.
std::string describeBySet(const std::string& data, const std::string& set)
{
    std::string out;
    size_t start = 0;
    for (size_t i = 1; i <= data.size(); ++i) {
        const bool before = set.find(data[i - 1]) != std::string::npos;
        if (i == data.size() || before != (set.find(data[i]) != std::string::npos)) {
            out += (start ? "|" : "") + data.substr(start, i - start) + ":" + (before ? "1" : "0");
            start = i;
        }
    }
    return out;
}

}

TEST(PMarkedSequenceTest, workedExamplesGiveTheirRunsAndMessages)
{
    struct Row {
        std::string data, prefix, runs;
        Strings messages;
    };
    const std::vector<Row> rows = {
        {"AB\rCD\r", "", "AB:0|\r:1|CD:0|\r:1", {"AB", "CD"}}, {"AB\r\rCD", "", "AB:0|\r\r:1|CD:0", {"AB"}},
        {"\rAB\r", "", "\r:1|AB:0|\r:1", {"AB"}},               {"XAB\rCD\r", "X", "XAB:0|\r:1|CD:0|\r:1", {"AB"}},
        {"X\r", "X", "X:0|\r:1", {}},                           {"XA\r", "X", "XA:0|\r:1", {"A"}},
    };
    for (const Row& row : rows) {
        const Marks marks = mark(row.data, "\r");
        EXPECT_EQ(describe(marks), row.runs) << row.data;
        EXPECT_EQ(prepareDataForSend(marks, row.prefix, "\r", 0), row.messages) << row.data;
        EXPECT_EQ(prepareDataForSend(row.data, row.prefix, "\r", 0), row.messages) << row.data;
    }
}

TEST(PMarkedSequenceTest, crLfSuffixTreatsAnyRunOfCrAndLfAsOneTerminator)
{
    EXPECT_EQ(describe(mark("A\rB\nC\n\rD\r\n\r\nE", "\r\n", 1)),
              "A:0|\r:1|B:0|\n:1|C:0|\n\r:1|D:0|\r\n\r\n:1|E:0");
    EXPECT_EQ(prepareDataForSend("A\rB\nC\n\rD\r\n\r\nE", "", "\r\n", 0),
              (Strings{"A", "B", "C", "D"}));
    // Without the flag a two-byte sequence must match whole.
    EXPECT_EQ(describe(mark("A\rB\r\nC", "\r\n", 0)), "A\rB:0|\r\n:1|C:0");

    // Base64 is taken after the prefix is removed.
    EXPECT_EQ(prepareDataForSend("XABC\rYABC\r", "X", "\r", 1), Strings{"QUJD"});
    // A byte above 127 survives on either sign of char.
    EXPECT_EQ(prepareDataForSend("\xc0\x1d\r", "", "\r", 1), Strings{"wB0="});
}

TEST(PMarkedSequenceTest, wholeSequenceMatchesDoNotOverlapAndShortTailIsText)
{
    EXPECT_EQ(describe(mark("--AB---CD-", "--")), "--:1|AB:0|--:1|-CD-:0");
    EXPECT_EQ(describe(mark("AB<E", "<EOT>")), "AB<E:0");
    EXPECT_EQ(prepareDataForSend("AB<EOT>CD<EO", "", "<EOT>", 0), Strings{"AB"});

    EXPECT_EQ(mark("", "\r").count(), 0u);
    EXPECT_EQ(mark("", "").count(), 0u);
    EXPECT_TRUE(prepareDataForSend("", "", "\r", 0).empty());
    EXPECT_EQ(describe(mark("AB\r", "")), "AB\r:0");
    EXPECT_EQ(describe(mark("\r\r\r", "\r")), "\r\r\r:1");
    EXPECT_TRUE(prepareDataForSend("\r\r\r", "", "\r", 0).empty());
}

TEST(PMarkedSequenceTest, characterSetWayMatchesAPlainReferenceOnRandomData)
{
    std::mt19937 random(20240521);
    const std::string alphabet = "AB\r\n\x1d\xff";
    const std::vector<std::string> sets = {"\r", "\r\n", "\n\r\n", "\xff", "\r\r"};
    for (int round = 0; round < 2000; ++round) {
        std::string data(random() % 40 + 1, ' ');
        for (char& c : data)
            c = alphabet[random() % alphabet.size()];
        const std::string& set = sets[round % sets.size()];
        ASSERT_EQ(describe(mark(data, set, 1)), describeBySet(data, set)) << round;
    }
}

TEST(PMarkedSequenceTest, markAccessOnEmptyOrOriginlessSequenceIsSafe)
{
    Marks none;
    const char* text = "a";
    none.addMark(text, text + 1, 0);
    EXPECT_EQ(none.count(), 0u);
    EXPECT_TRUE(none.popBackMark().isEmpty());
    EXPECT_TRUE(none.firstMark().isEmpty());
    EXPECT_TRUE(none.lastMark().isEmpty());

    const std::string data = "AB\rC";
    Marks marks = mark(data, "\r");
    EXPECT_TRUE(marks[7].isEmpty());
    const auto popped = marks.popBackMark();
    EXPECT_EQ(std::string(popped.begin(), popped.end()), "C");
    EXPECT_EQ(marks.count(), 2u);
    EXPECT_EQ(marks.lastMark().type(), 1);
    Marks copy = marks;
    copy.popBackMark();
    EXPECT_EQ(marks.count(), 2u);
}

TEST(PMarkedSequenceTest, countByteCountsPastTheLanesBoundAndAtAnyOffset)
{
    // Longer than 255 rounds of 16 bytes, with a byte above 127 and an unaligned tail.
    std::string data(16 * 255 * 2 + 21, 'x');
    size_t wanted = 0;
    for (size_t i = 0; i < data.size(); i += 3, ++wanted)
        data[i] = '\xe9';
    EXPECT_EQ(countByte(data.data(), data.size(), 0xe9), wanted);
    EXPECT_EQ(countByte(data.data() + 1, data.size() - 1, 0xe9), wanted - 1);
    EXPECT_EQ(countByte(data.data(), 0, 'x'), 0u);
}
