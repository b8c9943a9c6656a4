// Tests of the keyboard processors: bursts of the Java side's text packets, fed tick by tick.
#include "PKeyboardInputProcessor.h"

#include "AllocationCounter.h"
#include "StrakeText.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

using strake::raw2Base64;

namespace {

const int kShiftLeft = 59, kEnter = 66, kF1 = 131, kF8 = 138;

std::string record(int androidCode, bool pressed, const std::string& characters = "")
{
    std::string text = std::to_string(androidCode) + (pressed ? ":1" : ":0");
    if (!characters.empty())
        text += ":" + raw2Base64(characters);
    return text + ";";
}

std::string tap(int androidCode, const std::string& characters = "")
{
    return record(androidCode, true, characters) + record(androidCode, false, characters);
}

// Digits, capital letters and Enter (\n) as the Java side reports them: the key and its character.
std::string typed(const std::string& text)
{
    std::string packet;
    for (char c : text) {
        if (c == '\n')
            packet += tap(kEnter, "\n");
        else if (c >= '0' && c <= '9')
            packet += tap(7 + (c - '0'), std::string(1, c));
        else if (c >= 'A' && c <= 'Z')
            packet += tap(29 + (c - 'A'), std::string(1, c));
        else
            ADD_FAILURE() << "no key for " << c;
    }
    return packet;
}

// One tick of the keyboard service: the packed messages and the keys it always sets.
PIODeviceEvent tick(const std::string& packet)
{
    PIODeviceEvent event;
    event.setValue("keyboard_input",
                   PVariant(strake::packKeyMessages(strake::rawInputToStandart(PString(packet)))));
    event.setValue("input", PVariant(""));
    event.setValue("stolen", PVariant("true"));
    event.setValue("dev_id", PVariant("keyboard"));
    event.setValue("dev_type", PVariant("keyboard"));
    event.setValue("dev_state", PVariant("0"));
    return event;
}

struct Delivered {
    std::string input;
    std::string unprocessed;
    std::shared_ptr<PEvent> copy;
};

class KeyboardProcessorTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        for (PInputProcessor* processor : std::initializer_list<PInputProcessor*>{&keyboard, &preview}) {
            processor->setParameter("EventName", PVariant("Barcode"));
            processor->setParameter("DevId", PVariant("Kelmor#1"));
            processor->setParameter("EquipmentType", PVariant("Scanner"));
            processor->setCallback([this](PEvent* event) {
                delivered.push_back({event->value("input").toByteArray().toStdString(),
                                     event->value("unprocessed_input").toByteArray().toStdString(),
                                     std::shared_ptr<PEvent>(event->copy())});
            });
        }
    }
    // Feeds the packet in `ticks` ticks of whole records and one empty tick: each acceptStatus.
    std::vector<int> feed(PInputProcessor& processor, const std::string& packet, size_t ticks)
    {
        const std::vector<std::string> records = strake::split(packet, ';');
        std::vector<int> statuses;
        for (size_t t = 0; t < ticks; ++t) {
            std::string part;
            for (size_t i = t * records.size() / ticks; i < (t + 1) * records.size() / ticks; ++i)
                part += records[i] + ";";
            PIODeviceEvent event = tick(part);
            processor.processInput(&event);
            statuses.push_back(event.value("acceptStatus").toInt());
        }
        PIODeviceEvent end = tick("");
        processor.processInput(&end);
        statuses.push_back(end.value("acceptStatus").toInt());
        return statuses;
    }

    std::vector<std::string> inputs() const
    {
        std::vector<std::string> result;
        for (const Delivered& item : delivered)
            result.push_back(item.input);
        return result;
    }

    PKeyboardInputProcessor keyboard;
    PTestKeyboardInputProcessor preview;
    std::vector<Delivered> delivered;
};

}  // namespace

