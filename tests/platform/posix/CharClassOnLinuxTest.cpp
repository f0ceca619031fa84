#include "core/platform/CharClass.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <span>
#include <sys/mman.h>
#include <unistd.h>

TEST(CharClassOnLinux, MeasuresTextsAtEveryAlignmentAndReadsNoPageBehindThem)
{
    const auto pageSize = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    void* const pages =
        ::mmap(nullptr, 2 * pageSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(pages, MAP_FAILED);
    ASSERT_EQ(::mprotect(static_cast<char*>(pages) + pageSize, pageSize, PROT_NONE), 0);
    const std::span units(static_cast<char16_t*>(pages), pageSize / sizeof(char16_t));
    for (std::size_t behind = 1; behind <= 16; ++behind) {
        for (std::size_t length = 0; length < 80; ++length) {
            // Zeros before the text and in it those of units with a zero byte alone.
            std::ranges::fill(units, u'\0');
            const auto text = units.last(length + behind).first(length);
            for (std::size_t i = 0; i < length; ++i)
                text[i] = i % 2 == 0 ? u'\x0100' : u'\x0001';
            ASSERT_EQ(platform::Length(text.data()), length) << behind;
        }
    }
    ::munmap(pages, 2 * pageSize);
    EXPECT_EQ(platform::Length(static_cast<const WChar*>(nullptr)), 0u);
    EXPECT_EQ(platform::Length(static_cast<const char*>(nullptr)), 0u);
}
