#include "core/platform/SharedLock.h"

#include "core/platform/Event.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>

namespace {

using platform::Event;
using platform::SharedLock;

void Share(SharedLock& lock)
{
    lock.LockShared();
}

} // namespace

TEST(SharedLock, IsHeldByOneOrSharedByMany)
{
    struct Case {
        const char* story;
        void (*step)(SharedLock&);
        bool shared, exclusive; // what can be had afterwards
    };
    // Each step starts from what the one before left.
    const Case cases[] = {
        {"nothing to release", [](SharedLock& lock) { lock.UnlockShared(); }, true, true},
        {"nothing to release", [](SharedLock& lock) { lock.UnlockExclusive(); }, true, true},
        {"one", Share, true, false},
        {"two", Share, true, false},
        {"not held so", [](SharedLock& lock) { lock.UnlockExclusive(); }, true, false},
        {"one left", [](SharedLock& lock) { lock.UnlockShared(); }, true, false},
        {"none left", [](SharedLock& lock) { lock.UnlockShared(); }, true, true},
        {"one alone", [](SharedLock& lock) { lock.LockExclusive(); }, false, false},
        {"not held so", [](SharedLock& lock) { lock.UnlockShared(); }, false, false},
        {"none left", [](SharedLock& lock) { lock.UnlockExclusive(); }, true, true},
    };
    SharedLock lock;
    for (const Case& row : cases) {
        SCOPED_TRACE(testing::Message() << (&row - cases) << ": " << row.story);
        std::thread(row.step, std::ref(lock)).join(); // it belongs to no thread
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
