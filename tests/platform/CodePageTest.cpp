#include "core/platform/CodePage.h"

#include "core/platform/WideText.h"

#include <gtest/gtest.h>

#include <string>

using platform::WideText;

// What each unit becomes, the tables of the pages tell.
TEST(CodePage, ConvertsOddCharactersAnywhereInTextsThatFit)
{
    for (std::size_t length = 1; length < 50; ++length) {
        for (std::size_t odd = 0; odd < length; ++odd) {
            WideText units(length, QD_W('\x00FC')), wide(length, QD_W('.'));
            units[0] = QD_W('a');
            units[odd] = QD_W('\x20AC');
            std::string bytes(length, '\xFC'), ansi(length, '.');
            bytes[0] = 'a';
            bytes[odd] = '\x80';
            const std::string narrowBefore = ansi;
            const WideText wideBefore = wide;
            for (const std::size_t room : {std::size_t{0}, length - 1}) { // nothing that is cut
                ASSERT_EQ(platform::WideToAnsi(units.data(), length, ansi.data(), room), length);
                ASSERT_EQ(platform::AnsiToWide(bytes.data(), length, wide.data(), room), length);
            }
            ASSERT_TRUE(ansi == narrowBefore && wide == wideBefore);
            ASSERT_EQ(platform::WideToAnsi(units.data(), length, ansi.data(), length), length);
            ASSERT_EQ(ansi, bytes);
            ASSERT_EQ(platform::AnsiToWide(bytes.data(), length, wide.data(), length), length);
            ASSERT_EQ(wide, units);
        }
    }
}
