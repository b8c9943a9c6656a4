// Tests of PError, PDebug, PLogger and the log helpers.
#include "PDebug.h"
#include "PError.h"
#include "PLogger.h"
#include "StrakeText.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

TEST(PErrorTest, textFormWithAndWithoutPlaceAndCopiesApart)
{
    EXPECT_EQ(PError(2, "x").toString(), PString("[2]x"));
    PError full(2, "x", "strake/PMethod", "bool f()", 42);
    EXPECT_EQ(full.toString(), PString("strake/PMethod:bool f():42[2]x"));
    full.clear();
    EXPECT_EQ(full.toString(), PString("[0]"));

    PError a(100, "bad");
    PError b(a);
    b.setError(200, "device");
    b.setInfo("m", "f", 1);
    EXPECT_EQ(a.toString(), PString("[100]bad"));

    // P_ERROR stamps the source place, without the file's extension.
    PError e = P_ERROR(100, "here");
    EXPECT_EQ(e.module(), PString("tests/strake/PErrorTest"));
    EXPECT_GT(e.line(), 0);
    EXPECT_TRUE(e.method().contains("TestBody"));
}

TEST(PErrorTest, ladderTurnsEveryExceptionIntoAnErrorAndRaiseStoresOrThrows)
{
    auto caught = [](auto thrower, auto ladder) {
        try {
            thrower();
        } catch (...) {
            return ladder();
        }
        return PError();
    };
    auto plain = [] { return PError::fromCurrentException(); };
    auto named = [] { return PError::fromCurrentException("Unexpected"); };
    auto placed = [] { return PError::fromCurrentException(PError(2, "", "mod", "fn", 7), PError::StandardText::Dropped); };
    for (const auto& ladder : std::initializer_list<std::function<PError()>>{plain, named, placed})
        EXPECT_EQ(caught([] { throw PError(120, "cfg"); }, ladder).message(), PString("cfg"));

    EXPECT_EQ(caught([] { throw std::runtime_error("boom"); }, named).toString(), PString("[2]boom"));
    EXPECT_EQ(caught([] { throw std::runtime_error("boom"); }, placed).toString(),
              PString("mod:fn:7[2]"));

    EXPECT_EQ(caught([] { throw 7; }, plain).toString(), PString("[2]"));
    EXPECT_EQ(caught([] { throw 7; }, named).message(), PString("Unexpected"));
    EXPECT_EQ(caught([] { throw 7; }, placed).line(), 7);

    PError out;
    EXPECT_FALSE(PError::raise(PError(100, "x"), &out));
    EXPECT_EQ(out.code(), 100);
    EXPECT_THROW(PError::raise(PError(100, "x"), nullptr), PError);
    EXPECT_NO_THROW(PError::raise(PError(), nullptr));
}

struct Delivered {
    std::vector<std::pair<int, std::string>> lines;
    PDebugMessageHandler handler()
    {
        return [this](const DebugMessageContext& context, const std::string& text) {
            lines.emplace_back(context.type, text);
        };
    }
};

// Counts how often it is written, so a test can prove that nothing was formatted.
struct Expensive {
    mutable int formatted = 0;
};
PDebug& operator<<(PDebug& debug, const Expensive& value)
{
    if (debug.isDebuging())
        ++value.formatted;
    return debug;
}

TEST(PDebugTest, messageAboveTheLevelFormatsAndDeliversNothing)
{
    Delivered global;
    pInstallDebugMessageHandler(global.handler());
    Expensive probe;
    {
        PDebug message(5);
        EXPECT_FALSE(message.isDebuging());
        message << probe << "text";
        message.write("%d", 1);
    }
    EXPECT_EQ(probe.formatted, 0);
    EXPECT_TRUE(global.lines.empty());

    PDebug::setDebugLevel(5);
    { PDebug(5) << "within"; }
    { PDebug message(5); }  // no text: nothing delivered
    ASSERT_EQ(global.lines.size(), 1u);
    EXPECT_EQ(global.lines[0].second, "within");
    gDebugGlobal.reset();
    EXPECT_EQ(PDebug::debugLevel(), -1);

    // An own handler gets the text whatever the level.
    Delivered delivered;
    {
        PDebug message = pDebug(delivered.handler());
        message << "PSerialInputProcessor::processInput: input data = " << 42;
        message.write(" %s", "end");
    }
    ASSERT_EQ(delivered.lines.size(), 1u);
    EXPECT_EQ(delivered.lines[0].first, 0);
    EXPECT_EQ(delivered.lines[0].second, "PSerialInputProcessor::processInput: input data = 42 end");
}

TEST(PDebugTest, defaultHandlerWritesLinesToTheGlobalLogger)
{
    std::ostringstream sink;
    pInstallDebugLogger(new PLogger(&sink));
    PDebugMessageHandler handler = pDebugMessageHandler();
    handler(DebugMessageContext{1, 0}, "warn");
    handler(DebugMessageContext{2, 0}, "fatal");
    handler(DebugMessageContext{0, 3}, "dbg");
    handler(DebugMessageContext{9, 0}, "ignored");
    const std::string text = sink.str();
    EXPECT_NE(text.find("[W]warn\n"), std::string::npos);
    EXPECT_NE(text.find("[F]fatal\n"), std::string::npos);
    EXPECT_NE(text.find("[D(3)]{"), std::string::npos);
    EXPECT_NE(text.find("}dbg\n"), std::string::npos);
    EXPECT_EQ(text.find("ignored"), std::string::npos);
    gDebugGlobal.reset();
}

TEST(PLoggerTest, writesFromManyThreadsArriveWhole)
{
    const std::string path = ::testing::TempDir() + "plogger_threads.txt";
    std::remove(path.c_str());
    {
        PLogger logger(path, std::ios::app);
        ASSERT_TRUE(logger.isOpened());
        logger.open("/nonexistent/elsewhere", 0);  // already open: ignored
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([&logger, t] {
                for (int i = 0; i < 200; ++i)
                    logger.addNote("thread %d line %03d ------------------------------\n", t, i);
            });
        }
        for (auto& thread : threads)
            thread.join();
        logger.close();
        EXPECT_FALSE(logger.isOpened());
    }
    std::ifstream in(path);
    std::string line;
    int lines = 0;
    while (std::getline(in, line)) {
        ++lines;
        EXPECT_EQ(line, strake::format("thread %c line %s ------------------------------", line[7], line.substr(14, 3).c_str()));
    }
    EXPECT_EQ(lines, 800);
}

TEST(PLoggerTest, closedLoggersDropEverythingAndNamesCarryATimeStamp)
{
    EXPECT_FALSE(PLogger("", std::ios::app).isOpened());
    std::ostringstream sink;
    PLogger logger(&sink);
    logger << std::string("x") << 1;
    EXPECT_EQ(logger.addNote("<%d>", 2), 3);
    logger.close();
    logger << "dropped";
    EXPECT_EQ(logger.addNote("%d", 3), -1);
    EXPECT_EQ(sink.str(), "x1<2>");

    const std::string name = pGetLogFileName("kelmor", ".txt");
    EXPECT_EQ(name.substr(name.size() - 18).find_first_not_of("0123456789"), 14u) << name;
    EXPECT_EQ(getCurrentTimeString(""), "");
    EXPECT_EQ(pGetDefaultLogFilePath().back(), '/');
}

}
