#include "core/base/BMap.h"

#include "core/base/BDictionary.h"
#include "core/base/SP.h"

#include "tests/LifeCount.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

TEST(BMap, KeepsItsEntriesInTheOrderOfTheirKeys)
{
    int lives = 0;
    BMap<int, SP<Counted>> map;
    for (const int key : {3, -1, 2})
        EXPECT_TRUE(map.Insert(key, new Counted(lives)));
    EXPECT_FALSE(map.Insert(2, nullptr));
    EXPECT_EQ(lives, 2);
    EXPECT_EQ(map.Find(2)->value, nullptr);
    EXPECT_EQ(map.Find(1), nullptr);

    const BMap<int, SP<Counted>> copy(map);
    EXPECT_TRUE(map.Remove(-1));
    EXPECT_FALSE(map.Remove(-1));
    EXPECT_EQ(map.Count(), 2u);
    std::vector<int> keys;
    for (const auto& item : copy)
        keys.push_back(item.key);
    EXPECT_EQ(keys, (std::vector{-1, 2, 3}));
    map.begin()->value = copy.begin()->value;
    EXPECT_EQ((--map.end())->value, copy.Find(3)->value);
    EXPECT_EQ(map.Find(2)->value, copy.Find(-1)->value);
    map.RemoveAll();
    EXPECT_EQ(map.Count(), 0u);
}

TEST(Maps, DestroyEntriesAfterTheyHaveLeft)
{
    const auto remove = []<class Map>(Map) {
        std::vector<std::uint64_t> counts;
        {
            Map map;
            for (int i = 0; i < 4; ++i) {
                map.Insert(i, new Curious([&counts, &map] {
                               counts.push_back(map.Count());
                               map.Insert(9, nullptr);
                               map.Remove(9);
                           }));
            }
            map.Remove(2);
            map.RemoveAll();
            map.Insert(1, new Curious([&counts, &map] {
                           counts.push_back(map.Count());
                           map.Insert(
                               2, new Curious([&counts, &map] { counts.push_back(map.Count()); }));
                       }));
        }
        EXPECT_EQ(counts, (std::vector<std::uint64_t>{3, 0, 0, 0, 0, 0}));
    };
    remove(BMap<int, SP<Curious>>());
    remove(BDictionary<int, SP<Curious>>());
}
