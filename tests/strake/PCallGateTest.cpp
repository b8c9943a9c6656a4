// PCallGate: passes, closing, and the object behind the gate.
#include "PCallGate.h"

#include <gtest/gtest.h>

#include <atomic>
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

// Close waits for every pass, so a caller holding one never sees its object destroyed under it.
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
