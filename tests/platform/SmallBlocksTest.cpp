#include "core/platform/SmallBlocks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <thread>
#include <vector>

namespace {

/// False for what is to go to the heap, and is left.
bool Give(void* block)
{
    thread_local bool isForTheHeap;
    isForTheHeap = false;
    platform::GiveSmallBlock(block, [](void*) { isForTheHeap = true; });
    return !isForTheHeap;
}

/// A block full of a byte of its own, which is there still when the block goes.
class Filled {
public:
    Filled(std::size_t size, int fill)
        : m_size(size)
        , m_fill(fill)
        , m_block(platform::TakeSmallBlock(size))
    {
        if (m_block != nullptr)
            std::memset(m_block, fill, size);
    }
    Filled(const Filled&) = delete;
    Filled& operator=(const Filled&) = delete;
    ~Filled() { EXPECT_TRUE(IsWhole() && Give(m_block)) << m_size; }

private:
    [[nodiscard]] bool IsWhole() const
    {
        const auto* const bytes = static_cast<const unsigned char*>(m_block);
        return bytes != nullptr && m_size <= platform::SmallBlockSize(m_block) &&
               reinterpret_cast<std::uintptr_t>(m_block) % (m_size % 16 == 0 ? 16 : 8) == 0 &&
               std::all_of(bytes, bytes + m_size, [this](int byte) { return byte == m_fill; });
    }

    std::size_t m_size;
    int m_fill;
    void* m_block;
};

using Blocks = std::vector<std::unique_ptr<Filled>>;

/// Of all sizes, given back and taken in a random order.
void Exchange(unsigned seed, int steps, Blocks& blocks)
{
    std::mt19937 random(seed);
    for (; steps != 0; --steps) {
        const std::size_t place = random() % blocks.size();
        blocks[place] = nullptr;
        if (random() % 4 != 0)
            blocks[place] = std::make_unique<Filled>(1 + random() % platform::kLargestSmallBlock,
                                                     static_cast<int>(random() % 256));
    }
}

/// Hands blocks out also where a sanitizer watches the heap.
class SmallBlocks : public testing::Test {
protected:
    ~SmallBlocks() override { platform::UseSmallBlocks(m_were); }

private:
    bool m_were = platform::UseSmallBlocks(true);
};

} // namespace

TEST_F(SmallBlocks, AreApartFromOneAnother)
{
    Blocks blocks(20'000);
    Exchange(1, 200'000, blocks);
    EXPECT_EQ(platform::TakeSmallBlock(0), nullptr);
    EXPECT_EQ(platform::TakeSmallBlock(platform::kLargestSmallBlock + 1), nullptr);
}

TEST_F(SmallBlocks, MayGoOnOtherThreadsThanTheyCameFrom)
{
    constexpr int count = 4;
    std::vector<Blocks> blocks(count);
    for (Blocks& own : blocks)
        own.resize(2'000);
    for (unsigned round = 0; round != 5; ++round) {
        std::vector<std::thread> threads;
        for (unsigned i = 0; i != count; ++i)
            threads.emplace_back(
                [&, i] { Exchange(8 * round + i, 5'000, blocks[(i + round) % count]); });
        for (std::thread& thread : threads)
            thread.join();
    }
}

TEST_F(SmallBlocks, GiveTheirMemoryBackToTheSystem)
{
    constexpr int count = 1'000'000;
    std::vector<void*> blocks;
    for (int i = 0; i != count; ++i)
        blocks.push_back(platform::TakeSmallBlock(64));
    const auto isThere = [](const void* block) { return platform::SmallBlockSize(block) == 64; };
    ASSERT_EQ(std::ranges::count_if(blocks, isThere), count);
    std::shuffle(blocks.begin(), blocks.end(), std::mt19937(1));
    for (void* const block : blocks)
        ASSERT_TRUE(Give(block));
    EXPECT_LT(std::ranges::count_if(blocks, isThere), count / 5);
}

TEST_F(SmallBlocks, AreNotWhatTheHeapHasToServe)
{
    EXPECT_EQ(platform::TakeSmallBlock(platform::kLargestSmallBlock + 1), nullptr);
    EXPECT_FALSE(Give(nullptr));
    const auto foreign = std::make_unique<int>(7);
    EXPECT_FALSE(Give(foreign.get()));
    EXPECT_EQ(platform::SmallBlockSize(foreign.get()), 0u);

    void* const block = platform::TakeSmallBlock(8);
    ASSERT_TRUE(platform::UseSmallBlocks(false));
    EXPECT_EQ(platform::TakeSmallBlock(8), nullptr);
    EXPECT_TRUE(Give(block)) << "as long as there are any";
    EXPECT_FALSE(platform::UseSmallBlocks(true));
}
