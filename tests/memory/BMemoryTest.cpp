#include "core/memory/BMemory.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <limits>
#include <thread>

namespace {

TEST(BMemory, OnlyGrows)
{
    BMemory memory;
    EXPECT_EQ(memory.Allocate(0), nullptr); // holds nothing that is to be released
    void* const buffer = memory.Allocate(100'000);
    std::memset(buffer, 'a', 100'000);
    memory.Release();
    EXPECT_EQ(memory.Allocate(10), buffer);
    EXPECT_EQ(static_cast<char*>(buffer)[99'999], 'a');
    memory.Release();
    std::memset(memory.Allocate(1'000'000), 'b', 1'000'000);
    memory.Release();
}

TEST(BMemory, CopiesWhatItDuplicates)
{
    BMemory memory;
    char text[] = "probe";
    EXPECT_STREQ(static_cast<char*>(memory.Duplicate(text, sizeof text)), "probe");
    EXPECT_STREQ(static_cast<char*>(memory.Duplicate(nullptr, 3)), "probe"); // nothing to copy
    memory.Release();
    memory.Release();
    EXPECT_EQ(memory.Duplicate(text, 0), nullptr);
}

TEST(BMemory, GivesNullAndStaysHeldWhenTheSystemRefuses)
{
    BMemory memory;
    for (const std::uint64_t shift : {0, 1}) {
        EXPECT_EQ(memory.Allocate(std::numeric_limits<std::uint64_t>::max() >> shift), nullptr);
        memory.Release();
    }
    EXPECT_NE(memory.Allocate(10), nullptr);
    memory.Release();
}

TEST(BMemory, SharesItsBufferWithCopiesUntilOneGrows)
{
    BMemory memory;
    char* const buffer = static_cast<char*>(memory.Allocate(10));
    memory.Release();
    {
        BMemory copy(memory);
        EXPECT_EQ(copy.Allocate(10), buffer);
        copy.Release();
        EXPECT_NE(copy.Allocate(1'000'000), buffer);
        copy.Release();
        copy = memory;
    }
    buffer[0] = 'a';
}

TEST(BMemory, BelongsToOneThreadUntilItIsReleased)
{
    BMemory memory;
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

} // namespace
