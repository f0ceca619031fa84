#include "core/base/DList.h"

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

void ExpectHolds(const DList<int>& list, const Numbers& numbers)
{
    EXPECT_EQ(Numbers(list.begin(), list.end()), numbers);
    Numbers backwards;
    for (auto place = list.Tail(); place; --place)
        backwards.insert(backwards.begin(), *place);
    EXPECT_EQ(backwards, numbers);
    EXPECT_EQ(list.Count(), static_cast<int>(numbers.size()));
}

static_assert(sizeof(DList<int>::Iterator) == sizeof(void*));
static_assert(!std::is_convertible_v<DList<int>::ConstIterator, DList<int>::Iterator>);

} // namespace

TEST(DList, InsertsAtBothEndsAndBehindAnyPlace)
{
    DList<int> list;
    EXPECT_FALSE(list.Tail());
    list.AddTail(2);
    list.AddHead(1);
    list.AddTail(4);
    const auto last = list.InsertAfter(list.Tail(), 5);
    list.InsertAfter(++list.begin(), 3);
    list.InsertAfter({}, 0);
    ExpectHolds(list, {0, 1, 2, 3, 4, 5});
    EXPECT_EQ(list.Tail(), last);
    auto place = list.begin();
    EXPECT_EQ(*place++ + *place++ * 10 + *place-- * 100 + *place * 1000, 1210);
}

TEST(DList, ErasesWithoutDisturbingOtherPlaces)
{
    DList<int> list = ListOf({1, 2, 3, 4});
    const auto first = list.begin();
    const auto third = ++ ++list.begin();
    EXPECT_EQ(*list.Erase(++list.begin()), 3);
    EXPECT_EQ(list.Erase(list.Tail()), list.end());
    ExpectHolds(list, {1, 3});
    EXPECT_EQ(*first, 1);
    EXPECT_EQ(list.Erase(first), third);
    EXPECT_EQ(list.Erase(third), list.end());
    ExpectHolds(list, {});
    list.AddHead(7);
    ExpectHolds(list, {7});
}

TEST(DList, AppendsOtherListsAndItselfAndMovesItsLinks)
{
    const DList<int> none, two = ListOf({1, 2});
    DList<int> list;
    list.Append(none);
    ExpectHolds(list, {});
    list.Append(two);
    ExpectHolds(list, {1, 2});
    list.Append(none);
    list.Append(list);
    ExpectHolds(list, {1, 2, 1, 2});
    const DList<int> moved(std::move(list));
    ExpectHolds(moved, {1, 2, 1, 2});
    ExpectHolds(list, {});
    list.Append(two);
    list.RemoveAll();
    ExpectHolds(list, {});
}
