#include "core/base/BSmartObj.h"

#include "core/base/BString.h"
#include "core/base/SP.h"
#include "core/base/WString.h"
#include "core/memory/CStdMemoryManager.h"
#include "core/operation/BAsyncOperationInterface.h"

#include "tests/Latch.h"
#include "tests/LifeCount.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>

namespace probe {

class BPlain : public BSmartObj {};

} // namespace probe

namespace {

struct Doubtful : BSmartObj {
    bool VerifyObj() override { return false; }
};

struct Throwing : BSmartObj {
    bool VerifyObj() override { throw std::runtime_error("verify"); }
};

struct alignas(64) Aligned : BSmartObj {};

struct Large : BSmartObj {
    char bytes[1000];
};

struct Failing : BSmartObj {
    Failing() { throw std::runtime_error("made"); }
};

/// Made and destroyed by each form of `new`; whether all had the alignment of their class.
template <class Object>
bool IsMadeByAll()
{
    alignas(Object) unsigned char place[sizeof(Object)];
    auto* const placed = new (place) Object;
    placed->~Object();
    const std::unique_ptr<BSmartObj> plain(new Object);
    const std::unique_ptr<BSmartObj> maybe(new (std::nothrow) Object);
    const std::unique_ptr<Object[]> several(new Object[3]);
    const SP<BSmartObj> owned(new Object);
    return std::ranges::all_of(
        std::initializer_list<const void*>{plain.get(), maybe.get(), several.get(), owned.Get()},
        [](const void* object) {
            return reinterpret_cast<std::uintptr_t>(object) % alignof(Object) == 0;
        });
}

} // namespace

TEST(BSmartObj, IsMadeByEachFormOfNew)
{
    EXPECT_TRUE(IsMadeByAll<BSmartObj>());
    EXPECT_TRUE(IsMadeByAll<Large>());
    EXPECT_TRUE(IsMadeByAll<Aligned>());
    EXPECT_THROW(new Failing, std::runtime_error);
    EXPECT_THROW((void)new (std::nothrow) Failing, std::runtime_error);
}

TEST(BSmartObj, CopiesTakeNeitherUniqueIdNorReferencesOver)
{
    const BSmartObj first;
    first.Ref();
    BSmartObj copy(first);
    const BSmartObj second;
    EXPECT_GE(first.UniqueID(), 1);
    EXPECT_EQ(second.UniqueID(), first.UniqueID() + 1);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(copy.UniqueID(), 0);
        EXPECT_EQ(copy.RefCount(), 0);
        copy = first;
    }
}

TEST(BSmartObj, IsNotMadeByThoseWhoOnlyAsk)
{
    BAsyncOperationInterface operation;
    CStdMemoryManager manager;
    const long before = BSmartObj().UniqueID();
    EXPECT_FALSE(operation.IsStopping() || operation.BreakLongOperation(false));
    operation.ProgressInfo(1);
    operation.TestUserBreak();
    EXPECT_EQ(operation.GetError().Error(), 0);
    EXPECT_EQ(manager.MemoryInUse() + manager.TotalReservedMemory(), 0u);
    EXPECT_EQ(BSmartObj().UniqueID(), before + 1);
}

TEST(BSmartObj, DiesWithTheReleaseThatBringsItsCountFromOneToZero)
{
    int lives = 0;
    const auto* object = new Counted(lives);
    object->Ref();
    BSmartObj::Ref(object);
    EXPECT_EQ(object->RefCount(), 2);
    object->Unref();
    EXPECT_EQ(lives, 1);
    BSmartObj::Unref(object);
    EXPECT_EQ(lives, 0);

    BSmartObj::Ref(nullptr);
    BSmartObj::Unref(nullptr);

    const Counted neverOwned(lives);
    neverOwned.Unref();
    EXPECT_EQ(neverOwned.RefCount(), -1);
    EXPECT_EQ(lives, 1);
}

TEST(BSmartObj, DiesOnceWhenTwoThreadsReleaseItAtTheSameTime)
{
    int lives = 0;
    for (int round = 0; round < 200; ++round) {
        Latch ready(2);
        SP<Counted> object = new Counted(lives);
        const auto release = [&ready](SP<Counted> mine) {
            ready.ArriveAndWait();
            mine = nullptr;
        };
        std::thread other(release, object);
        release(std::move(object));
        other.join();
        ASSERT_EQ(lives, 0);
    }
}

TEST(BSmartObj, NamesItsDynamicType)
{
    const probe::BPlain plain;
    const BSmartObj& object = plain;
    EXPECT_STREQ(object.ClassName(), "class probe::BPlain");
    EXPECT_EQ(object.ClassName(), BSmartObj::ClassName(typeid(probe::BPlain)));
    EXPECT_EQ(object.ArchiveName(), object.ClassName());
    EXPECT_STREQ(BSmartObj::CLASSNAME(), "class BSmartObj");
    EXPECT_EQ(BSmartObj().Properties(), QD_W("Type : class BSmartObj"));
    EXPECT_EQ(BSmartObj().AllocatedMemory(), 16u);
}

TEST(BSmartObj, WritesIdsInLowerCaseHexadecimal)
{
    EXPECT_STREQ(BSmartObj::Id(std::uint64_t{0}), "0");
    EXPECT_STREQ(BSmartObj::Id(0x1a09), "1a09");
    EXPECT_STREQ(BSmartObj::Id(0xFFFFFFFFFFFFFFFF), "ffffffffffffffff");
    const BSmartObj object;
    EXPECT_EQ(std::stoull(object.Id().CStr(), nullptr, 16),
              reinterpret_cast<std::uintptr_t>(&object));
}

TEST(BSmartObj, TellsObjectsThatCanBeCalled)
{
    BSmartObj object;
    EXPECT_TRUE(BSmartObj::IsValidObject(&object));
    Doubtful doubtful;
    EXPECT_TRUE(BSmartObj::IsValidObject(&doubtful)) << "only the call counts, not its answer";

    EXPECT_FALSE(BSmartObj::IsValidObject(nullptr));
    for (const std::uintptr_t wild : {std::uintptr_t{16}, std::uintptr_t{0xFFFF800000000010}})
        EXPECT_FALSE(BSmartObj::IsValidObject(reinterpret_cast<BSmartObj*>(wild)));
    std::uintptr_t garbage[2] = {8, 8}; // where the table of virtual functions should be
    EXPECT_FALSE(BSmartObj::IsValidObject(reinterpret_cast<BSmartObj*>(garbage)));

    Throwing throwing;
    EXPECT_THROW((void)BSmartObj::IsValidObject(&throwing), std::runtime_error);
}
