// Broadcast mode in the VM: intents on the companion's in-JVM bus reach the device, one event each.
#include "DeviceJvmFixture.h"
#include "DeviceLifeChecks.h"
#include "PBroadcastReceaver.h"
#include "PEvent.h"
#include "PEventKeys.h"

#include <chrono>

using namespace std::chrono_literals;

namespace {

using kelmortest::callStatic;

const char16_t kReceiver[] = u"com.tavrel.piodevice.PBroadcastReceaver";

using Inputs = kelmortest::TextLog;

// A receiver of the action with one field, recording the input of each event.
std::shared_ptr<PBroadcastReceaver> receiver(const char* action, const char* category,
                                             const char* field, int type, const std::shared_ptr<Inputs>& inputs)
{
    auto device = std::make_shared<PBroadcastReceaver>(action);
    device->setSignalCategoryName(category);
    device->setFieldsDesc({PBroadcastDataField(field, type)});
    device->setParameter("Suffix", PVariant("\r\n"));
    device->setCallback([inputs](PEvent* event) {
        EXPECT_EQ(event->value(PEventKeys::IdKey()).toPString(), PString("broadcast_reseaver"));
        EXPECT_EQ(event->value(PEventKeys::TypeKey()).toPString(), PString("broadcast_reseaver"));
        EXPECT_EQ(event->value(PEventKeys::StateKey()).toInt(), 0);
        EXPECT_TRUE(event->value(PEventKeys::KeyboardInputKey()).toByteArray().isEmpty());
        inputs->record(event->value(PEventKeys::InputKey()).toByteArray().toStdString());
    });
    return device;
}

class PBroadcastReceaverJvmTest : public kelmortest::DeviceJvmTest {
protected:
    // Sends one intent through DeviceTraffic.send<kind>; delivery is over when this returns.
    void send(const char* kind, const char* action, const char* category, const char* name, const std::string& value)
    {
        callStatic(kTraffic, kind, "(Ljava/lang/String;Ljava/lang/String;Ljava/lang/String;Ljava/lang/String;)V",
                   action, category, name, value);
    }
    int registeredReceivers() { return callStatic<int>(kReceiver, "registeredReceivers", "()I"); }
};

}

TEST_F(PBroadcastReceaverJvmTest, typedExtrasArriveAsOneEventEachWithEveryByteAndTheSuffix)
{
    auto texts = std::make_shared<Inputs>();
    auto bytes = std::make_shared<Inputs>();
    auto chars = std::make_shared<Inputs>();
    auto byText = receiver("STR", "com.scanner.CATEGORY", "data", PBroadcastDataField::String, texts);
    auto byBytes = receiver("BYTES", "", "raw", PBroadcastDataField::ByteArray, bytes);
    auto byChars = receiver("CHARS", "", "chars", PBroadcastDataField::CharArray, chars);
    for (auto& device : {byText, byBytes, byChars})
        ASSERT_TRUE(device->open(1)) << device->getLastError().toString().toStdString();
    EXPECT_EQ(registeredReceivers(), 3);

    send("sendString", "STR", "", "data", "4601234567894");
    EXPECT_EQ(texts->at(-1), "4601234567894\r\n") << "a bare code gets the suffix";
    // Latin-1 characters stand for bytes: GS and a byte above 127 pass unchanged.
    send("sendBytes", "BYTES", "", "raw", "01\x1d" "21\xc3\xa9\r\n");
    EXPECT_EQ(bytes->at(-1), "01\x1d" "21\xe9\r\n") << "a code that ends in the suffix keeps one";
    send("sendChars", "CHARS", "", "chars", "Код");
    EXPECT_EQ(chars->at(-1), "Код\r\n");
    // Another extra, another type under the name, another action or category: nothing.
    send("sendString", "STR", "", "other", "1");
    send("sendBytes", "STR", "", "data", "1");
    send("sendString", "NONE", "", "data", "1");
    send("sendString", "STR", "com.other.CATEGORY", "data", "1");
    EXPECT_EQ(texts->count(), 1);
    // The filter's own category passes, as does none at all (as on Android).
    send("sendString", "STR", "com.scanner.CATEGORY", "data", "2");
    EXPECT_EQ(texts->at(-1), "2\r\n");

    const long refs = PHostJvm::globalRefCount();
    byText->close();
    EXPECT_EQ(registeredReceivers(), 2);
    send("sendString", "STR", "", "data", "2");
    EXPECT_EQ(texts->count(), 2) << "a closed device hears nothing";
    ASSERT_TRUE(byText->open(1));
    EXPECT_EQ(PHostJvm::globalRefCount(), refs) << "open again, it keeps its companion";
    send("sendString", "STR", "", "data", "3");
    EXPECT_EQ(texts->at(-1), "3\r\n");

    byText.reset();
    EXPECT_EQ(PHostJvm::globalRefCount(), refs - 1) << "the companion goes with its device";
    EXPECT_EQ(registeredReceivers(), 2);
}

