#include "core/platform/SmallBlocks.h"

#include "tests/Process.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <sched.h>
#include <sys/mman.h>
#include <thread>
#include <unistd.h>
#include <vector>

TEST(SmallBlocksOnLinux, AreThereInACopyOfTheProcess)
{
    std::atomic<bool> isOver = false;
    std::vector<void*> blocks(32);
    const auto exchange = [&blocks](std::size_t place) {
        platform::GiveSmallBlock(blocks[place], std::free);
        blocks[place] = platform::TakeSmallBlock(40);
    };
    std::thread other([&] {
        while (!isOver)
            exchange(1);
    });
    int failed = 0;
    exchange(0);
    const bool isWatched = blocks[0] == nullptr; // sanitizers start no thread in a copy
    for (int i = 0; i != 50; ++i) {
        const pid_t child = ::fork();
        if (child == 0) {
            ::alarm(10);
            exchange(0);
            if (!isWatched)
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

TEST(SmallBlocksOnLinux, AreSoonRefusedWhereTheSystemOffersNoUsefulRange)
{
    EXPECT_TRUE(Held(StartProcess([] {
        platform::UseSmallBlocks(true); // also where a sanitizer watches the heap
        constexpr std::uintptr_t mib = 1 << 20, gib = 1 << 30;
        std::uintptr_t lowest = UINTPTR_MAX;
        const auto take = [&lowest] {
            auto* const block = platform::TakeSmallBlock(256);
            if (block != nullptr)
                lowest = std::min(lowest, reinterpret_cast<std::uintptr_t>(block) / mib * mib);
            return block != nullptr;
        };
        const std::clock_t begin = std::clock();
        for (int i = 0; i != 200'000; ++i)
            (void)take();
        const std::clock_t taking = std::clock() - begin;
        // What follows is 8 GiB below what is there.
        const std::uintptr_t end = lowest - 8 * gib + 30 * mib;
        (void)::mmap(reinterpret_cast<void*>(end), lowest - end, PROT_NONE,
                     MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_FIXED_NOREPLACE, -1, 0);
        for (int i = 0; i != 200'000 && take(); ++i) {
        }
        if (take())
            return true; // it lay elsewhere
        const std::clock_t start = std::clock();
        for (int i = 0; i != 200'000; ++i)
            (void)take();
        return std::clock() - start < CLOCKS_PER_SEC / 10 + taking;
    })));
}

TEST(SmallBlocksOnLinux, ArePassedOnByAThreadOfALowerPriority)
{
    EXPECT_TRUE(Held(StartProcess([] {
        ::alarm(20);
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(static_cast<unsigned>(::sched_getcpu()), &one);
        ::sched_setaffinity(0, sizeof one, &one);
        std::atomic<bool> isOver = false;
        std::atomic<void*> passed = nullptr;
        std::thread low([&] {
            while (!isOver) {
                void* const block = platform::TakeSmallBlock(40);
                platform::GiveSmallBlock(passed.exchange(block), std::free);
            }
        });
        std::thread high([&] {
            const sched_param priority{50};
            (void)::sched_setscheduler(0, SCHED_FIFO, &priority); // not everyone may
            for (int i = 0; i != 500; ++i) {
                ::usleep(100);
                platform::GiveSmallBlock(passed.exchange(nullptr), std::free);
            }
        });
        high.join();
        isOver = true;
        low.join();
        return true;
    })));
}
