#include "core/platform/CharClass.h"

#include "core/platform/WideText.h"

#include "tests/platform/OffWindows.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

// The letters of the classes that hold: a letter, d digit, p print, n alphanumeric, s space.
template <typename CHAR>
std::string ClassesOf(CHAR character)
{
    std::string classes;
    for (const auto& [name, holds] : {std::pair{'a', platform::IsAlpha(character)},
                                      std::pair{'d', platform::IsDigit(character)},
                                      std::pair{'p', platform::IsPrint(character)},
                                      std::pair{'n', platform::IsAlphaNum(character)},
                                      std::pair{'s', platform::IsSpace(character)}}) {
        if (holds)
            classes += name;
    }
    return classes;
}

} // namespace

TEST(CharClass, SortsAsciiAlikeInBothWidths)
{
    std::string runs, last = "none"; // where another class begins
    for (int value = 0; value < 0x80; ++value) {
        const std::string classes = ClassesOf(static_cast<char>(value));
        EXPECT_EQ(ClassesOf(static_cast<WChar>(value)), classes) << value;
        if (std::exchange(last, classes) != classes)
            runs += std::to_string(value) + classes + ' ';
    }
    EXPECT_EQ(runs, "0 9s 14 32ps 33p 48dpn 58p 65apn 91p 97apn 123p 127 ");
}

TEST(CharClass, KnowsUnicodeButSurrogatesOnlyAsHalves)
{
    // clang-format off
    const std::pair<WChar, const char*> cases[] = {
        {0x0080, ""}, {0x0085, "s"}, {0x2028, "s"},      // a control, ends of lines
        {0x00AA, "apn"}, {0x00E4, "apn"}, {0x03A9, "apn"}, {0x3042, "apn"}, {0x4E2D, "apn"},
        {0xAC00, "apn"},                                 // letters, also of no case
        {0x00B2, "dpn"}, {0x00B9, "dpn"},                // superscripts count as digits
        {0x0663, "dpn"}, {0xFF14, "dpn"},                // digits of other scripts
        {0x00AD, "p"}, {0x00BC, "p"}, {0x00D7, "p"}, {0x2014, "p"}, // signs of Latin-1, a dash
        {0x02C5, ""}, {0x0301, ""}, {0x0903, ""}, {0x20DD, ""}, {0x20AC, ""}, {0x2192, ""},
        {0x2460, ""}, {0x200B, ""}, {0xFFFF, ""},        // marks, symbols and nothing
        {0xD835, ""}, {0xDC00, ""},
    };
    // clang-format on
    for (const auto& [unit, classes] : cases)
        EXPECT_EQ(ClassesOf(unit), classes) << static_cast<unsigned>(unit);
    // Vowel signs of two scripts and numerals count as letters, others do not.
    for (const unsigned unit : {0x0E31U, 0x0E34U, 0x1885U, 0x1886U, 0x2160U, 0x0E48U, 0x093EU}) {
        const char* const classes = unit == 0x0E48 || unit == 0x093E ? "" : "apn";
        EXPECT_TRUE(!kIsOffWindows || ClassesOf(static_cast<WChar>(unit)) == classes) << unit;
    }
    platform::WideText spaces;
    for (unsigned unit = 0x80; unit <= 0xFFFF; ++unit) {
        if (platform::IsSpace(static_cast<WChar>(unit)))
            spaces += static_cast<WChar>(unit);
    }
    EXPECT_EQ(spaces,
              QD_W("\x0085\x00A0\x1680\x2000\x2001\x2002\x2003\x2004\x2005\x2006\x2007\x2008\x2009"
                   "\x200A\x2028\x2029\x202F\x205F\x3000"));
}

// Intended: case is a matter of ASCII in the "C" locale, though the classes know every letter, and
// the narrow classes know ASCII alone.
TEST(CharClass, ChangesTheCaseOfAsciiOnly)
{
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
        const auto wide = static_cast<WChar>(unit);
        const bool isUpper = unit >= 'A' && unit <= 'Z';
        const bool isLower = unit >= 'a' && unit <= 'z';
        ASSERT_EQ(platform::ToUpper(wide), isLower ? unit - 32 : unit);
        ASSERT_EQ(platform::ToLower(wide), isUpper ? unit + 32 : unit);
    }
    for (int value = -128; value < 0; ++value) {
        const auto narrow = static_cast<char>(value);
        EXPECT_EQ(ClassesOf(narrow), "") << value;
        EXPECT_EQ(platform::ToUpper(narrow), narrow);
        EXPECT_EQ(platform::ToLower(narrow), narrow);
    }
    EXPECT_EQ(platform::ToUpper('z'), 'Z');
    EXPECT_EQ(platform::ToLower('A'), 'a');
    // As lower case, unsigned, and up to the end.
    EXPECT_EQ(platform::CompareIgnoringAsciiCase("ab\0x", "AB\0y", 4), 0);
    EXPECT_GT(platform::CompareIgnoringAsciiCase("Z", "_", 1), 0);
    if (kIsOffWindows) { // Wine: signed
        EXPECT_LT(platform::CompareIgnoringAsciiCase("z", "\xE4", 1), 0);
    }
}
