#include "core/platform/CriticalSection.h"
#include "core/sync/BAutoLock.h"
#include "core/sync/BCriticalSection.h"
#include "core/sync/BLockRW.h"
#include "core/sync/BSyncableSmartObj.h"

#include "tests/Latch.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <thread>
#include <tuple>
#include <utility>

namespace {

/// Does something on a thread of its own and waits for its end.
template <class F>
void OnOtherThread(F&& task)
{
    std::thread(task).join();
}

// "R" and "W" take a lock, "r" and "w" give it back, "!" fails to give back the write lock; in
// parentheses on another thread.
void Play(const BSyncableInterface& lock, std::string_view steps)
{
    for (; !steps.empty(); steps.remove_prefix(1)) {
        switch (steps.front()) {
        case 'R': lock.LockR(); break;
        case 'W': lock.LockW(); break;
        case 'r': lock.UnlockR(); break;
        case 'w': lock.UnlockW(); break;
        case '!':
            try {
                lock.UnlockW();
                ADD_FAILURE() << "gave back the lock";
            } catch (int thrown) {
                EXPECT_EQ(thrown, 1);
            }
            break;
        default:
            const std::size_t end = steps.find(')');
            OnOtherThread([&] { Play(lock, steps.substr(1, end - 1)); });
            steps.remove_prefix(end);
        }
    }
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
    struct Case {
        const char* steps; // before
        bool lockTriesR, lockTriesW, objectTriesR, objectTriesW;
    };
    const Case cases[] = {
        {"", false, true, true, true},       {"R", false, false, true, false},
        {"(R)", false, false, true, false},  {"W", true, false, true, true},
        {"(W)", false, false, false, false},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.steps);
        const auto tries = [&](const BSyncableInterface& lock, bool expectedR, bool expectedW) {
            Play(lock, row.steps);
            EXPECT_EQ(lock.TryLockW(), expectedW);
            if (expectedW)
                lock.UnlockW();
            EXPECT_EQ(lock.TryLockR(), expectedR);
        };
        tries(BLockRW(), row.lockTriesR, row.lockTriesW);
        tries(BSyncableSmartObj(), row.objectTriesR, row.objectTriesW);
    }
}

TYPED_TEST(Lock, IsFreeOnceAllIsGivenBack)
{
    const std::pair<const char*, bool> cases[] = {
        {"WWRrw", false},
        {"WWRrww", true},
        {"R(R)r", false}, // the last reader gives it back, whoever it is
        {"R(R)r(r)", true},
        // A read lock that the writer forgot: the failure has counted one more of those and one
        // write lock less.
        {"WR!rW!rr", false},
        {"WR!rW!rrWw", true},
        // What is given back without having been taken: nothing, or a lock of the next who takes
        // one, or the lock of the writer but not its depth, which is 2 for the next writer.
        {"w", true},
        {"rR", true},
        {"W(wWw)", false},
        {"W(wWw)w", true},
    };
    for (const auto& [steps, isFree] : cases) {
        const TypeParam lock;
        Play(lock, steps);
        EXPECT_EQ(IsFree(lock), isFree) << steps;
    }
}

TYPED_TEST(Lock, HoldsAgainstTheFirstThreadThatStarts)
{
    const std::pair<const char*, bool> cases[] = {
        {"R", false},
        {"W", false},
        {"RRrrWRrw", true},
        {"rwR", true}, // given back without having been taken
    };
    testing::FLAGS_gtest_death_test_style = "threadsafe"; // a process that had no thread so far
    for (const auto& [steps, isFree] : cases) {
        const auto play = [&, steps = steps, isFree = isFree] {
            const TypeParam lock;
            Play(lock, steps);
            std::_Exit(IsFree(lock) == isFree ? 0 : 1);
        };
        EXPECT_EXIT(play(), testing::ExitedWithCode(0), "") << steps;
    }
}

