#include "core/sync/BAutoLock.h"
#include "core/sync/BLockRW.h"
#include "core/sync/BSyncableSmartObj.h"

#include "tests/Latch.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

namespace {

/// Does something on a thread of its own and waits for its end.
template <class F>
void OnOtherThread(F&& task)
{
    std::thread(task).join();
}

bool IsFree(const BSyncableInterface& lock)
{
    bool taken = false;
    OnOtherThread([&] {
        taken = lock.TryLockW();
        if (taken)
            lock.UnlockW();
    });
    return taken;
}

/// What both lock classes do alike.
template <class T>
class Lock : public testing::Test {};
using LockClasses = testing::Types<BLockRW, BSyncableSmartObj>;
TYPED_TEST_SUITE(Lock, LockClasses);

} // namespace

TEST(Locks, DifferInWhatATryTakes)
{
    using Taking = void (*)(const BSyncableInterface&);
    const Taking leave = [](const BSyncableInterface&) {};
    const Taking read = [](const BSyncableInterface& lock) { lock.LockR(); };
    const Taking write = [](const BSyncableInterface& lock) { lock.LockW(); };
    struct Case {
        const char* state;
        Taking here, elsewhere;
        bool lockTriesR, lockTriesW, objectTriesR, objectTriesW;
    };
    const Case cases[] = {
        {"free", leave, leave, false, true, true, true},
        {"read here", read, leave, false, false, true, false},
        {"read elsewhere", leave, read, false, false, true, false},
        {"written here", write, leave, true, false, true, true},
        {"written elsewhere", leave, write, false, false, false, false},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.state);
        const auto tries = [&](const BSyncableInterface& lock, bool expectedR, bool expectedW) {
            row.here(lock);
            OnOtherThread([&] { row.elsewhere(lock); });
            EXPECT_EQ(lock.TryLockW(), expectedW);
            if (expectedW)
                lock.UnlockW();
            EXPECT_EQ(lock.TryLockR(), expectedR);
        };
        tries(BLockRW(), row.lockTriesR, row.lockTriesW);
        tries(BSyncableSmartObj(), row.objectTriesR, row.objectTriesW);
    }
}

TYPED_TEST(Lock, IsFreeOnceTheWriterHasGivenAllBack)
{
    const TypeParam lock;
    lock.LockW();
    lock.LockW();
    lock.LockR();
    lock.UnlockR();
    lock.UnlockW();
    EXPECT_FALSE(IsFree(lock));
    lock.UnlockW();
    EXPECT_TRUE(IsFree(lock));
}

TYPED_TEST(Lock, IsFreeOnceTheLastReaderHasLeftOnWhateverThread)
{
    const TypeParam lock;
    lock.LockR();
    OnOtherThread([&] { lock.LockR(); });
    lock.UnlockR();
    EXPECT_FALSE(IsFree(lock));
    OnOtherThread([&] { lock.UnlockR(); });
    EXPECT_TRUE(IsFree(lock));
}

TYPED_TEST(Lock, StaysWithAWriterThatForgotAReadLock)
{
    const TypeParam lock;
    lock.LockW();
    lock.LockR();
    EXPECT_THROW(lock.UnlockW(), int);
    // The failure has counted one read lock more and one write lock less.
    lock.UnlockR();
    lock.LockW();
    EXPECT_THROW(lock.UnlockW(), int);
    lock.UnlockR();
    lock.UnlockR();
    EXPECT_FALSE(IsFree(lock));
    lock.LockW();
    lock.UnlockW();
    EXPECT_TRUE(IsFree(lock));
}

TYPED_TEST(Lock, SurvivesThoseWhoGiveBackWhatIsNotTheirs)
{
    const TypeParam lock;
    lock.UnlockW();
    EXPECT_TRUE(IsFree(lock));
    lock.UnlockR();
    lock.LockR(); // makes up for it
    EXPECT_TRUE(IsFree(lock));
    lock.LockW();
    OnOtherThread([&] {
        lock.UnlockW();
        lock.LockW(); // the depth of the first writer was left: it is 2
        lock.UnlockW();
    });
    EXPECT_FALSE(IsFree(lock));
    lock.UnlockW();
    EXPECT_TRUE(IsFree(lock));
}

