#include "core/platform/Thread.h"

#include "tests/Process.h"

#include <gtest/gtest.h>

#include <thread>
#include <unistd.h>

// Who forked is called as in the original, whose id the system gives away once that has ended. Here
// it is one that the system comes to soon.
TEST(ThreadOnLinux, NoThreadOfACopyIsCalledAsTheOneThatMadeIt)
{
    const auto startThreads = [] {
        const std::uint32_t own = platform::CurrentThreadId();
        bool isGivenAway = false, isOnlyOne = true;
        for (int i = 0; i != 200 && !isGivenAway; ++i) {
            std::thread([&] {
                isGivenAway = static_cast<std::uint32_t>(::gettid()) == own;
                isOnlyOne &= platform::CurrentThreadId() != own;
            }).join();
        }
        return isOnlyOne;
    };
    EXPECT_TRUE(Held(StartProcess([&] {
        platform::t_threadId = static_cast<std::uint32_t>(::gettid()) + 50;
        return Held(StartProcess(startThreads));
    })));
}
