// The keyboard service and device with a recording companion in place of the Java one.
#include "DeviceLifeChecks.h"
#include "PEvent.h"
#include "PEventKeys.h"
#include "PJavaHandles.h"
#include "PKeyboard.h"
#include "PKeyboardIOQueueService.h"
#include "WaitCounter.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>

namespace {

// No tick comes during a test that drives the ticks itself.
const int kManualTicks = 3600 * 1000;

// What the companions of one test did.
struct CompanionLog {
    std::mutex mutex;  // guards settings
    std::vector<std::string> settings;
    std::atomic<int> made{0};
    std::atomic<int> closed{0};
    std::atomic<int> destroyed{0};
    std::atomic<bool> invalid{false};
};

class RecordingCompanion : public PKeyboardCompanion {
public:
    explicit RecordingCompanion(std::shared_ptr<CompanionLog> log)
        : m_log(std::move(log)), m_valid(!m_log->invalid)
    {
        ++m_log->made;
    }
    ~RecordingCompanion() override { ++m_log->destroyed; }
    bool isValid() const override { return m_valid; }
    bool open(const PString& settings) override
    {
        std::lock_guard<std::mutex> lock(m_log->mutex);
        m_log->settings.push_back(settings.toStdString());
        return true;
    }
    void close() override { ++m_log->closed; }
    PError lastError() const override { return PError(8, "no companion"); }

private:
    std::shared_ptr<CompanionLog> m_log;
    bool m_valid;
};

PKeyboardIOQueueService& service()
{
    return PKeyboardIOQueueService::getInstance();
}

std::shared_ptr<PKeyboard> keyboard(int timeout, PIODevice::Callback callback = nullptr)
{
    auto device = std::make_shared<PKeyboard>();
    device->setParameter("timeout", PVariant(timeout));
    device->setCallback(std::move(callback));
    return device;
}

unsigned long messageCount(PEvent* event)
{
    return event->value(PEventKeys::KeyboardInputKey()).toByteArray().size() / sizeof(PKeyMSG);
}

class PKeyboardIOQueueServiceTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_handles = PJavaHandles::count();
        service().setCompanionFactory([log = m_log](int64_t) {
            return std::unique_ptr<PKeyboardCompanion>(new RecordingCompanion(log));
        });
    }
    void TearDown() override
    {
        EXPECT_FALSE(service().isRunning());
        EXPECT_EQ(service().inputHandlersCount(), 0u);
        service().setCompanionFactory(nullptr);
        service().popMessagesFromCache(PKeyboardIOQueueService::SentSlot);
        service().popMessagesFromCache(PKeyboardIOQueueService::ReceivedSlot);
        EXPECT_EQ(PJavaHandles::count(), m_handles) << "a handle outlived the service's run";
        EXPECT_EQ(m_log->made.load(), m_log->destroyed.load());
    }

    std::shared_ptr<CompanionLog> m_log = std::make_shared<CompanionLog>();
    std::size_t m_handles = 0;
};

}

