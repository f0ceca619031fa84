#include "core/platform/Stack.h"

#include "tests/Process.h"
#include "tests/ResourceLimit.h"

#include <gtest/gtest.h>

namespace {

int FramesUntilShort(int count)
{
    volatile char frame[1024] = {};
    return platform::IsStackShort() ? count : FramesUntilShort(count + 1) + frame[0];
}

} // namespace

// As without /proc: the system reads a file to tell.
TEST(StackOnLinux, IsKnownWhereNoFileCanBeOpened)
{
    EXPECT_TRUE(Held(StartProcess([] {
        const ResourceLimit files(RLIMIT_NOFILE, 0);
        return FramesUntilShort(0) > 500;
    })));
}