TYPED_TEST(Lock, LetsOthersInAfterTheLastLockOfAWriterAndOfAReader)
{
    const TypeParam lock;
    int value = 0, seen = 0;
    Play(lock, "WW");
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
    for (int i = 0; i < 5; ++i) // each waits a while, and the writer with it
        EXPECT_FALSE(lock.TryLockW());
    EXPECT_EQ(value, 2);
    lock.UnlockR();
    writer.join();
    EXPECT_EQ(value, 3);
}

TYPED_TEST(Lock, LetsASecondReaderInWhileTheFirstWaits)
{
    const TypeParam lock;
    lock.LockW();
    std::atomic<bool> isInside = false, isWritten = false;
    std::thread writer([&] {
        const BAutoLockW guard(lock);
        isWritten = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(10)); // by then the writer waits
    std::thread first([&] {
        lock.LockR();
        isInside = true;
    });
    for (bool isReaderKnown = false; !isReaderKnown;) { // by the event that a copy shares
        const TypeParam copy = lock;
        copy.UnlockW();
        isReaderKnown = !IsFree(copy);
    }
    const TypeParam copy = lock; // the one who waits here does not come to it
    OnOtherThread([&] {
        EXPECT_FALSE(lock.TryLockR());
        lock.LockR();
        lock.UnlockR();
    });
    EXPECT_FALSE(isInside) << "the first waits for the writer";
    lock.UnlockW();
    first.join();
    copy.UnlockW();
    EXPECT_FALSE(IsFree(lock) || IsFree(copy) || isWritten) << "the reader came first";
    lock.UnlockR();
    writer.join();
    EXPECT_TRUE(IsFree(lock) && IsFree(copy));
    copy.LockR();
    EXPECT_FALSE(IsFree(copy));
}

TYPED_TEST(Lock, IsHeldAsTheOneThatWasCopied)
{
    for (const auto& [take, giveBack, former] :
         {std::tuple{"W", "w", "R"}, {"R", "r", "W"}, {"WWR", "rww", ""}}) {
        SCOPED_TRACE(take);
        const TypeParam lock;
        TypeParam assigned;
        Play(lock, take);
        Play(assigned, former);
        const TypeParam copy = lock;
        assigned = lock;
        Play(lock, giveBack);
        EXPECT_TRUE(IsFree(lock));
        for (const TypeParam* held : {&copy, static_cast<const TypeParam*>(&assigned)}) {
            EXPECT_FALSE(IsFree(*held));
            Play(*held, giveBack);
            EXPECT_TRUE(IsFree(*held));
        }
    }
    const TypeParam lock;
    Play(lock, "WR");
    Play(TypeParam(lock), "!");
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

TEST(BSyncableSmartObj, TellsItsCopiesOfAReaderThatATryLetIn)
{
    const BSyncableSmartObj lock;
    BSyncableSmartObj former = lock, copy;
    lock.LockR();
    former = BSyncableSmartObj();
    lock.UnlockR();
    copy = lock;
    EXPECT_TRUE(IsFree(copy)) << "there was none to be told";
    EXPECT_TRUE(lock.TryLockR() && lock.TryLockR());
    const BSyncableSmartObj third = copy; // changes nothing for the others
    for (int i = 0; i < 2; ++i) {
        EXPECT_FALSE(copy.TryLockW());
        lock.UnlockR();
    }
    EXPECT_TRUE(copy.TryLockW());
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
        OnOtherThread([&] { EXPECT_FALSE(BAutoTryLockW(lock).IsLocked()); });
        EXPECT_FALSE(IsFree(lock));
        lock.LockR();
    }
    EXPECT_FALSE(IsFree(lock)) << "a destructor does not throw";
}

TEST(BCriticalSection, KeepsOthersOutUntilItsThreadHasLeftAsOftenAsItEntered)
{
    const platform::CriticalSection section;
    int entries = 0;
    const auto work = [&] {
        for (int round = 0; round < 5000; ++round) {
            const BCriticalSection outer(section.Get());
            ++entries;
            static_cast<void>(BCriticalSection(section.Get()));
            ++entries;
        }
    };
    std::thread other(work);
    work();
    other.join();
    EXPECT_EQ(entries, 20'000);
}
