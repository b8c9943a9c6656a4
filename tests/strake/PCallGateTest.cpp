// Tests of the call gate between an object's owner and the threads that call into it.
#include "PCallGate.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <thread>

namespace {

TEST(PCallGateTest, closedGateRefusesPassesAndCloseFromInsideDoesNotWaitForItself)
{
    PCallGate gate;
    {
        PCallGate::Pass outer(gate);
        PCallGate::Pass nested(gate);
        ASSERT_TRUE(outer);
        ASSERT_TRUE(nested);
        gate.close();  // would hang if it waited for this thread's own passes
        EXPECT_FALSE(PCallGate::Pass(gate));
    }
    EXPECT_FALSE(gate.isOpen());
    gate.close();
}

TEST(PCallGateTest, closeWaitsUntilAnotherThreadsCallHasLeft)
{
    auto gate = std::make_shared<PCallGate>();
    std::promise<void> entered;
    std::promise<void> release;
    std::atomic<bool> leftCall{false};
    std::thread caller([&] {
        PCallGate::Pass pass(*gate);
        entered.set_value();
        release.get_future().wait();
        leftCall = true;
    });
    entered.get_future().wait();
    auto closing = std::async(std::launch::async, [&] { gate->close(); return leftCall.load(); });
    EXPECT_EQ(closing.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    release.set_value();
    EXPECT_TRUE(closing.get()) << "close returned while a call was still inside";
    caller.join();
}

// Owners destroy their objects while callers hammer them: a caller with a pass never sees a
// destroyed object.
TEST(PCallGateTest, objectBehindTheGateIsNeverSeenDestroyed)
{
    struct Target {
        std::shared_ptr<PCallGate> gate = std::make_shared<PCallGate>();
        std::atomic<int> alive{1};
        ~Target() { gate->close(); alive = 0; }
    };
    for (int round = 0; round < 300; ++round) {
        auto owner = std::make_unique<Target>();
        Target* target = owner.get();
        std::shared_ptr<PCallGate> gate = target->gate;
        std::atomic<bool> stop{false};
        std::atomic<int> bad{0};
        std::thread caller([&] {
            while (!stop) {
                PCallGate::Pass pass(*gate);
                if (!pass)
                    break;
                if (target->alive.load() != 1)
                    ++bad;
            }
        });
        std::this_thread::yield();
        owner.reset();
        stop = true;
        caller.join();
        ASSERT_EQ(bad.load(), 0);
    }
}

}
