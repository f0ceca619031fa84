#include "core/platform/SystemError.h"

#include "core/platform/WideText.h"

#include <gtest/gtest.h>

#include <cstdio>

TEST(SystemError, SpeaksOfTheLastFailure)
{
    // Which words it uses is the system's business.
    std::FILE* const missing = std::fopen("no such folder/no such file", "rb");
    const platform::WideText text = platform::LastErrorText();
    ASSERT_EQ(missing, nullptr);
    EXPECT_GT(text.size(), 8u);
    EXPECT_EQ(text.find(WChar(0)), text.npos);
}
