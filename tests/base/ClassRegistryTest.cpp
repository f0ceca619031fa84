#include "core/base/ClassRegistry.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

constexpr auto kReadFirst = +[](BArchive&, int) { return SP<BSmartObj>(); };
constexpr auto kReadSecond = +[](BArchive&, int) { return SP<BSmartObj>(); };

bool ExitedWithMinusOne(int status)
{
    // Some systems keep the lowest byte of an exit code only.
    return testing::ExitedWithCode(-1)(status) || testing::ExitedWithCode(255)(status);
}

} // namespace

TEST(ClassRegistry, FindsTheFirstFunctionOfExactlyTheName)
{
    std::string name = "class RegistryTest";
    RegisterArchiveCallback(name.c_str(), kReadFirst);
    RegisterArchiveCallback(name.c_str(), kReadSecond);
    RegisterArchiveCallback("class OtherRegistryTest", kReadSecond);
    RegisterArchiveCallback(nullptr, kReadFirst);
    RegisterArchiveCallback("class NoFunction", nullptr);
    name.assign(name.size(), 'x'); // the registry has a copy

    EXPECT_EQ(FindArchiveReader("class RegistryTest"), kReadFirst);
    EXPECT_EQ(FindArchiveReader("class OtherRegistryTest"), kReadSecond);
    for (const char* unknown :
         {"class registryTest", "class RegistryTes", "class RegistryTest ", "class NoFunction", ""})
        EXPECT_EQ(FindArchiveReader(unknown), nullptr) << unknown;
    EXPECT_EQ(FindArchiveReader(nullptr), nullptr);
    const std::string longest(127, 'n');
    RegisterArchiveCallback(longest.c_str(), kReadFirst);
    EXPECT_EQ(FindArchiveReader(longest.c_str()), kReadFirst);
}

TEST(ClassRegistryDeathTest, EndsTheProcessWhenItOverflows)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(RegisterArchiveCallback(std::string(128, 'n').c_str(), kReadFirst),
                ExitedWithMinusOne, "");
    const auto registerTooMany = [] {
        for (int i = 0; i < 257; ++i)
            RegisterArchiveCallback(("class Full" + std::to_string(i)).c_str(), kReadFirst);
    };
    EXPECT_EXIT(registerTooMany(), ExitedWithMinusOne, "");
}
