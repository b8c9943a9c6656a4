// Tests of the value that readers take without a lock while its holder replaces it.
#include "PPublished.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
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

TEST(PPublishedTest, aFunctionMayReplaceItselfWhileItRuns)
{
    PPublished<std::function<int()>> callback;
    std::string captured(64, 'x');  // big enough to live outside the function object
    callback.set([&callback, captured] {
        callback.set([] { return 2; });
        return captured == std::string(64, 'x') ? 1 : 0;
    });
    EXPECT_EQ(callback.get()(), 1);
    EXPECT_EQ(callback.get()(), 2);
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

}
