// The checks and the run of a bound method.
#include "PMethod.h"

#include "PHostMemoryManager.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

struct Recorder {
    int calls = 0;
    int resultTypeSeen = -1;
    IMemoryManager* allocatorSeen = nullptr;
};

PMethod recordingMethod(const char* signature, Recorder& recorder)
{
    return PMethod(PString("Probe"), PMethodSemantic::fromString(signature),
                   [&recorder](tVariant* result, tVariant*, long, IMemoryManager* manager) {
                       ++recorder.calls;
                       recorder.resultTypeSeen = result ? result->vt : -1;
                       recorder.allocatorSeen = manager;
                       return false;
                   });
}

// Each refusal's code, as the host sees it, is pinned by KelmorNativeTest.
TEST(PMethodTest, refusedCallsNeverReachTheHandler)
{
    Recorder recorder;
    PMethod method = recordingMethod("BOOL(WSTR,REF)", recorder);
    tVariant result;
    tVariant params[2];
    std::memset(params, 0, sizeof params);
    EXPECT_THROW(method(&result, params, 0, nullptr), PError);
    PError error;
    EXPECT_FALSE(method(nullptr, params, 2, &error));
    EXPECT_EQ(recorder.calls, 0);

    PMethod unbound(PString("Unbound"), PMethodSemantic::fromString("VOID()"), nullptr);
    EXPECT_FALSE(unbound.isValid());
    EXPECT_FALSE(unbound(nullptr, nullptr, 0, &error));
    EXPECT_EQ(error.code(), 114);
}

TEST(PMethodTest, handlerGetsAnEmptyResultAndTheCopysAllocator)
{
    Recorder recorder;
    PMethod table = recordingMethod("BOOL(WSTR)", recorder);
    PHostMemoryManager memory;
    PMethod call = table;
    call.setAllocator(&memory);

    tVariant result;
    std::memset(&result, 0xAB, sizeof result);
    tVariant param;
    std::memset(&param, 0, sizeof param);
    PError error(9, "stale");
    // The handler's false is its own business: the call itself succeeded.
    EXPECT_TRUE(call(&result, &param, 1, &error));
    EXPECT_EQ(error.code(), 0);
    EXPECT_EQ(recorder.calls, 1);
    EXPECT_EQ(recorder.resultTypeSeen, VTYPE_EMPTY);
    EXPECT_EQ(recorder.allocatorSeen, &memory);
    const tVariant zero = {};
    EXPECT_EQ(std::memcmp(&result, &zero, sizeof result), 0);

    // The table's copy keeps no allocator.
    table(&result, &param, 1, nullptr);
    EXPECT_EQ(recorder.allocatorSeen, nullptr);

    Recorder procedure;
    EXPECT_TRUE(recordingMethod("VOID()", procedure)(nullptr, nullptr, 0, nullptr));
    EXPECT_EQ(procedure.resultTypeSeen, -1);
}

}
