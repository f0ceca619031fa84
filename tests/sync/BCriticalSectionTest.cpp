#include "core/sync/BCriticalSection.h"

#include "core/platform/CriticalSection.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

TEST(BCriticalSection, KeepsOthersOutUntilItsThreadHasLeftAsOftenAsItEntered)
{
    constexpr int kThreads = 4;
    constexpr int kRounds = 2000;
    const platform::CriticalSection section;
    int inside = 0;
    int entries = 0;
    bool shared = false;
    std::vector<std::jthread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back([&] {
            for (int round = 0; round < kRounds; ++round) {
                const BCriticalSection outer(section.Get());
                ++inside;
                {
                    const BCriticalSection inner(section.Get());
                    ++entries;
                }
                shared = shared || inside != 1;
                --inside;
            }
        });
    threads.clear();
    EXPECT_FALSE(shared);
    EXPECT_EQ(entries, kThreads * kRounds);
}