// The other GS conventions (Alt and a decimal code, Ctrl and ]) are PKeyTranslationTest's.
TEST_F(KeyboardProcessorTest, gsKeyKeepsTheGsByteInsideTheMessage)
{
    EXPECT_EQ(feed(keyboard, typed("0104") + tap(kF8) + typed("21ABC\n"), 3), (std::vector<int>{1, 1, 1, 3}));
    ASSERT_EQ(delivered.size(), 1u);
    EXPECT_EQ(delivered[0].input, "0104\x1d" "21ABC");
    EXPECT_EQ(delivered[0].unprocessed, "0104\x1d" "21ABC\r");
    PEvent& event = *delivered[0].copy;
    const std::pair<const char*, const char*> fields[] = {
        {"EventName", "Barcode"}, {"DevId", "Kelmor#1"}, {"EquipmentType", "Scanner"}, {"dev_id", "keyboard"}, {"dev_state", "0"}};
    for (const auto& [key, value] : fields)
        EXPECT_EQ(event.value(key).toStdString(), value) << key;
    // Not set on the processor: carried as an invalid value, not invented.
    EXPECT_FALSE(event.value("OutputDataType").isValid());
    EXPECT_FALSE(event.value("dev_alias").isValid());
}

TEST_F(KeyboardProcessorTest, burstIsCutByPrefixAndSuffix)
{
    keyboard.setParameter("Prefix", PVariant("X"));
    keyboard.setParameter("Suffix", PVariant("\r"));
    // Two prefixed codes, one without the prefix, and a tail with no suffix.
    const std::string packet = typed("XAB\nCD\nXEF\nXGH");
    EXPECT_EQ(feed(keyboard, packet, 2), (std::vector<int>{1, 1, 3}));
    EXPECT_EQ(inputs(), (std::vector<std::string>{"AB", "EF"}));
    EXPECT_EQ(delivered[0].unprocessed, "XAB\rCD\rXEF\rXGH");
    EXPECT_EQ(delivered[1].unprocessed, delivered[0].unprocessed);

    // Nothing of the dropped tail survives into the next burst.
    delivered.clear();
    feed(keyboard, typed("XIJ\n"), 1);
    EXPECT_EQ(inputs(), (std::vector<std::string>{"IJ"}));
}

TEST_F(KeyboardProcessorTest, burstsWithoutSuffixTextOrMessagesEndQuietly)
{
    // A pause inside a scan splits it: the first half lacks the suffix and is lost, status unset.
    EXPECT_EQ(feed(keyboard, typed("123"), 1), (std::vector<int>{1, 0}));
    EXPECT_TRUE(delivered.empty());
    EXPECT_EQ(feed(keyboard, typed("45\n"), 1), (std::vector<int>{1, 3}));
    EXPECT_EQ(inputs(), (std::vector<std::string>{"45"}));
    delivered.clear();

    std::string releases;
    for (char c : std::string("ABC"))
        releases += record(29 + (c - 'A'), false, std::string(1, c));
    EXPECT_EQ(feed(keyboard, releases, 2), (std::vector<int>{1, 1, 0}));
    PIODeviceEvent idle = tick("");
    keyboard.processInput(&idle);
    EXPECT_FALSE(idle.value("acceptStatus").isValid());
    PEvent other(16);
    other.setValue("keyboard_input", tick(typed("A")).value("keyboard_input"));
    keyboard.processInput(&other);
    keyboard.processInput(nullptr);
    EXPECT_FALSE(other.value("acceptStatus").isValid());
    EXPECT_TRUE(delivered.empty());
}

TEST_F(KeyboardProcessorTest, parametersChooseGsKeyOutputTypeAndSuffix)
{
    keyboard.setParameter("GSKeyCode", PVariant(241));
    keyboard.setParameter("OutputDataType", PVariant(1));
    feed(keyboard, typed("A") + tap(kF1) + typed("B\n"), 1);
    EXPECT_EQ(inputs(), (std::vector<std::string>{raw2Base64("A\x1d" "B")}));
    EXPECT_EQ(delivered[0].copy->value("OutputDataType").toInt(), 1);

    // Without a suffix the whole burst is one message, prefix kept and not coded.
    delivered.clear();
    keyboard.setParameter("Suffix", PVariant(""));
    keyboard.setParameter("Prefix", PVariant("A"));
    feed(keyboard, typed("AB\n"), 2);
    EXPECT_EQ(inputs(), (std::vector<std::string>{"AB\r"}));
}

