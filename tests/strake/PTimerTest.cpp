// Tests of PTimer's state machine, PTime and PRandom.
#include "PTimer.h"
#include "WaitCounter.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

namespace {

using TickCounter = kelmortest::WaitCounter;

std::function<void()> ticking(TickCounter& counter)
{
    return [&counter] { counter.add(); };
}

TEST(PTimerTest, refusesWithoutCallbackOrWithNothingToCount)
{
    PTimer noCallback;
    EXPECT_FALSE(noCallback.start(10, 0, 1));
    EXPECT_FALSE(PTimer::shot(nullptr, 1, 1));

    TickCounter counter;
    EXPECT_FALSE(PTimer::shot(ticking(counter), 0, -1));
    PTimer endless(ticking(counter));
    EXPECT_FALSE(endless.start(0, 0, -1));  // interval 0 and no end
    PTimer zeroCount(ticking(counter), 10);
    zeroCount.setCount(0);
    EXPECT_FALSE(zeroCount.start());
    EXPECT_FALSE(zeroCount.isRunning());
}

TEST(PTimerTest, countedRunsEndByThemselvesAndAnImmediateFirstRunCountsAsOne)
{
    // A long interval with a run at once: only that run can have happened when the thread ends.
    for (const auto& [interval, count] : {std::pair{0, 3}, std::pair{60000, 1}}) {
        TickCounter counter;
        PTimer timer(ticking(counter));
        timer.start(interval, interval ? 1 : 0, count);
        ASSERT_TRUE(counter.waitFor(count));
        while (timer.isRunning())
            PCurrentThread::sleep(1);
        EXPECT_EQ(counter.count(), count);
        if (interval == 0) {  // the thread ended by itself and is still to be joined: start does it
            timer.start(0, 0, 2);
            ASSERT_TRUE(counter.waitFor(count + 2));
        }
    }
}

TEST(PTimerTest, keepsTickingWithTheStoredIntervalAndIgnoresChangesWhileRunning)
{
    TickCounter counter;
    PTimer timer(ticking(counter), 5);
    EXPECT_TRUE(timer.start(-1, 0, -1));
    ASSERT_TRUE(counter.waitFor(4));
    timer.setInterval(1000);
    timer.setCount(1);
    EXPECT_EQ(timer.interval(), 5);
    EXPECT_EQ(timer.count(), -1);
    EXPECT_FALSE(timer.start(1, 0, 1));  // already running
    timer.stop();
    EXPECT_FALSE(timer.isRunning());
}

TEST(PTimerTest, restartWithFlagOneRunsAtOnceAndZeroOnlyMovesTheTick)
{
    TickCounter counter;
    PTimer timer(ticking(counter), 60000);
    ASSERT_TRUE(timer.start());
    EXPECT_TRUE(timer.restart(0));
    EXPECT_TRUE(timer.restart(1));
    ASSERT_TRUE(counter.waitFor(1));
    EXPECT_TRUE(timer.isRunning());
    EXPECT_EQ(counter.count(), 1);
    // Stopping wakes the long wait at once: the test would hang otherwise.
    timer.stop();
    EXPECT_FALSE(timer.isRunning());
    EXPECT_TRUE(timer.restart(1));
    ASSERT_TRUE(counter.waitFor(2));

    // A tick may stop its own timer, also the one a restart runs at once: the thread then ends
    // by itself after that tick, and the next start joins it.
    TickCounter stopped;
    PTimer selfStopping;
    selfStopping.setCallback([&] {
        selfStopping.stop();
        stopped.add();
    });
    for (int run = 1; run <= 2; ++run) {
        if (run == 1) {
            ASSERT_TRUE(selfStopping.start(60000, 0, -1));
            EXPECT_TRUE(selfStopping.restart(1));
        } else {
            // Not asked whether it runs: the tick at once may have ended it already.
            selfStopping.start(60000, 1, -1);
        }
        ASSERT_TRUE(stopped.waitFor(run));
        while (selfStopping.isRunning())
            PCurrentThread::sleep(1);
        EXPECT_EQ(stopped.count(), run);
    }
}

TEST(PTimerTest, movedTimerKeepsRunningAndAShotTicksOnItsOwnThread)
{
    // First: the shot's thread, detached, then has the rest of the test to end in.
    auto shots = std::make_shared<TickCounter>();
    EXPECT_TRUE(PTimer::shot([shots] { shots->add(); }, 1, 2));
    ASSERT_TRUE(shots->waitFor(2));

    TickCounter counter;
    PTimer source(ticking(counter), 2);
    ASSERT_TRUE(source.start());
    PTimer target(std::move(source));
    EXPECT_FALSE(source.isRunning());
    source.stop();
    EXPECT_TRUE(target.isRunning());
    const int before = counter.count();
    ASSERT_TRUE(counter.waitFor(before + 2));
}

// Stop and destruction join the thread: a tick that holds on past the stop's start has ended.
TEST(PTimerTest, stopAndDestructionWaitForATickInProgress)
{
    for (const bool destroy : {false, true}) {
        SCOPED_TRACE(destroy ? "destroy" : "stop");
        std::atomic<bool> stopping{false};
        std::atomic<bool> inside{false};
        TickCounter entered;
        auto timer = std::make_unique<PTimer>(
            [&] {
                inside = true;
                entered.add();
                while (!stopping)
                    std::this_thread::yield();
                for (int i = 0; i < 1000; ++i)  // a stop that does not wait returns meanwhile
                    std::this_thread::yield();
                inside = false;
            },
            1);
        ASSERT_TRUE(timer->start());
        ASSERT_TRUE(entered.waitFor(1));
        stopping = true;
        if (destroy)
            timer.reset();
        else
            timer->stop();
        EXPECT_FALSE(inside.load());
        EXPECT_TRUE(!timer || !timer->isRunning());
    }
}

TEST(PTimeTest, elapsedIsZeroUnlessRunning)
{
    PTime time;
    EXPECT_FALSE(time.isRunning());
    EXPECT_EQ(time.elapsed(), 0);
    EXPECT_TRUE(time.start());
    PCurrentThread::sleep(2);
    EXPECT_GE(time.elapsed(), 1);
    time.stop();
    EXPECT_EQ(time.elapsed(), 0);
}

TEST(PRandomTest, coversTheRangeAndStaysInside)
{
    int high = 0;
    for (int i = 0; i < 2000; ++i) {
        high += PRandom::randomI(0, 4294967295u) >= 0x80000000u;
        const unsigned int small = PRandom::randomI(10, 12);
        EXPECT_TRUE(small >= 10u && small <= 12u) << small;
        const double r = PRandom::randomR(-1.0, 1.0);
        EXPECT_TRUE(r >= -1.0 && r < 1.0) << r;
    }
    EXPECT_TRUE(high > 0 && high < 2000) << high;
    EXPECT_EQ(PRandom::randomI(7, 7), 7u);
}

}
