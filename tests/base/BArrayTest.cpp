#include "core/base/BArray.h"

#include "core/base/SP.h"

#include "tests/LifeCount.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <new>
#include <vector>

namespace {

BArray<int> Filled(int count, std::uint64_t growStep)
{
    BArray<int> array(growStep);
    for (int i = 0; i < count; ++i)
        array.Append(i);
    return array;
}

} // namespace

TEST(BArray, GrowsByItsStepOrByHalfItsCount)
{
    const struct {
        int count;
        std::uint64_t growStep, capacity, growStepAfter;
    } cases[] = {
        {0, 30, 0, 30},   {1, 30, 30, 30},  {30, 30, 30, 30},   {31, 30, 60, 30}, {60, 30, 60, 30},
        {61, 30, 91, 31}, {91, 30, 91, 31}, {92, 30, 137, 46},  {1, 0, 1, 1},     {2, 0, 2, 1},
        {3, 0, 4, 2},     {5, 0, 7, 3},     {100, 16, 112, 38},
    };
    for (const auto& [count, growStep, capacity, growStepAfter] : cases) {
        SCOPED_TRACE(testing::Message() << count << " by " << growStep);
        const BArray<int> array = Filled(count, growStep);
        EXPECT_EQ(array.Count(), static_cast<std::uint64_t>(count));
        EXPECT_EQ(array.Capacity(), capacity);
        EXPECT_EQ(array.GrowStep(), growStepAfter);
        EXPECT_TRUE(std::ranges::is_sorted(array));
    }
}

TEST(BArray, ReservesOnDemandAndReleasesAllForTheLargestNumber)
{
    BArray<int> array = Filled(5, 16);
    const int* const storage = array.begin();
    array.Reserve(10);
    array.Reserve(16);
    EXPECT_EQ(array.begin(), storage) << "there is room";
    EXPECT_EQ(array.Capacity(), 16u) << "it never shrinks";
    array.Reserve(100);
    EXPECT_EQ(array.Capacity(), 100u);
    EXPECT_EQ(array[4], 4);
    while (array.Count() < 101)
        array.Append(0);
    EXPECT_EQ(array.Capacity(), 151u) << "100 elements grow by 51";
    array.Reserve(0xFFFFFFFFFFFFFFFF);
    EXPECT_EQ(array.Count(), 0u);
    EXPECT_EQ(array.Capacity(), 0u);
    array.Append(1);
    EXPECT_EQ(array.Capacity(), 51u) << "the step stays";
}

TEST(BArray, HoldsItsElementsUntilTheyAreRemoved)
{
    int lives = 0;
    BArray<SP<Counted>> array(1);
    for (int i = 0; i < 5; ++i)
        array.Append(new Counted(lives));
    for (int i = 0; i < 100; ++i)
        array.Append(array[0]); // an element of its own
    EXPECT_EQ(array[104]->RefCount(), 101);
    const SP<Counted> third = array[2];
    array.RemoveAt(1);
    array.RemoveAt(3);
    EXPECT_EQ(lives, 3);
    EXPECT_EQ(array.Count(), 103u);
    EXPECT_EQ(array[1], third);
    array.RemoveAll();
    EXPECT_EQ(lives, 1);
}

TEST(BArray, DestroysElementsAfterTheyHaveLeft)
{
    std::vector<std::uint64_t> counts;
    {
        BArray<SP<Curious>> array;
        for (int i = 0; i < 4; ++i)
            array.Append(new Curious([&] {
                counts.push_back(array.Count());
                array.RemoveAll();
            }));
        const SP<Curious> first = array[0];
        array.RemoveAt(1);
        array.Append(first);
    }
    EXPECT_EQ(counts, (std::vector<std::uint64_t>{3, 0, 0, 0}));
}

TEST(BArray, DoesNotGrowBeyondAllMemory)
{
    for (const std::uint64_t growStep : {BArray<int>::kReleaseAll, BArray<int>::kReleaseAll - 5}) {
        BArray<int> array(growStep);
        array.Reserve(10);
        for (int i = 0; i < 10; ++i)
            array.Append(i);
        EXPECT_THROW(array.Append(10), std::bad_alloc);
        EXPECT_EQ(array.Count(), 10u);
    }
}

TEST(BArray, CopiesElementsAndMovesStorage)
{
    BArray<int> array = Filled(3, 8);
    BArray<int> copy(array);
    copy[0] = 9;
    EXPECT_EQ(array[0], 0);
    EXPECT_EQ(copy.GrowStep(), 8u);
    const int* const storage = array.begin();
    const BArray<int> moved(std::move(array));
    EXPECT_EQ(moved.begin(), storage);
    EXPECT_EQ(moved.Capacity(), 8u);
    EXPECT_EQ(array.Count() + array.Capacity(), 0u);
    array = copy;
    array = *&array;
    EXPECT_EQ(array.Count(), 3u);
    EXPECT_EQ(array[0], 9);
}

TEST(BArray, StaysAsItWasWhenACopyThrows)
{
    const int aliveBefore = CountedValue::alive;
    {
        BArray<CountedValue> array(2);
        array.Append(CountedValue(1));
        array.Append(CountedValue(2));
        const CountedValue third(3);
        for (int failing = 0; failing < 4; ++failing) { // the argument, two old ones, the new one
            BArray<CountedValue> grown(array);
            CountedValue::copiesUntilThrow = failing;
            EXPECT_THROW(grown.Append(third), int) << failing;
            CountedValue::copiesUntilThrow = -1;
            EXPECT_EQ(grown.Count(), 2u);
            grown.Append(third);
            for (int i = 0; i < 3; ++i)
                EXPECT_EQ(grown[static_cast<std::uint64_t>(i)].value, i + 1) << failing;
        }
    }
    EXPECT_EQ(CountedValue::alive, aliveBefore);
}