TEST_F(KeyboardProcessorTest, endlessBurstKeepsOnlyItsNewestStrokes)
{
    // A key held down never lets a tick go empty: the burst keeps its end, where a suffix would be.
    const size_t cap = PKeyboardInputProcessor::maxBurstMessages();
    std::vector<PKeyMSG> chunk(1000, strake::rawInputToStandart(PString(record(29, true, "A")))[0]);
    PIODeviceEvent event = tick("");
    event.setValue("keyboard_input", PVariant(strake::packKeyMessages(chunk)));
    for (size_t fed = 0; fed <= cap; fed += chunk.size())
        keyboard.processInput(&event);
    feed(keyboard, record(30, true, "B") + record(kEnter, true, "\n"), 1);
    ASSERT_EQ(delivered.size(), 1u);
    EXPECT_EQ(delivered[0].input, std::string(cap - 2, 'A') + "B");
}

TEST_F(KeyboardProcessorTest, withoutDebugHandlerNoDebugTextIsMade)
{
    if (!kelmortest::allocationCountingAvailable())
        GTEST_SKIP() << "sanitizer build";
    const std::vector<PKeyMSG> burst(1000, strake::rawInputToStandart(PString(record(29, true, "A")))[0]);
    size_t debugText = 0;
    auto allocatedBy = [&](bool logged) {
        PKeyboardInputProcessor processor;
        processor.setParameter("Suffix", PVariant(""));
        if (logged)
            processor.setDebugMessageHandler(
                [&debugText](const DebugMessageContext&, const std::string& text) { debugText += text.size(); });
        PIODeviceEvent stored = tick("");
        stored.setValue("keyboard_input", PVariant(strake::packKeyMessages(burst)));
        PIODeviceEvent end = tick("");
        kelmortest::AllocationCounter counter;
        processor.processInput(&stored);
        processor.processInput(&end);
        return counter.bytes();
    };
    const size_t quietBytes = allocatedBy(false);
    const size_t loggedBytes = allocatedBy(true);
    // Two copies of the burst (unpacked, stored) and little else; its debug text outweighs one.
    const size_t burstBytes = burst.size() * sizeof(PKeyMSG);
    EXPECT_LT(quietBytes, 3 * burstBytes);
    EXPECT_GT(debugText, burstBytes);
    EXPECT_GE(loggedBytes, quietBytes + debugText);
}

TEST_F(KeyboardProcessorTest, previewShowsTextWithNamedControls)
{
    const std::string scan = tap(kShiftLeft) + typed("AB") + tap(kF1) + typed("\n");
    feed(preview, scan, 2);
    // Every tick reaches the callback; only the last one carries the preview.
    ASSERT_EQ(delivered.size(), 3u);
    EXPECT_EQ(delivered[0].input, "");
    EXPECT_EQ(delivered[2].input, "AB'F1''CR'");
    EXPECT_EQ(delivered[2].unprocessed, "AB\r");
    EXPECT_FALSE(delivered[2].copy->value("acceptStatus").isValid());

    preview.setParameter("OutputDataType", PVariant(1));
    PIODeviceEvent burst = tick(scan);
    PByteArray raw;
    EXPECT_TRUE(preview.processToPreiew(&burst, &raw).isEmpty());
    PIODeviceEvent end = tick("");
    EXPECT_EQ(preview.processToPreiew(&end, &raw).toStdString(), "QUIN");
    EXPECT_EQ(raw.toStdString(), "AB\r");
    EXPECT_TRUE(preview.processToPreiew(&end, &raw).isEmpty());
    EXPECT_TRUE(preview.processToPreiew(nullptr, &raw).isEmpty());

    // Preview mode 16 is the ordinary processor.
    delivered.clear();
    preview.setParameter("OutputDataType", PVariant(0));
    preview.setParameter("PreviewMode", PVariant(16));
    EXPECT_EQ(feed(preview, typed("12") + tap(kF8) + typed("3\n"), 2), (std::vector<int>{1, 1, 3}));
    EXPECT_EQ(inputs(), (std::vector<std::string>{"12\x1d" "3"}));

    // Preview mode 1 shows every press and release.
    preview.setParameter("PreviewMode", PVariant(1));
    PIODeviceEvent keys = tick(typed("A\n") + record(999, true, "\x1d"));
    preview.processToPreiew(&keys, nullptr);
    EXPECT_EQ(preview.processToPreiew(&end, nullptr).toStdString(),
              "'A_''_A''ENTER''enter''NONE'");
}

