// Tests of PInputProcessor: parameters, delivery under the lock, debug lines. Also holds the
// operator new replacement behind AllocationCounter.h for this test program.
#include "PInputProcessor.h"

#include "AllocationCounter.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

struct DebugLines {
    std::vector<std::string> lines;
    PInputProcessor::DebugMessageHandler handler()
    {
        return [this](const DebugMessageContext&, const std::string& text) { lines.push_back(text); };
    }
};

}

TEST(PInputProcessorTest, parameterGivesStoredValueEvenInvalidAndNeverAddsTheDefault)
{
    PInputProcessor processor;
    EXPECT_EQ(processor.parameter("Suffix", "\r").toStdString(), "\r");
    EXPECT_FALSE(processor.parameter("Suffix").isValid()) << "the default was not stored";
    processor.setParameter("Prefix", PVariant());
    EXPECT_FALSE(processor.parameter("Prefix", "X").isValid());
    processor.setParameter("Prefix", "Y");
    EXPECT_EQ(processor.parameter("Prefix", "X").toStdString(), "Y");
}

TEST(PInputProcessorTest, onlyDeviceDataEventsReachTheCallbackAndErrorsTheErrorCallback)
{
    PInputProcessor processor;
    PIODeviceEvent good;
    processor.processInput(&good);  // no callback, no handler: nothing happens
    processor.processInput(nullptr);

    std::vector<PEvent*> received;
    processor.setCallback([&](PEvent* event) { received.push_back(event); });
    DebugLines debug;
    processor.setDebugMessageHandler(debug.handler());
    PEvent other(16);
    processor.processInput(nullptr);
    processor.processInput(&other);
    EXPECT_TRUE(received.empty());
    EXPECT_EQ(debug.lines, std::vector<std::string>(2, "PInputProcessor::processInput:Event data corrupted"));

    good.setValue("input", PByteArray("AB"));
    good.setValue("EventName", "Barcode");
    good.setValue("DevId", "InputDevice#1");
    processor.processInput(&good);
    ASSERT_EQ(received, std::vector<PEvent*>{&good}) << "the event itself, not a copy";
    EXPECT_EQ(debug.lines.back(), "Event:DevId:Data = Barcode : InputDevice#1 : 0x41 0x42  : QUI=");

    // Errors reach the error callback, with a debug line.
    debug.lines.clear();
    std::vector<int> codes;
    processor.setErrorCallback([&](const PError& error) { codes.push_back(error.code()); });
    const PError error(200, "lost");
    processor.processError(error);
    EXPECT_EQ(codes, std::vector<int>{200});
    ASSERT_EQ(debug.lines.size(), 1u);
    EXPECT_EQ(debug.lines[0], "PInputProcessor::processError" + error.toString().toStdString());
}

TEST(PInputProcessorTest, callbackMayUseTheParametersReplaceItselfOrThrow)
{
    PInputProcessor processor;
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
    DebugLines debug;
    processor.setDebugMessageHandler(debug.handler());
    processor.setDebugMessageHandler(nullptr);
    EXPECT_FALSE(processor.debugMessageHandler());
    kelmortest::AllocationCounter counter;
    processor.processInput(&event);
    EXPECT_EQ(counter.allocations(), 0u) << "a cleared handler formats nothing either";
    EXPECT_TRUE(debug.lines.empty());
}

// Replacement of the global allocation functions, counting per thread; the library's array,
// nothrow and sized forms forward to these two. Sanitizer builds keep the sanitizer's own
// allocator.
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

