#include "core/base/BArray.h"
#include "core/base/BDictionary.h"
#include "core/base/BMap.h"
#include "core/base/BSmartObj.h"
#include "core/base/DList.h"
#include "core/base/SP.h"

#include "tests/LifeCount.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <iterator>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using Element = SP<BSmartObj>;
using Map = BMap<int, Element>;
using Dictionary = BDictionary<int, Element>;

// What all containers do.
template <class Container>
class Containers : public testing::Test {
protected:
    /// `key` must be above those that are there.
    static void Put(Container& container, int key, const Element& element)
    {
        if constexpr (kIsMap)
            container.Insert(key, element);
        else if constexpr (kIsList)
            container.AddTail(element);
        else
            container.Append(element);
    }
    /// Takes out what was put in as number `index` from 0, which is also its key.
    static void Take(Container& container, int index)
    {
        if constexpr (kIsMap)
            container.Remove(index);
        else if constexpr (kIsList)
            container.Erase(std::next(container.begin(), index));
        else
            container.RemoveAt(static_cast<std::uint64_t>(index));
    }
    static constexpr bool kIsMap =
        std::is_same_v<Container, Map> || std::is_same_v<Container, Dictionary>;
    static constexpr bool kIsList = std::is_same_v<Container, DList<Element>>;
};

using All = testing::Types<BArray<Element>, DList<Element>, Map, Dictionary>;
TYPED_TEST_SUITE(Containers, All);

TYPED_TEST(Containers, CopyTheirElementsAndMoveTheirMemory)
{
    int lives = 0;
    {
        TypeParam container;
        for (int i = 0; i < 5; ++i)
            this->Put(container, i, new Counted(lives));
        TypeParam copy(container);
        this->Take(container, 0);
        this->Take(copy, 4);
        EXPECT_EQ(lives, 5);
        EXPECT_EQ(std::distance(copy.begin(), copy.end()), 4);
        EXPECT_TRUE(copy.Count() == 4 && container.Count() == 4);

        const auto* const place = &*copy.begin();
        TypeParam moved(std::move(copy));
        EXPECT_EQ(&*moved.begin(), place);
        EXPECT_TRUE(copy.Count() == 0 && copy.begin() == copy.end());
        copy = moved;
        copy = *&copy;
        moved.RemoveAll();
        EXPECT_EQ(moved.Count(), 0);
        EXPECT_EQ(copy.Count(), 4);
        EXPECT_EQ(lives, 5);
        copy = std::move(container);
        EXPECT_EQ(lives, 4) << "those of the copy alone are gone";
    }
    EXPECT_EQ(lives, 0);
}

TYPED_TEST(Containers, DestroyElementsAfterTheyHaveLeft)
{
    std::vector<int> counts;
    {
        TypeParam container;
        const auto look = [&] {
            counts.push_back(static_cast<int>(container.Count()));
            this->Put(container, 9, nullptr);
            container.RemoveAll();
        };
        for (int i = 0; i < 4; ++i)
            this->Put(container, i, new Curious(look));
        this->Take(container, 2);
        this->Put(container, 0, new Curious([&, look] {
                      look();
                      if constexpr (TestFixture::kIsMap) // to the last
                          container.Insert(2, new Curious(look));
                  }));
    }
    std::vector<int> expected = {3, 0, 0, 0, 0};
    if (TestFixture::kIsMap)
        expected.push_back(0);
    EXPECT_EQ(counts, expected);
}

} // namespace

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
