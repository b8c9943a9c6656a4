// Tests of what threads share: PPublished, PLockedMap and PCallGate.
#include "PCallGate.h"
#include "PLockedMap.h"
#include "PPublished.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

TEST(PPublishedTest, aReplacedValueStaysReadableAndEqualValuesAreKeptOnce)
{
    PPublished<std::string> value(std::string(64, 'a'));
    const std::string& taken = value.get();
    value.set(std::string(64, 'b'));
    EXPECT_EQ(taken, std::string(64, 'a'));  // freed memory here is a sanitizer report
    EXPECT_EQ(value.get(), std::string(64, 'b'));
    // A holder set back and forth (a port reopened with the same settings) keeps no more.
    for (int i = 0; i < 100; ++i)
        value.set(std::string(64, i % 2 ? 'b' : 'a'));
    EXPECT_EQ(value.keptCount(), 2u);
    EXPECT_EQ(value.get(), std::string(64, 'b'));
}

TEST(PPublishedTest, readersOnOtherThreadsAlwaysSeeAWholeValue)
{
    PPublished<std::vector<int>> value(std::vector<int>(16, 0));
    std::atomic<bool> done{false};
    std::atomic<long> torn{0};
    std::vector<std::thread> readers;
    for (int r = 0; r < 2; ++r) {
        readers.emplace_back([&] {
            while (!done) {
                const std::vector<int>& seen = value.get();
                for (int element : seen)
                    torn += element != seen.front();
            }
        });
    }
    for (int i = 1; i <= 200; ++i)
        value.set(std::vector<int>(16, i));
    done = true;
    for (auto& reader : readers)
        reader.join();
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(value.get().front(), 200);
}

TEST(PLockedMapTest, snapshotsStayPutWhileOtherThreadsWrite)
{
    PLockedMap map(PStringVariantMap{});
    constexpr int kKeys = 200;
    std::vector<std::thread> writers;
    for (int w = 0; w < 2; ++w) {
        writers.emplace_back([&map, w] {
            for (int i = 0; i < kKeys; ++i)
                map.setValue(PString(std::to_string(w) + ":" + std::to_string(i)), PVariant(i));
        });
    }
    std::vector<PStringVariantMap> snapshots;
    for (int i = 0; i < 50; ++i)
        snapshots.push_back(map.values());
    std::vector<size_t> sizes;
    for (const auto& snapshot : snapshots)
        sizes.push_back(snapshot.size());
    for (auto& writer : writers)
        writer.join();

    EXPECT_EQ(map.keys().size(), 2u * kKeys);
    EXPECT_EQ(map.value("1:199").toInt(), 199);
    for (size_t i = 0; i < snapshots.size(); ++i)
        EXPECT_EQ(snapshots[i].size(), sizes[i]) << "a snapshot changed after it was taken";

    map.setValues(PStringVariantMap{});
    EXPECT_TRUE(map.keys().empty());
    EXPECT_EQ(map.value("0:0", PVariant(-1)).toInt(), -1);
}

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
