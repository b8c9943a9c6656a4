// Tests of the key message buffer and the global key queue's facade and implementations.
#include "PGlobalKeyEventsQueue.h"

#include <gtest/gtest.h>

#include <atomic>

namespace {

PKeyMSG keyMessage(unsigned char code)
{
    PKeyMSG message{};
    message.keycode = code;
    return message;
}

}

TEST(PGlobalKeyEventsQueueTest, bufferIsLinearAndRefusesSeriesThatWouldFillItsLastSlot)
{
    pkeymsgbuff::MSGBUFF buffer;
    std::vector<PKeyMSG> series(1023, keyMessage(1));
    EXPECT_EQ(pkeymsgbuff::writeMSGS(&buffer, series.data(), 1024), 0u);
    EXPECT_EQ(pkeymsgbuff::writeMSGS(&buffer, series.data(), 1023), 1023u);
    EXPECT_EQ(pkeymsgbuff::writeMSGS(&buffer, series.data(), 1), 0u) << "1023 + 1 is past 1023";
    EXPECT_TRUE(pkeymsgbuff::writeMSG(&buffer, keyMessage(2))) << "one by one it fills all 1024";
    EXPECT_FALSE(pkeymsgbuff::writeMSG(&buffer, keyMessage(3)));
    EXPECT_FALSE(pkeymsgbuff::writeMSG(nullptr, keyMessage(3)));
    EXPECT_EQ(pkeymsgbuff::writeMSGS(nullptr, series.data(), 1), 0u);

    for (int i = 0; i < 1023; ++i)
        ASSERT_EQ(pkeymsgbuff::popMSG(&buffer).keycode, 1);
    EXPECT_EQ(pkeymsgbuff::popMSG(&buffer).keycode, 2);
    EXPECT_EQ(buffer.readIndex, 0u) << "drained: both indices go back to 0";
    EXPECT_EQ(buffer.writeIndex, 0u);
    EXPECT_EQ(pkeymsgbuff::popMSG(&buffer).keycode, 0);
    EXPECT_EQ(pkeymsgbuff::popMSG(nullptr).keycode, 0);
}

TEST(PGlobalKeyEventsQueueTest, localQueueQueuesMapsAndTellsSubscribers)
{
    std::atomic<int> told{0};
    const unsigned long first = PGlobalKeyEventsQueue::registerSubscriber([&](PEvent* event) {
        EXPECT_EQ(event, nullptr);
        ++told;
        // Called outside the facade's lock: a subscriber may read the queue.
        PGlobalKeyEventsQueue::isInitialized();
    });
    EXPECT_EQ(PGlobalKeyEventsQueue::registerSubscriber(nullptr), first + 1);

    ASSERT_TRUE(PGlobalKeyEventsQueue::initialize(0));
    EXPECT_TRUE(PGlobalKeyEventsQueue::initialize(-1));
    EXPECT_TRUE(PGlobalKeyEventsQueue::addMessage(keyMessage(1)));
    EXPECT_TRUE(PGlobalKeyEventsQueue::addMessages({keyMessage(2), keyMessage(3)}));
    EXPECT_EQ(told.load(), 2);
    EXPECT_EQ(PGlobalKeyEventsQueue::popMessage().keycode, 1);
    const std::vector<PKeyMSG> rest = PGlobalKeyEventsQueue::popMessages();
    ASSERT_EQ(rest.size(), 2u);
    EXPECT_EQ(rest[1].keycode, 3);
    EXPECT_TRUE(PGlobalKeyEventsQueue::popMessages().empty());

    // Slots: a taken one is skipped until it is unmapped; the stored copy is marked taken.
    EXPECT_EQ(PGlobalKeyEventsQueue::mapMSG(keyMessage(4)), 0);
    EXPECT_EQ(PGlobalKeyEventsQueue::mapMSGS({keyMessage(5), keyMessage(6)}),
              (std::vector<int>{1, 2}));
    const PKeyMSG unmapped = PGlobalKeyEventsQueue::unmapMSG(1);
    EXPECT_EQ(unmapped.keycode, 5);
    EXPECT_NE(unmapped.mapped, 0u);
    EXPECT_EQ(PGlobalKeyEventsQueue::mapMSG(keyMessage(7)), 1);
    EXPECT_EQ(PGlobalKeyEventsQueue::unmapMSG(1024).keycode, 0);
    std::vector<PKeyMSG> many(1022, keyMessage(9));
    EXPECT_EQ(PGlobalKeyEventsQueue::mapMSGS(many).back(), -1) << "1024 slots in all";

    EXPECT_TRUE(PGlobalKeyEventsQueue::deinitialize());
    EXPECT_FALSE(PGlobalKeyEventsQueue::initialize(-1));
    EXPECT_TRUE(PGlobalKeyEventsQueue::unregisterSubscriber(first));
    EXPECT_TRUE(PGlobalKeyEventsQueue::unregisterSubscriber(first + 1));
    EXPECT_FALSE(PGlobalKeyEventsQueue::unregisterSubscriber(first));

    ASSERT_FALSE(PGlobalKeyEventsQueue::initialize(-1));
    EXPECT_FALSE(PGlobalKeyEventsQueue::initialize(1)) << "the shared queue never initialises";
    EXPECT_FALSE(PGlobalKeyEventsQueue::isInitialized());
    EXPECT_FALSE(PGlobalKeyEventsQueue::addMessage(keyMessage(1)));
    EXPECT_TRUE(PGlobalKeyEventsQueue::popMessages().empty());
    EXPECT_EQ(PGlobalKeyEventsQueue::mapMSG(keyMessage(1)), -1);
    EXPECT_TRUE(PGlobalKeyEventsQueue::deinitialize());
}
