#include "core/base/SP.h"

#include "tests/LifeCount.h"

#include <gtest/gtest.h>

#include <type_traits>
#include <utility>

namespace {

struct Base : Counted {
    using Counted::Counted;
    SP<Base> next;
};
struct Derived : Base {
    using Base::Base;
};

static_assert(sizeof(SP<Base>) == sizeof(Base*));
static_assert(std::is_nothrow_move_constructible_v<SP<Base>>);
static_assert(!std::is_convertible_v<SP<Base>, SP<Derived>>);
static_assert(!std::is_convertible_v<SP<const Base>, SP<Base>>);
static_assert(!std::is_convertible_v<SP<Base>, bool>);

} // namespace

TEST(SP, CountsItsOwners)
{
    int lives = 0;
    {
        SP<Derived> derived = new Derived(lives);
        EXPECT_EQ(derived->RefCount(), 1);
        SP<Base> base = derived;
        const SP<const BSmartObj> constant = base;
        EXPECT_EQ(derived->RefCount(), 3);
        const SP<Base> moved = std::move(base);
        EXPECT_EQ(base, nullptr);
        const SP<Base> movedFromDerived = std::move(derived);
        EXPECT_EQ(derived, nullptr);
        EXPECT_EQ(constant->RefCount(), 3);
        EXPECT_EQ(lives, 1);
    }
    EXPECT_EQ(lives, 0);
}

TEST(SP, AssignmentReleasesWhatItHeld)
{
    int lives = 0;
    SP<Base> pointer = new Base(lives);
    pointer = new Derived(lives);
    EXPECT_EQ(lives, 1);
    SP<Base>& itself = pointer;
    pointer = itself;
    pointer = std::move(itself);
    EXPECT_EQ(pointer->RefCount(), 1);
    pointer->next = new Base(lives);
    pointer = pointer->next; // which the released object alone holds
    EXPECT_EQ(lives, 1);
    pointer = SP<Derived>();
    EXPECT_EQ(lives, 0);
}

TEST(SP, ComparesByIdentity)
{
    int lives = 0;
    const SP<Derived> a = new Derived(lives);
    const SP<const Base> sameAsA = a;
    const SP<Base> b = new Base(lives);
    const SP<Base> empty = 0;
    EXPECT_TRUE(a == sameAsA && sameAsA == a && !(a != sameAsA));
    EXPECT_TRUE(a == sameAsA.Get() && a.Get() == sameAsA);
    EXPECT_TRUE(a != b && b != a.Get() && a.Get() != b);
    EXPECT_TRUE(empty == nullptr && nullptr == empty && a != nullptr && nullptr != a);
    EXPECT_TRUE(a && !empty && &*a == a.Get());
}