TEST_F(PBroadcastReceaverJvmTest, companionGetsExactParametersAndItsRefusalsBecomeErrors)
{
    redirect(kReceiver, kRecording);
    resetRecording();
    auto inputs = std::make_shared<Inputs>();
    auto device = receiver("SCAN", "C", "data", PBroadcastDataField::String, inputs);
    device->setFieldsDesc({PBroadcastDataField("raw", PBroadcastDataField::ByteArray),
                           PBroadcastDataField("data", PBroadcastDataField::String)});
    ASSERT_TRUE(device->open(1));
    EXPECT_TRUE(device->open(1)) << "an open device stays open";
    device->close();
    device->close();
    ASSERT_TRUE(device->open(1));
    EXPECT_EQ(recordedCalls(), "new\n"
                      "open action_name=SCAN;action_category_name=C;fields=data(9),raw(65538);\n"
                      "close\n"
                      "open action_name=SCAN;action_category_name=C;fields=data(9),raw(65538);");

    // The byte road: bytes as they are, with no suffix; nothing for a null array.
    const jlong handle = lastHandle();
    jbyteArray bytes = strake::str2jbyteArray(env(), "0\x1d" "1");
    Java_com_tavrel_piodevice_PBroadcastReceaver_PBroadcastReceaverSendData(env(), nullptr, handle, bytes);
    Java_com_tavrel_piodevice_PBroadcastReceaver_PBroadcastReceaverSendData(env(), nullptr, handle, nullptr);
    Java_com_tavrel_piodevice_PBroadcastReceaver_PBroadcastReceaverSendString(env(), nullptr, handle, nullptr);
    EXPECT_EQ(inputs->at(-1), std::string("0\x1d" "1"));
    EXPECT_EQ(inputs->count(), 1);
    kelmortest::dropLocal(bytes);

    for (const bool throws : {false, true}) {
        setRecording("openResult", throws);
        setRecording("openThrows", throws);
        device->close();
        EXPECT_FALSE(device->open(1)) << throws;
        EXPECT_FALSE(device->isOpen());
        EXPECT_EQ(kelmortest::errorText(*device), "[2]Broadcast receiver not registered");
        EXPECT_FALSE(env()->ExceptionCheck());
    }
    device.reset();
    setRecording("throwing", true);
    device = std::make_shared<PBroadcastReceaver>("SCAN");
    device->setFieldsDesc({PBroadcastDataField("data", PBroadcastDataField::String)});
    EXPECT_FALSE(device->open(1));
    EXPECT_EQ(device->getLastError().message(),
              PString("class com.tavrel.piodevice.PBroadcastReceaver could not be made"));
    resetRecording();
    EXPECT_TRUE(device->open(1)) << "a companion that could not be made is made again";
}

class PBroadcastReceaverStressJvmTest : public PBroadcastReceaverJvmTest {
protected:
    void SetUp() override
    {
        PBroadcastReceaverJvmTest::SetUp();
        // Warm-up: the companion's class is pinned from the first open on.
        ASSERT_TRUE(m_make()->open(1));
        m_refs = PHostJvm::globalRefCount();
        startFloods("FLOOD", "data", nullptr);
    }
    void TearDown() override
    {
        EXPECT_TRUE(stopFloods());
        EXPECT_EQ(PHostJvm::globalRefCount(), m_refs) << "a companion's reference outlived its device";
        EXPECT_EQ(registeredReceivers(), 0);
        PBroadcastReceaverJvmTest::TearDown();
    }

    kelmortest::QuietLog m_quiet;
    long m_refs = 0;
    const kelmortest::MakeDevice m_make = [] {
        auto device = std::make_shared<PBroadcastReceaver>("FLOOD");
        device->setFieldsDesc({PBroadcastDataField("data", PBroadcastDataField::String)});
        return device;
    };
};

TEST_F(PBroadcastReceaverStressJvmTest, openStreamCloseCyclesWhileAJavaThreadSendsAsFastAsItCan)
{
    // 10,000 cycles, or as many as 40 s allow on a slow (sanitizer) build.
    kelmortest::openStreamCloseCycles("broadcast", m_make, 1, nullptr, nullptr, 40s);
}

TEST_F(PBroadcastReceaverStressJvmTest, deviceClosedAndDroppedInsideItsOwnCallback)
{
    for (int round = 0; round < 300; ++round)
        kelmortest::closeOrDropInsideCallback(m_make, 1, true, true);
}

TEST_F(PBroadcastReceaverStressJvmTest, deviceLetGoDuringADeliveryLivesUntilTheDeliveryEnds)
{
    for (int round = 0; round < 100; ++round) {
        kelmortest::letGoDuringCallback(m_make, 1, true, [](PIOCustomDevice& device) {
            EXPECT_FALSE(device.isOpen());
            EXPECT_EQ(static_cast<PBroadcastReceaver&>(device).parametersText(),
                      PString("action_name=FLOOD;fields=data(9);"));
        });
    }
}
