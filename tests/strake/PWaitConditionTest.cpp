// Tests of PWaitCondition's timed waits on the monotonic clock.
#include "PWaitCondition.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

TEST(PWaitConditionTest, timedWaitWithoutNotifyEndsAtItsDeadlineAndNotBefore)
{
    PWaitCondition condition;
    std::mutex mutex;
    std::unique_lock<std::mutex> lock(mutex);
    EXPECT_EQ(condition.wait_until(lock, Clock::now() - std::chrono::seconds(1)), std::cv_status::timeout);

    const auto deadline = Clock::now() + std::chrono::milliseconds(30);
    EXPECT_FALSE(condition.wait_until(lock, deadline, [] { return false; }));
    EXPECT_GE(Clock::now(), deadline);
    EXPECT_TRUE(lock.owns_lock());
}

TEST(PWaitConditionTest, notifyWakesAWaiterLongBeforeItsDeadline)
{
    PWaitCondition condition;
    std::mutex mutex;
    bool ready = false;
    std::thread notifier([&] {
        std::lock_guard<std::mutex> guard(mutex);
        ready = true;
        condition.notify_all();
    });
    std::unique_lock<std::mutex> lock(mutex);
    const auto start = Clock::now();
    EXPECT_TRUE(condition.wait_until(lock, start + std::chrono::seconds(60), [&] { return ready; }));
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(30));
    lock.unlock();
    notifier.join();
}

}
