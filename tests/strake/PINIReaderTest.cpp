// Tests of parseIniData and PINIReader.
#include "PINIReader.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <unistd.h>

namespace {

PPropertyBag parse(const std::string& text, PError& error)
{
    return strake::parseIniData(text, &error);
}

TEST(PINIReaderTest, linesGiveTrimmedTextValues)
{
    PError error(7, "stale");
    const PPropertyBag bag = parse(" a = 1 ;note ] [ =\r\n"
                                   ";comment a=2\n"
                                   "\n"
                                   "two words=x y\t\r\n"
                                   "empty=\n"
                                   "a=second\n"
                                   "k\xD0\x99\x7F=v\xFF\n",
                                   error);
    EXPECT_FALSE(error.isError());
    EXPECT_EQ(bag.size(), 3u);
    EXPECT_EQ(bag.value(PString("a")).type(), PVariant::StdString);
    EXPECT_EQ(bag.value(PString("a")).toStdString(), "1");
    EXPECT_EQ(bag.value(PString("two words")).toStdString(), "x y");
    // Bytes that are not printable ASCII are dropped, on every sign of char.
    EXPECT_EQ(bag.value(PString("k")).toStdString(), "v");
    EXPECT_FALSE(bag.hasKey(PString("empty")));

    // Only a line feed stores a pair; NUL ends the text.
    EXPECT_TRUE(parse("a=1", error).empty());
    EXPECT_TRUE(parse("", error).empty());

    EXPECT_EQ(parse(std::string("a=1\n\0b\n", 7), error).keys(), std::vector<PString>{PString("a")});
    EXPECT_FALSE(error.isError());
}

TEST(PINIReaderTest, malformedLinesEmptyTheWholeBag)
{
    const std::pair<const char*, int> cases[] = {
        {"good=1\na=1=2\n", 100}, {"good=1\na\n", 100},    {"good=1\n[section]\n", 1},
        {"good=1\na=[1]\n", 100}, {"good=1\na]=1\n", 100}, {"good=1\nx=1]", 100},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.first);
        PError error;
        EXPECT_TRUE(parse(c.first, error).empty());
        EXPECT_EQ(error.code(), c.second);
        EXPECT_EQ(error.message(), c.second == 100 ? PString("wrong ini format") : PString());
        try {
            strake::parseIniData(c.first, nullptr);
            ADD_FAILURE() << "no exception without an error out-parameter";
        } catch (const PError& thrown) {
            EXPECT_EQ(thrown.code(), c.second);
        }
    }
}

class PINIReaderFileTest : public ::testing::Test {
protected:
    void TearDown() override { std::remove(path.c_str()); }
    void write(const std::string& content)
    {
        std::ofstream(path, std::ios::binary) << content;
    }
    std::string path = ::testing::TempDir() + "PINIReaderFileTest_" + std::to_string(::getpid()) + ".ini";
};

TEST_F(PINIReaderFileTest, settingsAreReadOnceAndKeptUntilThePathChangesAndFailuresSayWhy)
{
    write("port=COM1\n");
    PINIReader reader{PString(path)};
    EXPECT_EQ(reader.getSettings().value(PString("port")).toStdString(), "COM1");
    EXPECT_FALSE(reader.lastError().isError());

    std::remove(path.c_str());
    EXPECT_EQ(reader.getSettings().size(), 1u);

    reader.setFilePath(PString(path));
    EXPECT_TRUE(reader.getSettings().empty());
    EXPECT_EQ(reader.lastError().code(), 200);
    EXPECT_EQ(reader.lastError().message(), PString("cant access file"));

    // Unreadable or bad files are reported through the error.
    PError error;
    EXPECT_TRUE(PINIReader::readSettings(PString(), &error).empty());
    EXPECT_EQ(error.code(), 2);
    EXPECT_EQ(error.message(), PString("bad file path"));

    write("");
    EXPECT_TRUE(PINIReader::readSettings(PString(path), &error).empty());
    EXPECT_EQ(error.code(), 2);
    EXPECT_EQ(error.message(), PString("failed to read, or file is empty"));

    write("a=1\n[s]\n");
    EXPECT_TRUE(PINIReader::readSettings(PString(path), &error).empty());
    EXPECT_EQ(error.code(), 1);

    write("a=1\n");
    EXPECT_EQ(PINIReader::readSettings(PString(path), &error).size(), 1u);
    EXPECT_FALSE(error.isError());
    EXPECT_EQ(PINIReader::readSettings(PString(path)).size(), 1u);
}

}
