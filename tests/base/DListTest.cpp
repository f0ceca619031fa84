#include "core/base/DList.h"

#include "core/base/SP.h"

#include "tests/LifeCount.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using Numbers = std::vector<int>;

DList<int> ListOf(std::initializer_list<int> numbers)
{
    DList<int> list;
    for (const int number : numbers)
        list.AddTail(number);
    return list;
}

Numbers Forwards(const DList<int>& list)
{
    return Numbers(list.begin(), list.end());
}

Numbers Backwards(const DList<int>& list)
{
    Numbers numbers;
    for (auto place = list.Tail(); place; --place)
        numbers.push_back(*place);
    return numbers;
}

static_assert(sizeof(DList<int>::Iterator) == sizeof(void*));
static_assert(!std::is_convertible_v<DList<int>::ConstIterator, DList<int>::Iterator>);

} // namespace

TEST(DList, LinksBothWays)
{
    DList<int> list;
    EXPECT_FALSE(list.Tail());
    list.AddTail(2);
    list.AddHead(1);
    list.AddTail(4);
    const auto last = list.InsertAfter(list.Tail(), 5);
    list.InsertAfter(++list.begin(), 3);
    list.InsertAfter({}, 0);
    EXPECT_EQ(Forwards(list), (Numbers{0, 1, 2, 3, 4, 5}));
    EXPECT_EQ(Backwards(list), (Numbers{5, 4, 3, 2, 1, 0}));
    EXPECT_EQ(list.Count(), 6);
    EXPECT_EQ(list.Tail(), last);
}

TEST(DList, ErasesWithoutDisturbingOtherPlaces)
{
    DList<int> list = ListOf({1, 2, 3, 4});
    const auto first = list.begin();
    const auto third = ++ ++list.begin();
    EXPECT_EQ(*list.Erase(++list.begin()), 3);
    EXPECT_EQ(list.Erase(list.Tail()), list.end());
    EXPECT_EQ(Backwards(list), (Numbers{3, 1}));
    EXPECT_EQ(*first, 1);
    EXPECT_EQ(list.Erase(first), third);
    EXPECT_EQ(list.Erase(third), list.end());
    EXPECT_EQ(list.Count(), 0);
    list.AddHead(7);
    EXPECT_EQ(Backwards(list), (Numbers{7}));
}

TEST(DList, AppendsOtherListsAndItself)
{
    const struct {
        DList<int> list, other;
        Numbers result;
    } cases[] = {
        {ListOf({}), ListOf({}), {}},
        {ListOf({}), ListOf({1, 2}), {1, 2}},
        {ListOf({1, 2}), ListOf({}), {1, 2}},
        {ListOf({1}), ListOf({2, 3}), {1, 2, 3}},
    };
    for (const auto& [first, other, result] : cases) {
        DList<int> list(first);
        list.Append(other);
        EXPECT_EQ(Forwards(list), result);
        EXPECT_EQ(Backwards(list), Numbers(result.rbegin(), result.rend()));
        EXPECT_EQ(list.Count(), static_cast<int>(result.size()));
    }
    DList<int> list = ListOf({1, 2});
    list.Append(list);
    EXPECT_EQ(Forwards(list), (Numbers{1, 2, 1, 2}));
}

TEST(DList, CopiesElementsAndMovesLinks)
{
    DList<int> list = ListOf({1, 2});
    DList<int> copy(list);
    *copy.begin() = 9;
    EXPECT_EQ(Forwards(list), (Numbers{1, 2}));
    const auto place = list.begin();
    DList<int> moved(std::move(list));
    EXPECT_EQ(moved.begin(), place);
    EXPECT_EQ(list.Count(), 0);
    moved = copy;
    moved = *&moved;
    EXPECT_EQ(Forwards(moved), (Numbers{9, 2}));
}

TEST(DList, DestroysElementsAfterTheyHaveLeft)
{
    DList<SP<Curious>> list;
    Numbers counts;
    for (int i = 0; i < 3; ++i)
        list.AddTail(new Curious([&] { counts.push_back(list.Count()); }));
    list.Erase(list.begin());
    list.RemoveAll();
    EXPECT_EQ(counts, (Numbers{2, 0, 0}));
}
