#include "core/memory/BMemory.h"

#include "core/memory/BStdMemoryFrame.h"
#include "core/platform/Fault.h"
#include "core/platform/VirtualMemory.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <thread>

namespace {

constexpr std::uint64_t kLarge = 256 << 20;

// Whether memory stands at the middle of a large range, where nothing else comes.
bool IsThere(void* large)
{
    return platform::RunGuarded([](void* start) { static_cast<volatile char*>(start)[kLarge / 2]; },
                                large);
}

} // namespace

TEST(BMemory, OnlyGrows)
{
    BMemory memory;
    char text[] = "probe";
    char* const buffer = static_cast<char*>(memory.Duplicate(text, sizeof text));
    EXPECT_STREQ(buffer, "probe");
    memory.Release();
    EXPECT_EQ(memory.Duplicate(nullptr, 3), buffer);
    EXPECT_STREQ(buffer, "probe") << "there was nothing to copy";
    memory.Release();
    std::memset(memory.Allocate(1'000'000), 'b', 1'000'000);
    memory.Release();
    for (const std::uint64_t shift : {0U, 1U}) {
        EXPECT_EQ(memory.Duplicate(text, std::numeric_limits<std::uint64_t>::max() >> shift),
                  nullptr);
        memory.Release();
    }
    EXPECT_NE(memory.Allocate(10), nullptr) << "a failure is not for ever";
    memory.Release();
}

TEST(BMemory, SharesItsBufferWithCopiesUntilOneGrows)
{
    BMemory memory;
    char* const buffer = static_cast<char*>(memory.Allocate(10));
    {
        BMemory copy(memory); // its lock is free
        EXPECT_EQ(copy.Allocate(10), buffer);
        copy.Release();
        EXPECT_NE(copy.Allocate(1'000'000), buffer);
        copy.Release();
        copy = memory;
    }
    buffer[0] = 'a';
    memory.Release();
}

TEST(BMemory, BelongsToOneThreadUntilItIsReleased)
{
    BMemory memory;
    EXPECT_EQ(memory.Allocate(0), nullptr); // and nothing to release
    EXPECT_EQ(memory.Duplicate(&memory, 0), nullptr);
    const auto count = [&] {
        for (int i = 0; i < 1'000; ++i) {
            ++*static_cast<int*>(memory.Allocate(sizeof(int)));
            memory.Release();
        }
    };
    std::thread other(count);
    count();
    other.join();
    EXPECT_EQ(*static_cast<int*>(memory.Allocate(sizeof(int))), 2'000);
    memory.Release();
}

TEST(BMemory, GivesLargeMemoryBackToTheSystem)
{
    void* large = nullptr;
    {
        BMemory memory;
        large = memory.Allocate(kLarge);
        EXPECT_TRUE(IsThere(large));
        memory.Release();
    }
    EXPECT_FALSE(IsThere(large));
    for (const bool isKept : {false, true}) {
        {
            BStdMemoryFrame frame(nullptr, kLarge);
            frame.KeepMemory(isKept);
            large = frame.Start();
            EXPECT_TRUE(IsThere(large));
        }
        EXPECT_EQ(IsThere(large), isKept);
    }
    platform::ReleaseMemory(large, kLarge);
}
