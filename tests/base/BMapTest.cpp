#include "core/base/BMap.h"

#include <gtest/gtest.h>

#include <vector>

TEST(BMap, KeepsItsEntriesInTheOrderOfTheirKeys)
{
    BMap<int, int> map;
    for (const int key : {3, -1, 2})
        EXPECT_TRUE(map.Insert(key, 10 * key));
    EXPECT_FALSE(map.Insert(2, 21));
    EXPECT_EQ(map.Find(2)->value, 21);
    EXPECT_EQ(map.Find(1), nullptr);
    std::vector<int> keys;
    for (const auto& item : map)
        keys.push_back(item.key);
    EXPECT_EQ(keys, (std::vector{-1, 2, 3}));
    EXPECT_TRUE(map.Remove(-1));
    EXPECT_FALSE(map.Remove(-1));
    EXPECT_EQ(map.Count(), 2u);
    map.begin()->value = 22;
    EXPECT_EQ(map.Find(2)->value, 22);
    EXPECT_EQ((--map.end())->value, 30);
}
