// Tests of the key codes, key names and packets, packed key messages and the global key queue.
#include "PGlobalKeyEventsQueue.h"
#include "PKeyCodes.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>

using namespace strake;

namespace {

// "keycode/ch" of each message, flags and origin checked on the way.
std::string readPacket(const char* packet, uint32_t flags = 1)
{
    std::string result;
    for (const PKeyMSG& message : rawInputToStandart(PString(packet), 15)) {
        EXPECT_EQ(message.flags, flags) << packet;
        EXPECT_EQ(message.origin, 1) << packet;
        result += std::to_string(message.keycode) + "/" + std::to_string(message.ch) + " ";
    }
    return result;
}

PKeyMSG keyMessage(unsigned char code)
{
    PKeyMSG message{};
    message.keycode = code;
    return message;
}

}  // namespace

TEST(PKeyCodes, packetRecordsBecomeKeyMessagesThatPackInTheirLayout)
{
    EXPECT_EQ(readPacket("29:1:QQ=="), "65/65 ");
    // Several characters on one key event: the first names the key, the rest ride alone.
    EXPECT_EQ(readPacket("0:1:QUI="), "0/65 0/66 ");
    EXPECT_EQ(readPacket("66:1"), "13/0 ");
    EXPECT_EQ(readPacket("29:0:YQ==", 0), "65/97 ");
    // Numbers read as atoi does; a fourth field is ignored.
    EXPECT_EQ(readPacket("29abc:1x:QQ==:extra"), "65/65 ");
    // Unusable records (unknown key without characters, no flags field, nothing) are
    // skipped without disturbing their neighbours.
    EXPECT_EQ(readPacket("999:1;;29;:;"), "");
    EXPECT_EQ(readPacket("29:1:QQ==;999:1;30;31:1:Qw==;66:1"), "65/65 67/67 13/0 ");
    // UTF-8 D0 90: ch reads as a negative byte on every CPU, whatever plain char is there.
    EXPECT_EQ(readPacket("30:1:0JA="), "66/-48 0/-112 ");

    // Packed messages come back whole; a remainder short of a whole record is ignored.
    const std::vector<PKeyMSG> messages = rawInputToStandart(PString("29:3:QQ==;0:1:0A=="), 15);
    PByteArray packed = packKeyMessages(messages);
    ASSERT_EQ(packed.size(), 2 * sizeof(PKeyMSG));
    packed.add(reinterpret_cast<const unsigned char*>("x"), 1);
    const std::vector<PKeyMSG> back = unpackKeyMessages(packed);
    ASSERT_EQ(back.size(), 2u);
    EXPECT_EQ(std::memcmp(back.data(), messages.data(), packed.size() - 1), 0);
    EXPECT_TRUE(unpackKeyMessages(PByteArray("0123456789")).empty());
}

TEST(PKeyCodes, keyNamesShowDirection)
{
    EXPECT_EQ(getKeyName(65, 1), PString("'A_'"));
    EXPECT_EQ(getKeyName(65, 0), PString("'_A'"));
    EXPECT_EQ(getKeyName(13, 1), PString("'ENTER'"));
    EXPECT_EQ(getKeyName(173, 0), PString("'leftalt'"));
    EXPECT_EQ(getKeyName(97, 0), PString("{FAIL(97(}"));
    EXPECT_EQ(getKeyName(0), PString("NONE"));
    EXPECT_EQ(getKeyName(126), PString("~"));
    for (unsigned int unnamed : {1u, 97u, 122u, 135u, 187u, 253u, 256u})
        EXPECT_TRUE(getKeyName(unnamed).isEmpty()) << unnamed;

    for (unsigned int i = 0; i < 27; ++i)
        EXPECT_EQ(getGSKeyCodeIndex(unsigned(getGSKeyCodeForIndex(i))), int(i));
    EXPECT_EQ(getGSKeyCodeForIndex(27), -1);
    EXPECT_EQ(getGSKeyCodeIndex(248), 7);
    EXPECT_EQ(getGSKeyCodeIndex(65), -1);
    EXPECT_EQ(getGSKeyCodeIndex(248 + 256), -1);
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
    EXPECT_EQ(PGlobalKeyEventsQueue::mapMSGS({keyMessage(5), keyMessage(6)}), (std::vector<int>{1, 2}));
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