TEST_F(PKeyboardIOQueueServiceTest, devicesShareOneRunAndEachTickOffersOneEventTheyReplyTo)
{
    std::vector<unsigned long> seenA, seenB;
    int replyA = 0, replyB = 0;
    auto a = keyboard(kManualTicks, [&](PEvent* event) {
        seenA.push_back(messageCount(event));
        if (replyA)
            event->setValue(PEventKeys::AcceptStatusKey(), PVariant(replyA));
    });
    // Its own timeout would tick every 20 ms: the running timer keeps the first device's.
    auto b = keyboard(20, [&](PEvent* event) {
        seenB.push_back(messageCount(event));
        if (replyB)
            event->setValue(PEventKeys::AcceptStatusKey(), PVariant(replyB));
        EXPECT_EQ(event->value(PEventKeys::InputKey()).toPString(), PString());
        EXPECT_EQ(event->value(PEventKeys::StolenKey()).toPString(), PString("true"));
        EXPECT_EQ(event->value(PEventKeys::DevIdEventKey()).toPString(), PString("keyboard"));
        EXPECT_EQ(event->value(PEventKeys::DevTypeEventKey()).toPString(), PString("keyboard"));
        EXPECT_EQ(event->value(PEventKeys::DevStateEventKey()).toPString(), PString("0"));
    });

    // With nobody registered a tick takes nothing: messages wait for the first device.
    service().pushMessagesToCache(PKeyboardIOQueueService::ReceivedSlot, {PKeyMSG{}});
    service().commonTimeoutProc();
    ASSERT_TRUE(a->open(1));
    ASSERT_TRUE(b->open(2));
    EXPECT_EQ(m_log->made.load(), 1);
    EXPECT_EQ(m_log->settings, std::vector<std::string>{"timeout=0;ignore_state=0;gs1symbolkey=0000008a;"});
    EXPECT_EQ(service().parameter("flags").toInt(), 1) << "parameters are fixed while it runs";
    EXPECT_FALSE(service().setParameter("flags", PVariant(5)).isValid());
    PKeyboardIOQueueService::deliverPacket(service().javaHandle(), "29:1:QQ==;30:1:Qg==");
    PKeyboardIOQueueService::deliverPacket(0, "29:1:QQ==");
    PKeyboardIOQueueService::deliverPacket(service().javaHandle() + 1000, "29:1:QQ==");

    replyA = replyB = 1;
    service().commonTimeoutProc();
    EXPECT_EQ(seenA, std::vector<unsigned long>{3});
    EXPECT_EQ(seenB, std::vector<unsigned long>{3});

    // The first device to reply 3 ends the round: the second waits for the next tick.
    replyA = 3;
    service().commonTimeoutProc();
    EXPECT_EQ(seenA, (std::vector<unsigned long>{3, 0}));
    EXPECT_EQ(seenB.size(), 1u);
    EXPECT_TRUE(service().popMessagesFromCache(PKeyboardIOQueueService::SentSlot).empty());

    // Stored input is kept in the sent slot until a reply settles it; silence drops it.
    replyA = 1;
    replyB = 0;
    PKeyboardIOQueueService::deliverPacket(service().javaHandle(), "29:1:QQ==");
    service().commonTimeoutProc();
    replyA = 0;
    service().commonTimeoutProc();
    service().commonTimeoutProc();
    EXPECT_EQ(seenA, (std::vector<unsigned long>{3, 0, 1, 0, 0}));
    EXPECT_TRUE(service().popMessagesFromCache(PKeyboardIOQueueService::SentSlot).empty());

    // A closed device is passed over; the last close ends the run.
    a->close();
    a->close();
    service().commonTimeoutProc();
    EXPECT_EQ(seenA.size(), 5u);
    EXPECT_EQ(seenB.size(), 5u);
    EXPECT_EQ(m_log->closed.load(), 0);
    b.reset();  // the destructor closes
    EXPECT_FALSE(service().isRunning());
    EXPECT_EQ(m_log->closed.load(), 1);
    EXPECT_EQ(service().javaHandle(), 0);
    EXPECT_TRUE(service().stop()) << "an unmatched stop changes nothing";
}

TEST_F(PKeyboardIOQueueServiceTest, failedOpenLeavesNothingBehindAndSaysWhy)
{
    auto device = keyboard(0);
    EXPECT_FALSE(device->open(1));
    EXPECT_EQ(kelmortest::errorText(*device), "[1]Failed to start timer");
    EXPECT_FALSE(device->isOpen());
    EXPECT_EQ(service().inputHandlersCount(), 0u);
    EXPECT_EQ(m_log->closed.load(), 1) << "the companion opened before the timer failed";

    device->setParameter("timeout", PVariant(kManualTicks));
    ASSERT_TRUE(device->open(1));
    EXPECT_EQ(m_log->made.load(), 1) << "the companion stays for the next attempt";

    // Registering twice is refused and leaves the open device as it was.
    EXPECT_FALSE(device->open(1));
    EXPECT_EQ(kelmortest::errorText(*device), "[2]Failed to register keyboard device");
    EXPECT_TRUE(device->isOpen());
    device->close();

    // A companion that could not be made is dropped, and the next start makes a new one.
    m_log->invalid = true;
    EXPECT_FALSE(device->open(1));
    EXPECT_EQ(device->getLastError().message(), PString("no companion"));
    m_log->invalid = false;
    ASSERT_TRUE(device->open(1));
    EXPECT_EQ(m_log->made.load(), 3);
    device->close();

    PKeyboard onStack;
    EXPECT_FALSE(onStack.open(1));
    EXPECT_EQ(kelmortest::errorText(onStack), "[2]Keyboard device must be made with std::make_shared");
}

TEST_F(PKeyboardIOQueueServiceTest, aSlotKeepsOnlyTheNewestMessages)
{
    const unsigned long cap = PKeyboardIOQueueService::maxCachedMessages();
    std::vector<PKeyMSG> many(cap + 10);
    for (unsigned long i = 0; i < many.size(); ++i)
        many[i].timestamp = i;
    service().pushMessagesToCache(PKeyboardIOQueueService::ReceivedSlot, many);
    service().pushMessagesToCache(PKeyboardIOQueueService::ReceivedSlot, {many.back()});
    const std::vector<PKeyMSG> kept = service().popMessagesFromCache(PKeyboardIOQueueService::ReceivedSlot);
    ASSERT_EQ(kept.size(), cap);
    EXPECT_EQ(kept.front().timestamp, 11u);
}

