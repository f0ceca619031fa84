#include "core/platform/SharedLock.h"

#include "core/platform/Event.h"

#include "tests/Latch.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>
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
    struct Case {
        char step;
        bool shared, exclusive; // what can be had afterwards
    };
    // Each step starts from what the one before left.
    const Case cases[] = {
        {'r', true, true},   {'w', true, true},                      // there is nothing to release
        {'R', true, false},  {'R', true, false}, {'w', true, false}, // not held so
        {'r', true, false},  {'r', true, true},  {'W', false, false},
        {'r', false, false}, // not held so
        {'w', true, true},
    };
    SharedLock lock;
    for (const Case& row : cases) {
        SCOPED_TRACE(&row - cases);
        std::thread(Step, std::ref(lock), row.step).join(); // it belongs to no thread
        const bool shared = lock.TryLockShared();
        EXPECT_EQ(shared, row.shared);
        if (shared)
            lock.UnlockShared();
        const bool exclusive = lock.TryLockExclusive();
        EXPECT_EQ(exclusive, row.exclusive);
        if (exclusive)
            lock.UnlockExclusive();
    }
}

TEST(SharedLock, WakesThoseWhoWait)
{
    SharedLock lock;
    Event never;
    never.Reset();
    for (const auto& [take, giveBack] : {std::pair{'R', 'r'}, {'W', 'w'}}) {
        Step(lock, take);
        Latch isNear(2);
        std::thread waiter([&] {
            isNear.ArriveAndWait();
            lock.LockExclusive();
            lock.UnlockExclusive();
        });
        isNear.ArriveAndWait();
        EXPECT_FALSE(never.WaitFor(25)); // the waiter is asleep by then, or this tests less
        Step(lock, giveBack);
        waiter.join();
    }
}

TEST(Event, StaysAsItWasPutForAllItsCopies)
{
    Event event;
    Event copy = event;
    EXPECT_TRUE(event.WaitFor(0));
    copy.Reset();
    EXPECT_FALSE(event.WaitFor(1));
    event.Set();
    EXPECT_TRUE(copy.WaitFor(0));
    copy.Wait();
    Event other;
    other.Reset();
    copy = other;
    EXPECT_FALSE(copy.WaitFor(0));
    EXPECT_TRUE(event.WaitFor(0));
}

TEST(Event, LetsThoseGoWhoWaitThoughItIsResetAtOnce)
{
    Event event;
    event.Reset();
    std::atomic<int> waiting = 3;
    const auto wait = [&] {
        event.Wait();
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
