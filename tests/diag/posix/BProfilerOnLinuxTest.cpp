#include "tests/FileBytes.h"
#include "tests/ResourceLimit.h"
#include "tests/TemporaryFolder.h"
#include "tests/diag/OpenProfiler.h"

#include <gtest/gtest.h>

#include <string>

TEST(BProfilerOnLinux, LosesNoLineOnAFullDisk)
{
    const std::string full = Utf16("first run\r\nsecond run\r\nthird run\r\n");
    for (rlim_t room = 0; room <= full.size(); ++room) {
        SCOPED_TRACE(room);
        const TemporaryFolder folder;
        OpenProfiler profiler;
        profiler.m_logfilePath = folder.Path("day.log");
        {
            const ResourceLimit limit(RLIMIT_FSIZE, room);
            profiler.Run(u"first run");
            profiler.Run(u"second run");
            EXPECT_TRUE(!BProfiler::Problem() || BProfiler::Problem().code == EProblem::NoRoom);
            EXPECT_TRUE(full.starts_with(FileBytes(folder / "day.log")));
        }
        profiler.Run(u"third run");
        ASSERT_EQ(FileBytes(folder / "day.log"), full);
    }
}
