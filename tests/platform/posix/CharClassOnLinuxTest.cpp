#include "core/platform/CharClass.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <sys/mman.h>
#include <unistd.h>

TEST(CharClassOnLinux, ReadsNoPageBehindAText)
{
    const auto pageSize = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    void* const pages =
        ::mmap(nullptr, 2 * pageSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(pages, MAP_FAILED);
    ASSERT_EQ(::mprotect(static_cast<char*>(pages) + pageSize, pageSize, PROT_NONE), 0);
    const std::size_t room = pageSize / sizeof(char16_t);
    auto* const units = static_cast<char16_t*>(pages);
    std::fill_n(units, room - 1, u'x');
    for (std::size_t length = 0; length < 100; ++length)
        EXPECT_EQ(platform::Length(units + room - 1 - length), length);
    ::munmap(pages, 2 * pageSize);
}

TEST(CharClassOnLinux, TakesVowelSignsOfTwoScriptsForLetters)
{
    for (const WChar unit : {WChar(0x0E31), WChar(0x0E34), WChar(0x1885), WChar(0x1886)}) {
        SCOPED_TRACE(static_cast<unsigned>(unit));
        EXPECT_TRUE(platform::IsAlpha(unit) && platform::IsAlphaNum(unit));
        EXPECT_TRUE(platform::IsPrint(unit));
    }
    EXPECT_FALSE(platform::IsAlpha(WChar(0x0E48)) || platform::IsPrint(WChar(0x093E)));
}
