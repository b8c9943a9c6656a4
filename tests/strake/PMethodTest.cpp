// The checks and the run of a bound method.
#include "PMethod.h"

#include "PHostMemoryManager.h"

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>

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

TEST(PMethodTest, refusedCallsNeverReachTheHandler)
{
    Recorder recorder;
    PMethod method = recordingMethod("BOOL(WSTR,REF)", recorder);
    tVariant result;
    tVariant params[2];
    std::memset(params, 0, sizeof params);
    struct Case {
        tVariant* result;
        tVariant* params;
        long count;
        int code;
    };
    for (const Case& c : {Case{&result, params, 1, 113}, Case{&result, params, 3, 113},
                          Case{&result, params, -2, 113}, Case{&result, nullptr, 2, 113},
                          Case{nullptr, params, 2, 112}}) {
        PError error;
        EXPECT_FALSE(method(c.result, c.params, c.count, &error));
        EXPECT_EQ(error.code(), c.code);
    }
    EXPECT_THROW(method(&result, params, 0, nullptr), PError);
    EXPECT_EQ(recorder.calls, 0);

    PError error;
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

TEST(PMethodTest, handlerFailuresKeepPErrorsAndHideOtherExceptions)
{
    auto throwing = [](auto thrown) {
        return PMethod(PString("Fails"), PMethodSemantic::fromString("VOID()"),
                       [thrown](tVariant*, tVariant*, long, IMemoryManager*) -> bool { throw thrown; });
    };
    PError error;
    EXPECT_FALSE(throwing(PError(200, "device gone"))(nullptr, nullptr, 0, &error));
    EXPECT_EQ(error.code(), 200);
    EXPECT_EQ(error.message(), PString("device gone"));
    EXPECT_FALSE(throwing(std::runtime_error("boom"))(nullptr, nullptr, 0, &error));
    EXPECT_EQ(error.code(), 2);
    EXPECT_TRUE(error.message().isEmpty());
    EXPECT_FALSE(throwing(42)(nullptr, nullptr, 0, &error));
    EXPECT_EQ(error.code(), 2);
}

}
