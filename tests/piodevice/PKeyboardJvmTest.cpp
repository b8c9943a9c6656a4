// Keyboard mode in the VM: key events from the Java companion come out as the scanned code.
#include "DeviceJvmFixture.h"
#include "DeviceLifeChecks.h"
#include "PEvent.h"
#include "PEventKeys.h"
#include "PKeyboard.h"
#include "PKeyboardIOQueueService.h"
#include "PKeyboardInputProcessor.h"

namespace {

using kelmortest::callStatic;

const char16_t kKeyboard[] = u"com.tavrel.piodevice.PKeyboard";

// A keyboard device wired to a keyboard processor, as a Device wires them.
struct Wired {
    std::shared_ptr<PKeyboard> device = std::make_shared<PKeyboard>();
    std::shared_ptr<kelmortest::TextLog> messages = std::make_shared<kelmortest::TextLog>();

    explicit Wired(int timeout)
    {
        auto processor = std::make_shared<PKeyboardInputProcessor>();
        processor->setParameter("Suffix", PVariant("\r\n"));
        processor->setParameter("GSKeyCode", PVariant(248));
        processor->setCallback([messages = messages](PEvent* event) {
            messages->record(event->value(PEventKeys::InputKey()).toByteArray().toStdString());
        });
        device->setParameter("timeout", PVariant(timeout));
        device->setCallback([processor](PEvent* event) { processor->processInput(event); });
    }
};

class PKeyboardJvmTest : public kelmortest::DeviceJvmTest {
protected:
    int sendText(const std::string& text)
    {
        return callStatic<int>(kKeyboard, "sendText", "(Ljava/lang/String;)I", text);
    }
    std::string packetRecord(int code, int action, int meta, const char* characters)
    {
        return callStatic<std::string>(kKeyboard, "packetRecord", "(IIILjava/lang/String;)Ljava/lang/String;",
                                       code, action, meta, characters);
    }
    int openCompanions() { return callStatic<int>(kKeyboard, "openCount", "()I"); }
};

}

TEST_F(PKeyboardJvmTest, keyEventsFromJavaReachAnOpenDeviceOnTheTimerAsTheScannedCode)
{
    // The packet of single events, as a handheld's companion makes it.
    EXPECT_EQ(packetRecord(29, 0, 1, nullptr), "29:3:QQ==") << "shift+A pressed";
    EXPECT_EQ(packetRecord(29, 1, 0x100000, nullptr), "29:2:QQ==") << "released under caps lock";
    EXPECT_EQ(packetRecord(66, 0, 0, nullptr), "66:1:Cg==");
    EXPECT_EQ(packetRecord(59, 0, 1, nullptr), "59:3");
    EXPECT_EQ(packetRecord(0, 2, 0, "é"), "0:1:w6k=");
    EXPECT_EQ(packetRecord(131, 0, 0, ""), "131:1");

    Wired wired(100);
    ASSERT_TRUE(wired.device->open(1)) << wired.device->getLastError().toString().toStdString();
    EXPECT_EQ(openCompanions(), 1);

    EXPECT_EQ(sendText("0104601234567894\x1d" "21aB-1\r"), 1);
    ASSERT_TRUE(wired.messages->waitFor(1));
    EXPECT_EQ(wired.messages->at(0), "0104601234567894\x1d" "21aB-1");

    // Key events one by one: shift down, A down and up, shift up, Enter down and up.
    EXPECT_EQ(callStatic<int>(kKeyboard, "sendKeyEvents", "([I[I[I[Ljava/lang/String;)I",
                              std::vector<jint>{59, 29, 29, 59, 66, 66}, std::vector<jint>{0, 0, 1, 1, 0, 1},
                              std::vector<jint>{1, 1, 1, 0, 0, 0}, nullptr),
              1);
    ASSERT_TRUE(wired.messages->waitFor(2));
    EXPECT_EQ(wired.messages->at(1), "A");

    // A zero handle or a null packet reaches nothing; neither leaves an exception behind.
    const int64_t handle = PKeyboardIOQueueService::getInstance().javaHandle();
    Java_com_tavrel_piodevice_PKeyboard_PKeyboardDataSend(env(), nullptr, 0, nullptr);
    Java_com_tavrel_piodevice_PKeyboard_PKeyboardDataSend(env(), nullptr, jlong(handle), nullptr);
    EXPECT_FALSE(env()->ExceptionCheck());

    wired.device->close();
    EXPECT_EQ(openCompanions(), 0);
    EXPECT_EQ(sendText("late\r"), 0);
}

TEST_F(PKeyboardJvmTest, companionGetsExactSettingsAndItsRefusalsBecomeErrors)
{
    redirect(kKeyboard, kRecording);
    resetRecording();
    auto device = std::make_shared<PKeyboard>();
    device->setParameter("timeout", PVariant(1000));
    ASSERT_TRUE(device->open(1));
    device->close();
    EXPECT_EQ(recordedCalls(), "new\nopen timeout=0;ignore_state=0;gs1symbolkey=0000008a;\nclose");
    resetRecording();

    // A refusal or an exception from open is an error; the companion is asked again later.
    for (const bool throws : {false, true}) {
        setRecording("openResult", throws);
        setRecording("openThrows", throws);
        EXPECT_FALSE(device->open(1));
        EXPECT_EQ(kelmortest::errorText(*device), "[2]Keyboard companion refused to open") << throws;
        EXPECT_FALSE(env()->ExceptionCheck());
        EXPECT_FALSE(PKeyboardIOQueueService::getInstance().isRunning());
    }
    setRecording("openThrows", false);
    ASSERT_TRUE(device->open(1));
    device->close();
    const std::string log = recordedCalls();
    EXPECT_EQ(log.find("new"), log.rfind("new")) << "the refused companion is asked again";

    setRecording("throwing", true);
    EXPECT_FALSE(device->open(1));
    EXPECT_EQ(device->getLastError().message(), PString("class com.tavrel.piodevice.PKeyboard could not be made"));
    resetRecording();
}

TEST_F(PKeyboardJvmTest, openStreamCloseCyclesWhileJavaThreadsSendAsFastAsTheyCan)
{
    kelmortest::QuietLog quiet;
    Wired anchor(1);
    ASSERT_TRUE(anchor.device->open(1));
    anchor.device->close();
    const long refs = PHostJvm::globalRefCount();  // with the companion's class pinned

    startFloods(nullptr, nullptr, "29:1:QQ==");
    // The device alone takes its companion with it.
    const kelmortest::MakeDevice make = [] {
        auto device = std::make_shared<PKeyboard>();
        device->setParameter("timeout", PVariant(1));
        return device;
    };
    kelmortest::openStreamCloseCycles("keyboard", make, 1, kelmortest::carriesKeys,
                                      kelmortest::aloneEveryTenthCycle(*anchor.device));
    anchor.device->close();
    EXPECT_TRUE(stopFloods());
    EXPECT_EQ(PHostJvm::globalRefCount(), refs);
    EXPECT_EQ(openCompanions(), 0);
}
