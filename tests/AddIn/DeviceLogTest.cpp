// The device log: its file read back line by line, the Java log's path, and the system log.
#include "Device.h"

#include "PSysLog.h"
#include "RecordingDevice.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <thread>
#include <unistd.h>

namespace {

using kelmortest::RecordingFactory;

std::vector<std::string> linesOf(const std::string& path)
{
    std::ifstream in(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

std::string threadId()
{
    std::ostringstream out;
    out << std::this_thread::get_id();
    return out.str();
}

class DeviceLogTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        // No dot in the folder: the Java log's name is cut at the first dot of the path.
        dir = ::testing::TempDir() + "kelmor_log_" + std::to_string(::getpid()) + "_" +
              ::testing::UnitTest::GetInstance()->current_test_info()->name();
        std::filesystem::create_directory(dir);
    }
    void TearDown() override { std::filesystem::remove_all(dir); }
    PPropertyBag settings(int logType, const std::string& path)
    {
        return kelmortest::bag({{"BluetoothDevice", PVariant("00:11:22:33:44:55")},
                                {"DevId", PVariant("InputDevice#1")}, {"EventName", PVariant("Barcode")},
                                {"LogType", PVariant(logType)}, {"LogFilePath", PVariant(path)}});
    }
    std::string dir;
    std::shared_ptr<RecordingFactory> factory = std::make_shared<RecordingFactory>();
    kelmortest::FactoryScope scope{factory};
};

TEST_F(DeviceLogTest, fileHoldsOneLinePerMessageFromEveryThread)
{
    const std::string path = dir + "/scan.log";
    std::ofstream(path) << "former content\n";
    Device device;
    std::atomic<int> delivered{0};
    ASSERT_TRUE(device.open(settings(0, path), [&](PEvent*) { ++delivered; }, [](const PError&) {}));
    std::string deliveringThread;
    std::thread([&] {
        deliveringThread = threadId();
        factory->last()->deliver("4607\r");
    }).join();
    EXPECT_EQ(delivered, 1);
    device.close();

    const std::vector<std::string> lines = linesOf(path);
    const std::string text = ::testing::PrintToString(lines);
    ASSERT_FALSE(lines.empty());
    EXPECT_TRUE(std::regex_match(lines[0], std::regex(R"(log opened \d{4}-\d\d-\d\d::\d\d:\d\d:\d\d)"))) << text;
    const std::regex form(R"(\[D\]\{(\d+)\}\(\d{4}-\d\d-\d\d::\d\d:\d\d:\d\d\)InputDevice#1: (.*))");
    std::vector<std::string> messages;
    std::set<std::string> threads;
    bool keysListed = false;
    for (const std::string& line : lines) {
        std::smatch match;
        if (std::regex_match(line, match, form)) {
            threads.insert(match[1]);
            messages.push_back(match[2]);
        } else {
            // The one multi-line message: the settings, one key a line.
            keysListed |= line == "EventName = Barcode";
        }
    }
    ASSERT_GE(messages.size(), 4u) << text;
    EXPECT_EQ(messages[0], "version = 10.1.8.6");
    EXPECT_TRUE(keysListed) << text;
    EXPECT_EQ(messages[1], "Bluetooth mode");
    EXPECT_EQ(messages[2], "Device succesefully opened");
    EXPECT_EQ(threads, (std::set<std::string>{threadId(), deliveringThread}));
    EXPECT_TRUE(linesOf(dir + "/scan_java.log").empty());
}

TEST_F(DeviceLogTest, lineMarksFollowTheLevelAndTextEndsAtItsFirstZero)
{
    const std::string path = dir + "/levels";
    Device device;
    PPropertyBag bag = settings(0, path);
    bag.addValue("AutoCleanUpLog", PVariant(false));
    std::ofstream(path) << "kept\n";
    device.initDebug(bag);
    const PDebugMessageHandler handler = device.debugMessageHandler();
    ASSERT_TRUE(handler);
    for (unsigned short level : {1, 2, 3})
        handler(DebugMessageContext{0, level}, std::string("lvl\0hidden", 10));
    const std::vector<std::string> got = linesOf(path);
    ASSERT_EQ(got.size(), 5u);
    EXPECT_EQ(got[0], "kept");
    EXPECT_EQ(got[1].rfind("log opened ", 0), 0u);
    EXPECT_EQ(got[2].substr(0, 4), "[W]{");
    EXPECT_EQ(got[3].substr(0, 4), "[F]{");
    EXPECT_TRUE(std::regex_match(got[4], std::regex(R"(\{\d+\}\(.*\)InputDevice#1: lvl)"))) << got[4];
    EXPECT_TRUE(std::filesystem::exists(path + "_java"));
}

TEST_F(DeviceLogTest, javaLogNameAndLogsThatCannotBeWritten)
{
    // Every dot after the second one is dropped with what stands behind it.
    Device device;
    device.initDebug(settings(0, dir + "/a.b.c.d"));
    EXPECT_TRUE(std::filesystem::exists(dir + "/a_java.b"));

    Device unlogged;
    ASSERT_TRUE(unlogged.open(settings(0, dir + "/missing/x.log"), [](PEvent*) {}, [](const PError&) {}));
    EXPECT_FALSE(std::filesystem::exists(dir + "/missing"));

    Device pathless;
    pathless.initDebug(settings(0, ""));
    ASSERT_TRUE(pathless.debugMessageHandler());
    pathless.debugMessageHandler()(DebugMessageContext{}, "nowhere");

    for (int type : {-1, 2}) {
        Device quiet;
        quiet.initDebug(settings(type, dir + "/quiet.log"));
        EXPECT_FALSE(quiet.debugMessageHandler());
    }
    Device noType;
    noType.initDebug(PPropertyBag());
    EXPECT_FALSE(noType.debugMessageHandler());
    EXPECT_FALSE(std::filesystem::exists(dir + "/quiet.log"));
}

TEST_F(DeviceLogTest, systemLogWritesTheSameLineUnderTheKelmorTag)
{
    Device device;
    PPropertyBag bag = settings(1, "");
    ::testing::internal::CaptureStderr();
    ASSERT_TRUE(device.open(bag, [](PEvent*) {}, [](const PError&) {}));
    device.close();
    const std::string printed = ::testing::internal::GetCapturedStderr();
    EXPECT_TRUE(std::regex_search(
        printed, std::regex(R"(Kelmor +I .*\[D\]\{\d+\}\(\d{4}-\d\d-\d\d::\d\d:\d\d:\d\d\)InputDevice#1: Device succesefully opened)")))
        << printed;

    PSysLog log;
    EXPECT_FALSE(log.open(PPropertyBag()));
    EXPECT_FALSE(log.isOpen());
}

}
