// Tests of PInputProcessor and the stream processors, fed chunk by chunk as a device feeds them.
// Also holds the operator new replacement behind AllocationCounter.h for this test program.
#include "PSerialInputProcessor.h"

#include "AllocationCounter.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Strings = std::vector<std::string>;

void configure(PInputProcessor& processor, std::initializer_list<std::pair<const char*, PVariant>> parameters)
{
    for (const auto& parameter : parameters)
        processor.setParameter(parameter.first, parameter.second);
}

struct Harness {
    explicit Harness(PInputProcessor& processor, bool withDebug = false) : p(processor)
    {
        p.setCallback([this](PEvent* event) {
            seen.push_back(event);
            messages.push_back(event->value("input").toByteArray().toStdString());
            unprocessed.push_back(event->value("unprocessed_input").toByteArray().toStdString());
            events.emplace_back(event->copy());
        });
        if (withDebug)
            p.setDebugMessageHandler(
                [this](const DebugMessageContext&, const std::string& text) { debug.push_back(text); });
    }
    void feed(const std::string& bytes)
    {
        PIODeviceEvent event;
        event.setValue("input", PByteArray(bytes));
        event.setValue("dev_id", "COM3");
        event.setValue("dev_alias", "scanner");
        p.processInput(&event);
    }

    PInputProcessor& p;
    std::vector<PEvent*> seen;
    Strings messages;
    Strings unprocessed;
    Strings debug;
    std::vector<std::unique_ptr<PEvent>> events;
};

}

TEST(PInputProcessorTest, onlyDeviceDataEventsReachTheCallbackAndErrorsTheErrorCallback)
{
    PInputProcessor processor;
    PIODeviceEvent good;
    processor.processInput(&good);  // no callback, no handler: nothing happens
    processor.processInput(nullptr);

    Harness h(processor, true);
    PEvent other(16);
    processor.processInput(nullptr);
    processor.processInput(&other);
    EXPECT_TRUE(h.seen.empty());
    EXPECT_EQ(h.debug, Strings(2, "PInputProcessor::processInput:Event data corrupted"));

    good.setValue("input", PByteArray("AB"));
    good.setValue("EventName", "Barcode");
    good.setValue("DevId", "InputDevice#1");
    processor.processInput(&good);
    ASSERT_EQ(h.seen, std::vector<PEvent*>{&good}) << "the event itself, not a copy";
    EXPECT_EQ(h.debug.back(), "Event:DevId:Data = Barcode : InputDevice#1 : 0x41 0x42  : QUI=");

    h.debug.clear();
    std::vector<int> codes;
    processor.setErrorCallback([&](const PError& error) { codes.push_back(error.code()); });
    const PError error(200, "lost");
    processor.processError(error);
    EXPECT_EQ(codes, std::vector<int>{200});
    ASSERT_EQ(h.debug.size(), 1u);
    EXPECT_EQ(h.debug[0], "PInputProcessor::processError" + error.toString().toStdString());
}

TEST(PInputProcessorTest, parametersKeepEvenInvalidValuesAndCallbackMayUseThemReplaceItselfOrThrow)
{
    PInputProcessor processor;
    EXPECT_EQ(processor.parameter("Suffix", "\r").toStdString(), "\r");
    EXPECT_FALSE(processor.parameter("Suffix").isValid()) << "the default was not stored";
    processor.setParameter("Prefix", PVariant());
    EXPECT_FALSE(processor.parameter("Prefix", "X").isValid());
    processor.setParameter("Prefix", "X");
    std::string seen;
    processor.setCallback([&](PEvent*) {
        seen = processor.parameter("Prefix").toStdString();
        processor.setParameter("Prefix", "Y");
    });
    PIODeviceEvent event;
    processor.processInput(&event);
    EXPECT_EQ(seen, "X");
    EXPECT_EQ(processor.parameter("Prefix").toStdString(), "Y");

    // A callback that replaces itself finishes in itself (its captures still alive).
    int calls = 0;
    const std::string tag(64, 't');
    processor.setCallback([&, tag](PEvent*) {
        processor.setCallback([&](PEvent*) { calls += 10; });
        calls += tag.size() == 64 ? 1 : 100;
    });
    processor.processInput(&event);
    processor.processInput(&event);
    EXPECT_EQ(calls, 11);

    processor.setCallback([](PEvent*) { throw std::runtime_error("host failed"); });
    EXPECT_THROW(processor.processInput(&event), std::runtime_error);
    processor.setParameter("Prefix", "X");
    processor.setCallback(nullptr);
    processor.processInput(&event);
    EXPECT_EQ(processor.parameter("Prefix").toStdString(), "X");
}

