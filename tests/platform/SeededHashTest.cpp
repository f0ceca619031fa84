#include "core/platform/SeededHash.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>

TEST(SeededHash, TellsEachBitAndTheLength)
{
    const auto hashOf = [](std::string_view bytes) { return platform::SeededHash(bytes); };
    std::set<std::uint64_t> hashes;
    std::size_t texts = 0;
    for (std::size_t size = 0; size <= 70; ++size) {
        std::string text(size, '\0');
        hashes.insert(hashOf(text));
        EXPECT_EQ(hashOf(text), hashOf(std::string("x" + text).substr(1))) << "size " << size;
        for (std::size_t bit = 0; bit != 8 * size; ++bit) {
            const auto flip = static_cast<char>(1 << bit % 8);
            text[bit / 8] ^= flip;
            hashes.insert(hashOf(text));
            text[bit / 8] ^= flip;
        }
        texts += 1 + 8 * size;
    }
    EXPECT_EQ(hashes.size(), texts) << "two of 20,000 have the same 64 bits";
}

// A table takes the low bits.
TEST(SeededHash, ScattersNumbersAndTextsThatDifferInFewBits)
{
    constexpr std::uint64_t kCount = 1 << 14;
    for (int shift = 0; shift <= 48; ++shift) {
        std::bitset<kCount> ofNumbers, ofTexts;
        for (std::uint64_t i = 0; i != kCount; ++i) {
            const std::uint64_t number = i << shift;
            ofNumbers.set(platform::SeededHash(number) % kCount);
            const std::uint64_t text[] = {7, number, 7};
            ofTexts.set(platform::SeededHash(text, sizeof text) % kCount);
        }
        const std::size_t taken = std::min(ofNumbers.count(), ofTexts.count());
        EXPECT_GT(100 * taken / kCount, 55u) << "63 at random; shifted by " << shift;
    }
}
