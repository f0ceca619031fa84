#include "core/base/BArray.h"

#include "core/base/BSmartObj.h"
#include "core/base/SP.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <new>
#include <utility>

namespace {

/// A number that throws on a wanted copy.
struct Thrower {
    static inline int copiesUntilThrow = -1; // negative: never

    explicit Thrower(int number = 0)
        : value(number)
    {}
    Thrower(const Thrower& other) { *this = other; }
    Thrower& operator=(const Thrower& other)
    {
        if (copiesUntilThrow-- == 0)
            throw 1;
        value = other.value;
        return *this;
    }

    int value;
};

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

TEST(BArray, AppendsAnElementOfItsOwn)
{
    BArray<SP<BSmartObj>> array(1);
    array.Append(new BSmartObj);
    for (int i = 0; i < 100; ++i)
        array.Append(array[0]);
    EXPECT_EQ(array[100]->RefCount(), 101);
}

TEST(BArray, DoesNotGrowBeyondAllMemory)
{
    for (const std::uint64_t growStep : {BArray<int>::kReleaseAll, BArray<int>::kReleaseAll - 10}) {
        BArray<int> array(growStep);
        array.Reserve(10);
        for (int i = 0; i < 10; ++i)
            array.Append(i);
        EXPECT_THROW(array.Append(10), std::bad_alloc);
        EXPECT_EQ(array.Count(), 10u);
    }
}

TEST(BArray, TakesItsCapacityAndItsGrowStepAlong)
{
    BArray<int> array = Filled(3, 8);
    EXPECT_EQ(BArray<int>(array).GrowStep(), 8u);
    EXPECT_EQ(BArray<int>(std::move(array)).Capacity(), 8u);
    EXPECT_EQ(array.Capacity(), 0u);
}

TEST(BArray, StaysAsItWasWhenACopyThrows)
{
    BArray<Thrower> array(2);
    array.Append(Thrower(1));
    array.Append(Thrower(2));
    const Thrower third(3);
    for (int failing = 0; failing < 4; ++failing) { // the argument, two old ones, the new one
        BArray<Thrower> grown(array);
        Thrower::copiesUntilThrow = failing;
        EXPECT_THROW(grown.Append(third), int) << failing;
        Thrower::copiesUntilThrow = -1;
        EXPECT_EQ(grown.Count(), 2u);
        grown.Append(third);
        for (std::uint64_t i = 0; i < 3; ++i)
            EXPECT_EQ(grown[i].value, static_cast<int>(i) + 1) << failing;
    }
}