TEST(PInputProcessorTest, withoutDebugHandlerNothingIsFormatted)
{
    if (!kelmortest::allocationCountingAvailable())
        GTEST_SKIP() << "sanitizer build";
    PInputProcessor processor;
    PIODeviceEvent event;
    event.setValue("input", PByteArray(std::string(4096, '\x1d')));
    event.setValue("EventName", "Barcode");
    PEvent wrong(3);
    {
        kelmortest::AllocationCounter counter;
        processor.processInput(&event);
        processor.processInput(&wrong);
        EXPECT_EQ(counter.allocations(), 0u);
    }
    processor.setDebugMessageHandler([](const DebugMessageContext&, const std::string&) {});
    processor.setDebugMessageHandler(nullptr);
    EXPECT_FALSE(processor.debugMessageHandler());
    {
        kelmortest::AllocationCounter counter;
        processor.processInput(&event);
        EXPECT_EQ(counter.allocations(), 0u) << "a cleared handler formats nothing either";
    }

    // The stream processor copies a message a few times; a hex dump would take five bytes a byte.
    PSerialInputProcessor serial;
    serial.setCallback([](PEvent*) {});
    const std::string message(64 * 1024, 'A');
    event.setValue("input", PByteArray(message + "\r"));
    kelmortest::AllocationCounter counter;
    serial.processInput(&event);
    EXPECT_LT(counter.bytes(), 5 * message.size());
}

TEST(PSerialInputProcessorTest, pendingBytesWaitForTheirSuffix)
{
    PSerialInputProcessor processor;
    Harness h(processor);
    h.feed("AB");
    EXPECT_TRUE(h.messages.empty());
    EXPECT_EQ(processor.pendingBytes(), 2u);
    h.feed("CD\rEF");
    EXPECT_EQ(h.messages, Strings{"ABCD"});
    EXPECT_EQ(processor.pendingBytes(), 2u);
    h.feed("\r");
    EXPECT_EQ(h.messages, (Strings{"ABCD", "EF"}));
    EXPECT_EQ(processor.pendingBytes(), 0u);
    h.feed("");
    EXPECT_EQ(h.messages.size(), 2u);

    h.feed("G1\rG2\rG3");
    EXPECT_EQ(h.messages, (Strings{"ABCD", "EF", "G1", "G2"}));
    EXPECT_EQ(h.unprocessed[2], "G1\rG2\r");
    EXPECT_EQ(h.unprocessed[3], "G1\rG2\r");

    // An empty suffix makes each event one message as it came: prefix kept, not coded.
    PSerialInputProcessor whole;
    configure(whole, {{"Suffix", ""}, {"Prefix", "X"}, {"OutputDataType", 1}});
    Harness w(whole);
    w.feed("XAB\r");
    w.feed("CD");
    EXPECT_EQ(w.messages, (Strings{"XAB\r", "CD"}));
    EXPECT_EQ(whole.pendingBytes(), 0u);
}

TEST(PSerialInputProcessorTest, outgoingEventsCarryDeviceValuesAndParameters)
{
    PSerialInputProcessor processor;
    configure(processor, {{"EventName", "Barcode"}, {"DevId", "InputDevice#2"}, {"OutputDataType", 1}});
    Harness h(processor);
    h.feed("AB\r");
    ASSERT_EQ(h.events.size(), 1u);
    const PEvent& out = *h.events[0];
    const std::pair<const char*, const char*> fields[] = {{"input", "QUI="}, {"dev_id", "COM3"}, {"dev_alias", "scanner"},
        {"EventName", "Barcode"}, {"DevId", "InputDevice#2"}, {"OutputDataType", "1"}};
    for (const auto& [key, value] : fields)
        EXPECT_EQ(out.value(key).toStdString(), value) << key;
    EXPECT_FALSE(out.value("EquipmentType").isValid());
    EXPECT_FALSE(out.value("dev_type").isValid());
}

