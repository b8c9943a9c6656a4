// PLockedMap: snapshots and writers on several threads.
#include "PLockedMap.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace {

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

}
