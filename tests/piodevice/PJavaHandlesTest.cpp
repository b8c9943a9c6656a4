// Tests of the handles that Java companions hold in place of native addresses.
#include "PJavaHandles.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

struct Target {
    explicit Target(int v) : value(v) {}
    ~Target() { value = -1; }
    int value;
};
struct OtherTarget {};

TEST(PJavaHandlesTest, handleFindsOnlyItsOwnLiveObjectOfItsOwnClass)
{
    auto object = std::make_shared<Target>(7);
    const int64_t handle = PJavaHandles::add(object);
    const int64_t second = PJavaHandles::add(object);
    EXPECT_NE(handle, 0);
    EXPECT_NE(second, handle) << "a handle is never given out twice";

    ASSERT_EQ(PJavaHandles::find<Target>(handle), object);
    EXPECT_EQ(PJavaHandles::find<OtherTarget>(handle), nullptr);
    EXPECT_EQ(PJavaHandles::find<Target>(0), nullptr);
    EXPECT_EQ(PJavaHandles::find<Target>(-12345), nullptr);
    EXPECT_EQ(PJavaHandles::add(std::shared_ptr<Target>()), 0);

    PJavaHandles::remove(handle);
    PJavaHandles::remove(handle);
    EXPECT_EQ(PJavaHandles::find<Target>(handle), nullptr);
    EXPECT_EQ(PJavaHandles::find<Target>(second), object);

    object.reset();
    EXPECT_EQ(PJavaHandles::find<Target>(second), nullptr) << "the table keeps nothing alive";
    PJavaHandles::remove(second);

    // A guard registers for its life; attaching again gives a new handle.
    object = std::make_shared<Target>(1);
    const std::size_t before = PJavaHandles::count();
    int64_t first = 0;
    {
        PJavaHandle guard;
        first = guard.attach(object);
        const int64_t again = guard.attach(object);
        EXPECT_NE(first, again);
        EXPECT_EQ(PJavaHandles::find<Target>(first), nullptr);
        EXPECT_EQ(PJavaHandles::find<Target>(again), object);
        EXPECT_EQ(PJavaHandles::count(), before + 1);
    }
    EXPECT_EQ(PJavaHandles::count(), before);
}

// Deliveries race with owners that drop their objects and handles: a found object is always
// whole for as long as the finder holds it.
TEST(PJavaHandlesTest, objectFoundByADeliveryOutlivesItsOwnerUntilTheDeliveryEnds)
{
    constexpr int Rounds = 2000;
    std::vector<std::atomic<int64_t>> slots(8);
    std::atomic<bool> done{false};
    std::atomic<long> deliveries{0};

    std::vector<std::thread> deliverers;
    for (int t = 0; t < 3; ++t) {
        deliverers.emplace_back([&] {
            while (!done.load()) {
                for (auto& slot : slots) {
                    if (auto target = PJavaHandles::find<Target>(slot.load())) {
                        ASSERT_GE(target->value, 0);
                        std::this_thread::yield();
                        ASSERT_GE(target->value, 0);
                        ++deliveries;
                    }
                }
            }
        });
    }
    for (int round = 0; round < Rounds; ++round) {
        auto& slot = slots[round % slots.size()];
        auto owner = std::make_shared<Target>(round);
        PJavaHandle handle;
        slot.store(handle.attach(owner));
        std::this_thread::yield();
        if (round % 2 == 0) {
            owner.reset();  // the owner goes first, the handle after
        }
    }
    done.store(true);
    for (auto& thread : deliverers) {
        thread.join();
    }
    EXPECT_GT(deliveries.load(), 0);
}

}