TEST(PSerialInputProcessorTest, windows1251IsRecodedBeforeTheSecondCut)
{
    PSerialInputProcessor processor;
    processor.setParameter("COMEncoding", "Windows-1251");
    Harness h(processor, true);
    h.feed("\xc0\xc1\x1d" "1\r");
    EXPECT_EQ(h.messages, Strings{"\xd0\x90\xd0\x91\x1d" "1"});

    // A prefix byte of code page 1251 no longer matches the recoded text.
    processor.setParameter("Prefix", PByteArray("\xc0"));
    h.feed("\xc0" "AB\r");
    EXPECT_EQ(h.messages.size(), 1u);
    processor.setParameter("COMEncoding", "UTF-8");
    h.feed("\xc0" "AB\r");
    EXPECT_EQ(h.messages.back(), "AB") << "without recoding the same prefix matches";
}

TEST(PSerialInputProcessorTest, unfinishedMessageOverTheBoundIsDroppedWhole)
{
    PSerialInputProcessor processor;
    Harness h(processor, true);
    const std::string block(64 * 1024, 'Z');
    for (size_t fed = 0; fed <= PSerialInputProcessor::MaxPendingBytes; fed += block.size())
        h.feed(block);
    EXPECT_EQ(processor.pendingBytes(), 0u);
    h.feed(block);
    EXPECT_EQ(processor.pendingBytes(), 0u) << "the rest of a dropped message is not kept";
    h.feed("ZZ\rAB\r");
    EXPECT_EQ(h.messages, Strings{"AB"});

    size_t drops = 0;
    for (const std::string& line : h.debug)
        drops += line.find("bytes and is dropped") != std::string::npos;
    EXPECT_EQ(drops, 1u);

    h.feed(std::string(PSerialInputProcessor::MaxPendingBytes - 1, 'Y'));
    h.feed("Y\r");
    ASSERT_EQ(h.messages.size(), 2u);
    EXPECT_EQ(h.messages[1].size(), PSerialInputProcessor::MaxPendingBytes);
}

TEST(PTestSerialInputProcessorTest, previewSpellsControlCharactersAndKeepsTheEvent)
{
    PTestSerialInputProcessor processor;
    Harness h(processor, true);
    h.feed("A\r");
    EXPECT_EQ(h.messages, Strings{"A'CR'"});
    EXPECT_EQ(h.unprocessed, Strings{"A\r"});
    EXPECT_EQ(h.events[0]->value("dev_id").toStdString(), "COM3") << "the received event goes on";
    EXPECT_EQ(h.debug[1], "PTestSerialInputProcessor::processInput: preview = A'CR'");
    EXPECT_EQ(processor.pendingBytes(), 0u);

    processor.setParameter("OutputDataType", 1);
    h.feed("A\r");
    EXPECT_EQ(h.messages.back(), "QQ0=");

    configure(processor, {{"PreviewMode", 16}, {"OutputDataType", 0}});
    h.feed("B\rC");
    EXPECT_EQ(h.messages.back(), "B");
    EXPECT_EQ(processor.pendingBytes(), 1u);
}

// Counting global new and delete (the other forms forward to these); sanitizers keep their own.
#if defined(__GNUC__) && !defined(__clang__)
// The compiler cannot see that these new and delete pair through malloc and free.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define KELMOR_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define KELMOR_SANITIZED 1
#endif
#endif

namespace kelmortest {
thread_local size_t tAllocations = 0;
thread_local size_t tBytes = 0;

bool allocationCountingAvailable()
{
#ifdef KELMOR_SANITIZED
    return false;
#else
    return true;
#endif
}
}

#ifndef KELMOR_SANITIZED

void* operator new(std::size_t size)
{
    ++kelmortest::tAllocations;
    kelmortest::tBytes += size;
    if (void* block = std::malloc(size ? size : 1))
        return block;
    throw std::bad_alloc();
}

void operator delete(void* block) noexcept
{
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    std::free(block);
}

#endif

