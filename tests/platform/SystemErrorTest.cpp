#include "core/platform/SystemError.h"

#include "core/platform/Thread.h"
#include "core/platform/WideText.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <thread>

TEST(SystemError, SpeaksOfTheLastFailure)
{
    // Which words it uses is the system's business.
    std::FILE* const missing = std::fopen("no such folder/no such file", "rb");
    const platform::WideText text = platform::LastErrorText();
    ASSERT_EQ(missing, nullptr);
    EXPECT_GT(text.size(), 8u);
    EXPECT_EQ(text.find(WChar(0)), text.npos);
}

TEST(Thread, HasAnIdOfItsOwn)
{
    const std::uint32_t here = platform::CurrentThreadId();
    std::uint32_t there = 0;
    std::thread([&there] { there = platform::CurrentThreadId(); }).join();
    EXPECT_NE(here, 0u);
    EXPECT_NE(there, 0u);
    EXPECT_NE(here, there);
    EXPECT_EQ(here, platform::CurrentThreadId());
}
