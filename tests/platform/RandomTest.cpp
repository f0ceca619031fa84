#include "core/platform/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>

TEST(Random, FillsWhatItIsGivenWithOtherBytesEachTime)
{
    for (const std::size_t size : {8u, 13u, 256u}) {
        std::array<unsigned char, 257> one{}, other{};
        ASSERT_TRUE(platform::FillRandom(one.data(), size));
        ASSERT_TRUE(platform::FillRandom(other.data(), size));
        EXPECT_NE(one, other);
        EXPECT_TRUE(std::all_of(one.begin() + static_cast<std::ptrdiff_t>(size), one.end(),
                                [](unsigned char byte) { return byte == 0; }));
        EXPECT_FALSE(std::equal(one.begin() + 4, one.begin() + 8, one.begin())) << "one word";
    }
}
