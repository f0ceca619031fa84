#include "core/platform/SharedLock.h"

#include "core/platform/Event.h"

#include "tests/Latch.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>
#include <tuple>
#include <utility>

namespace {

using platform::Event;
using platform::SharedLock;

void Step(SharedLock& lock, char step)
{
    switch (step) {
    case 'R': lock.LockShared(); break;
    case 'r': lock.UnlockShared(); break;
    case 'W': lock.LockExclusive(); break;
    default: lock.UnlockExclusive();
    }
}

} // namespace

TEST(SharedLock, IsHeldByOneOrSharedByMany)
{
    // Each step starts from what the one before left; what can be had afterwards, shared or alone.
    const std::tuple<char, bool, bool> cases[] = {
        {'r', true, true},   {'w', true, true},                      // there is nothing to release
        {'R', true, false},  {'R', true, false}, {'w', true, false}, // not held so
        {'r', true, false},  {'r', true, true},  {'W', false, false},
        {'r', false, false}, // not held so
        {'w', true, true},
    };
    SharedLock lock;
    for (const auto& [step, shared, exclusive] : cases) {
        SCOPED_TRACE(step);
        std::thread(Step, std::ref(lock), step).join(); // it belongs to no thread
        EXPECT_EQ(lock.TryLockShared(), shared);
        if (shared)
            lock.UnlockShared();
        EXPECT_EQ(lock.TryLockExclusive(), exclusive);
        if (exclusive)
            lock.UnlockExclusive();
    }
}

TEST(SharedLock, WakesThoseWhoWait)
{
    SharedLock lock;
    const Event never;
    const Event::Count reader = 1;
    for (const auto& [take, giveBack] : {std::pair{'R', 'r'}, {'W', 'w'}}) {
        Step(lock, take);
        Latch isNear(2);
        std::thread waiter([&] {
            isNear.ArriveAndWait();
            lock.LockExclusive();
            lock.UnlockExclusive();
        });
        isNear.ArriveAndWait();
        EXPECT_FALSE(never.WaitFor(25, reader)); // the waiter is asleep by then, or this tests less
        Step(lock, giveBack);
        waiter.join();
    }
}

TEST(Event, StaysAsItWasPutForAllItsCopies)
{
    const Event::Count none = 0, some = 1;
    Event event;
    event.Reset();
    EXPECT_TRUE(event.WaitFor(0, none)) << "without a copy only the count tells";
    EXPECT_FALSE(event.WaitFor(1, some));
    Event copy = event;
    EXPECT_FALSE(event.WaitFor(1, none));
    copy.Set();
    EXPECT_TRUE(event.WaitFor(0, none));
    EXPECT_FALSE(event.WaitFor(0, some));
    copy.Wait(none);
    Event other;
    other.Reset();
    const Event third = other;
    copy = other;
    EXPECT_FALSE(copy.WaitFor(0, none));
    EXPECT_TRUE(event.WaitFor(0, none));
}

TEST(Event, LetsThoseGoWhoWaitThoughItIsResetAtOnce)
{
    Event event;
    const Event copy = event;
    event.Reset();
    const Event::Count none = 0;
    std::atomic<int> waiting = 3;
    const auto wait = [&] {
        copy.Wait(none);
        --waiting;
    };
    std::thread threads[] = {std::thread(wait), std::thread(wait), std::thread(wait)};
    while (waiting != 0) {
        event.Set();
        event.Reset();
        std::this_thread::yield();
    }
    for (std::thread& thread : threads)
        thread.join();
}
