#include "core/platform/Stack.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

constexpr int kFrame = 4096;

// Calls that fit in before the stack is short; volatile, so that each takes its frame.
int Deepest(int depth)
{
    volatile char frame[kFrame] = {};
    if (platform::IsStackShort())
        return depth;
    return Deepest(depth + 1) + frame[0];
}

} // namespace

TEST(Stack, IsShortBeforeItEnds)
{
    EXPECT_FALSE(platform::IsStackShort());
    const auto deep = [] { EXPECT_GT(Deepest(0), 50); };
    deep();
    std::thread(deep).join();
}
