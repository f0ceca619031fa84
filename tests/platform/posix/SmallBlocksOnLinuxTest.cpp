#include "core/platform/SmallBlocks.h"

#include "tests/Process.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <unistd.h>
#include <vector>

TEST(SmallBlocksOnLinux, AreThereInACopyOfTheProcess)
{
    std::atomic<bool> isOver = false;
    std::vector<void*> blocks(32);
    const auto exchange = [&blocks](std::size_t place) {
        (void)platform::GiveSmallBlock(blocks[place]);
        blocks[place] = platform::TakeSmallBlock(40);
    };
    std::thread other([&] {
        while (!isOver)
            exchange(1);
    });
    int failed = 0;
    for (int i = 0; i != 50; ++i) {
        const pid_t child = ::fork();
        if (child == 0) {
            ::alarm(10);
            exchange(0);
            std::thread(exchange, 2).join(); // every thread, whosever it is
            ::_exit(0);
        }
        failed += Held(child) ? 0 : 1;
        exchange(0);
    }
    isOver = true;
    other.join();
    EXPECT_EQ(failed, 0);
}
