// PPublished: values replaced while readers hold them.
#include "PPublished.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

TEST(PPublishedTest, aReplacedValueStaysWholeWhileHeldAndEqualValuesAreKeptOnce)
{
    // Were replaced values freed, the next ones would take their memory and the held one
    // would read as one of them.
    PPublished<std::vector<int>> value(std::vector<int>(16, 0));
    const std::vector<int>& taken = value.get();
    for (int i = 1; i <= 50; ++i)
        value.set(std::vector<int>(16, i));
    EXPECT_EQ(std::count(taken.begin(), taken.end(), 0), 16);
    EXPECT_EQ(value.get().front(), 50);
    // A holder set back and forth (a port reopened with the same settings) keeps no more.
    for (int i = 0; i < 100; ++i)
        value.set(std::vector<int>(16, i % 2 ? 1 : 2));
    EXPECT_EQ(value.keptCount(), 51u);
    EXPECT_EQ(value.get().front(), 1);
}

}