// A tick offers the same event to both devices, as processors see it: keys are stored, and the
// tick without keys delivers them. The timer rests once every device has ended its burst, and
// the next keys wake it; the first device's delivery ends a round, so the second one still needs
// a tick of its own before the rest.
TEST_F(PKeyboardIOQueueServiceTest, timerRestsOnceEveryBurstHasEndedAndKeysWakeIt)
{
    std::atomic<int> ticks{0};
    kelmortest::WaitCounter delivered;
    auto processor = [&](std::shared_ptr<std::atomic<bool>> stored) {
        return [&, stored](PEvent* event) {
            ++ticks;
            if (messageCount(event) != 0) {
                *stored = true;
                event->setValue(PEventKeys::AcceptStatusKey(), PVariant(1));
            } else if (stored->exchange(false)) {
                delivered.add();
                event->setValue(PEventKeys::AcceptStatusKey(), PVariant(3));
            }
        };
    };
    // Ticks far enough apart that b registers before the first one, which takes the keys, even
    // on a slow emulator.
    auto a = keyboard(25, processor(std::make_shared<std::atomic<bool>>(false)));
    auto b = keyboard(25, processor(std::make_shared<std::atomic<bool>>(false)));
    // Keys kept from before any device opened go out once one has.
    service().pushMessagesToCache(PKeyboardIOQueueService::ReceivedSlot, {PKeyMSG{}});
    ASSERT_TRUE(a->open(1));
    ASSERT_TRUE(b->open(1));
    for (int burst = 1; burst <= 2; ++burst) {
        if (burst == 2)
            PKeyboardIOQueueService::deliverPacket(service().javaHandle(), "29:1:QQ==");
        ASSERT_TRUE(delivered.waitFor(2 * burst)) << "burst " << burst << " delivered " << delivered.count();
        const int after = ticks.load();
        std::this_thread::sleep_for(std::chrono::milliseconds(80));
        EXPECT_EQ(ticks.load(), after) << "a tick came with nothing to do";
    }
    a->close();
    b->close();
}

// The timer runs for real from here on: 1 ms ticks while a thread feeds packets.
class PKeyboardIOQueueServiceStressTest : public PKeyboardIOQueueServiceTest {
protected:
    void SetUp() override
    {
        PKeyboardIOQueueServiceTest::SetUp();
        m_feeder = std::thread([this] {
            while (!m_stop)
                PKeyboardIOQueueService::deliverPacket(service().javaHandle(), "29:1:QQ==;29:0:QQ==");
        });
    }
    void TearDown() override
    {
        m_stop = true;
        m_feeder.join();
        anchor->close();
        PKeyboardIOQueueServiceTest::TearDown();
    }

    kelmortest::QuietLog m_quiet;
    std::atomic<bool> m_stop{false};
    std::thread m_feeder;
    // Shares the timer with the device under test, so that its close may or may not stop it.
    std::shared_ptr<PKeyboard> anchor = keyboard(1);
    const kelmortest::MakeDevice m_make = [] { return keyboard(1); };
};

TEST_F(PKeyboardIOQueueServiceStressTest, openStreamCloseCyclesWhileTheFeederDelivers)
{
    kelmortest::openStreamCloseCycles("keyboard service", m_make, 1, kelmortest::carriesKeys,
                                      kelmortest::aloneEveryTenthCycle(*anchor));
}

TEST_F(PKeyboardIOQueueServiceStressTest, deviceClosedAndDroppedInsideItsOwnCallback)
{
    // Every other round the device is the only one: its close stops the timer it runs on.
    for (int round = 0; round < 300; ++round) {
        if (round % 2 == 0) {
            ASSERT_TRUE(anchor->open(1));
        }
        kelmortest::closeOrDropInsideCallback(m_make, 1, true, true);
        anchor->close();
    }
}

TEST_F(PKeyboardIOQueueServiceStressTest, deviceLetGoDuringItsCallbackLivesUntilTheCallbackEnds)
{
    ASSERT_TRUE(anchor->open(1));
    for (int round = 0; round < 100; ++round) {
        kelmortest::letGoDuringCallback(m_make, 1, true, [](PIOCustomDevice& device) {
            EXPECT_EQ(device.parameter("timeout").toInt(), 1);
            EXPECT_FALSE(device.isOpen());
        });
    }
}
