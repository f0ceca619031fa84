#include "core/sync/BCriticalSection.h"

#include "core/platform/CriticalSection.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

TEST(BCriticalSection, KeepsOthersOutUntilItsThreadHasLeftAsOftenAsItEntered)
{
    constexpr int kThreads = 4, kRounds = 2000;
    const platform::CriticalSection section;
    int entries = 0;
    std::vector<std::jthread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back([&] {
            for (int round = 0; round < kRounds; ++round) {
                const BCriticalSection outer(section.Get());
                ++entries;
                static_cast<void>(BCriticalSection(section.Get()));
                ++entries;
            }
        });
    threads.clear();
    EXPECT_EQ(entries, 2 * kThreads * kRounds);
}