TYPED_TEST(Lock, LetsReadersInAfterTheLastWriteLock)
{
    const TypeParam lock;
    int value = 0;
    int seen = 0;
    lock.LockW();
    lock.LockW();
    std::thread reader([&] {
        const BAutoLockR guard(lock);
        seen = value;
    });
    value = 1;
    lock.UnlockW();
    value = 2;
    lock.UnlockW();
    reader.join();
    EXPECT_EQ(seen, 2);

    lock.LockR();
    std::thread writer([&] {
        const BAutoLockW guard(lock);
        value = 3;
    });
    EXPECT_EQ(value, 2);
    lock.UnlockR();
    writer.join();
    EXPECT_EQ(value, 3);
}

TYPED_TEST(Lock, LetsASecondReaderInWhileTheFirstWaits)
{
    const TypeParam lock;
    const TypeParam sibling = lock; // tells by the event that they share whether a reader came
    lock.LockW();
    std::thread first([&] { lock.LockR(); });
    while (sibling.TryLockW())
        sibling.UnlockW();
    OnOtherThread([&] { lock.LockR(); });
    lock.UnlockW();
    first.join();
    EXPECT_FALSE(IsFree(lock));
    lock.UnlockR();
    lock.UnlockR();
    EXPECT_TRUE(IsFree(lock));
}

TYPED_TEST(Lock, IsHeldAsTheOneThatWasCopied)
{
    TypeParam assigned;
    assigned.LockR();
    const TypeParam lock;
    lock.LockW();
    const TypeParam written = lock;
    assigned = lock;
    lock.UnlockW();
    EXPECT_TRUE(IsFree(lock));
    for (const TypeParam* copy : {&written, static_cast<const TypeParam*>(&assigned)}) {
        EXPECT_FALSE(IsFree(*copy));
        copy->UnlockW();
        EXPECT_TRUE(IsFree(*copy));
    }
    lock.LockR();
    assigned = lock;
    lock.UnlockR();
    EXPECT_FALSE(IsFree(assigned));
    assigned.UnlockR();
    EXPECT_TRUE(IsFree(assigned));
}

TYPED_TEST(Lock, KeepsTheWritersOfItsCopiesWaitingUntilItEnds)
{
    auto original = std::make_unique<TypeParam>();
    const TypeParam copy = *original;
    original->LockR();
    Latch isNear(2);
    std::atomic<bool> isInside = false;
    std::thread writer([&] {
        isNear.ArriveAndWait();
        copy.LockW();
        isInside = true;
    });
    isNear.ArriveAndWait();
    for (int i = 0; i < 20; ++i) // each waits a while
        EXPECT_FALSE(copy.TryLockW());
    EXPECT_FALSE(isInside) << "the reader of the original keeps writers out of the copy";
    original = nullptr;
    writer.join();
    EXPECT_FALSE(IsFree(copy));
}

TEST(LockGuards, GiveBackWhatTheyTookAndNothingElse)
{
    const BLockRW lock;
    {
        const BAutoTryLockW guard(lock);
        EXPECT_TRUE(guard.IsLocked());
        const BAutoTryLockR nested(lock);
        EXPECT_TRUE(nested.IsLocked());
    }
    EXPECT_TRUE(IsFree(lock));
    {
        const BAutoLockR reading(lock);
        {
            EXPECT_FALSE(BAutoTryLockR(lock).IsLocked());
            EXPECT_FALSE(BAutoTryLockW(lock).IsLocked());
        }
        EXPECT_FALSE(IsFree(lock));
    }
    EXPECT_TRUE(IsFree(lock));
    {
        const BAutoLockW guard(lock);
        lock.LockR();
    }
    EXPECT_FALSE(IsFree(lock)) << "a destructor does not throw";
}
