#include "core/base/BString.h"
#include "core/platform/CodePage.h"
#include "core/platform/Collation.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <thread>

namespace {

// Asks in a process of its own, as the code page is chosen once.
template <class Question>
void ExpectOf(const std::string& codePage, Question holds)
{
    SCOPED_TRACE(codePage);
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto ask = [&] {
        ::setenv("QD_ANSI_CODEPAGE", codePage.c_str(), 1);
        std::_Exit(holds() ? 0 : 1);
    };
    EXPECT_EXIT(ask(), testing::ExitedWithCode(0), "");
}

bool Converts(std::u16string_view wide, std::string_view ansi, std::u16string_view back)
{
    std::string bytes(wide.size() * platform::kMostAnsiBytesPerUnit, '.');
    const std::size_t size = platform::WideToAnsi(wide.data(), wide.size(), nullptr, 0);
    const bool isMeasured =
        platform::WideToAnsi(wide.data(), wide.size(), bytes.data(), bytes.size()) == size;
    bytes.resize(size);

    std::u16string units;
    std::thread([&] { // another thread has a converter of its own
        units.resize(platform::AnsiToWide(bytes.data(), bytes.size(), nullptr, 0));
        units.resize(platform::AnsiToWide(bytes.data(), bytes.size(), units.data(), units.size()));
    })
        .join();
    return isMeasured && bytes == ansi && units == back;
}

// What Windows answers for a code page: FNV-1a of the bytes of each of the 65,536 units alone, and
// of the units of each byte and of each pair from 8000 to FFFF.
struct Answers {
    unsigned page;
    std::uint64_t bytes, units;
};

constexpr Answers kWindowsAnswers[] = {
    {1250, 0x998C36A4566EFED0, 0x45322418D85CE005}, {1251, 0x36C2AEBF83AA0655, 0x9D4DE098868AFF1F},
    {1252, 0xD899F29A16C54D99, 0xB87D9FD10C9879BF}, {1253, 0xF355DC64364C5E35, 0x155E379B296BC120},
    {1254, 0xDC1D8890251FBE5B, 0x15363E8F963D8B71}, {1255, 0x54F028225EA45AF8, 0xD3FF81628CE70AE8},
    {1256, 0x78E2EE96628B4363, 0x3F3A47328F90964E}, {1257, 0x23F90A1870BE4D72, 0xBEC253302B79C685},
    {1258, 0x7D324DCA703989DA, 0x78D9A673E56F3640}, {874, 0x7AB5F3B462E5905C, 0xC4C42F2ED31D9B8B},
    {932, 0xCBEAB66D1840B8EE, 0xC88158D0BFC7D56D},  {936, 0xA7E8EB40220B1544, 0xF0725DC548480B8E},
    {949, 0x7EA14EF9E304F5B6, 0x596B235B09E4F6C9},  {950, 0xDEBCF615C6C33A93, 0x378E476E63A47E52},
};

bool AnswersAsWindowsDoes(const Answers& expected)
{
    std::uint64_t bytes = 0xCBF29CE484222325, units = bytes;
    const auto add = [](std::uint64_t& hash, unsigned value) {
        hash = (hash ^ value) * 0x100000001B3;
    };
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
        char out[8];
        const auto wide = static_cast<WChar>(unit);
        const std::size_t size = platform::WideToAnsi(&wide, 1, out, 8);
        for (std::size_t i = 0; i < size; ++i)
            add(bytes, static_cast<unsigned char>(out[i]));
        add(bytes, 0x100);
    }
    for (unsigned pair = 0; pair <= 0xFFFF; pair += pair == 0xFF ? 0x7F01 : 1) {
        const char text[] = {static_cast<char>(pair >> 8), static_cast<char>(pair)};
        WChar out[8];
        const std::size_t skipped = pair > 0xFF ? 0 : 1;
        const std::size_t length = platform::AnsiToWide(text + skipped, 2 - skipped, out, 8);
        for (std::size_t i = 0; i < length; ++i)
            add(units, out[i]);
        add(units, 0x10000);
    }
    return bytes == expected.bytes && units == expected.units;
}

} // namespace

TEST(CodePageOnLinuxDeathTest, AnswersForEachUnitOfEachPageAsWindowsDoes)
{
    for (const Answers& expected : kWindowsAnswers)
        ExpectOf(std::to_string(expected.page), [&] { return AnswersAsWindowsDoes(expected); });
}

TEST(CodePageOnLinuxDeathTest, TakesTheCodePageThatTheEnvironmentNames)
{
    struct Case {
        const char* codePage;
        std::u16string wide;
        std::string ansi;
        std::u16string back;
    };
    const Case cases[] = {
        {"windows-1251", u"x\u0414\u3042\xD83D\xDE00\x200B.", "x\xC4????.", u"x\u0414????."},
        {"1251", u"\u0414", "\xC4", u"\u0414"},
        {"cp1251", u"\u00E4", "a", u"a"}, // a look-alike
        {"932", u"x\u3042\uFF76\u0414\xD83D.", "x\x82\xA0\xB6\x84\x44?.", u"x\u3042\uFF76\u0414?."},
        {"65001", u"x\u0414\xD83D\xDE00", "x\xD0\x94\xF0\x9F\x98\x80", u"x\u0414\xD83D\xDE00"},
        {"1252", u"\u20AC\u03C0\xD83D\xDE00q\xD83D", "\x80p??q?", u"\u20ACp??q?"},
        {"65001", std::u16string(1500, u'x'), std::string(1500, 'x'), std::u16string(1500, u'x')},
        {"850", u"\u00E4\uFF21\u4E2D\xD83D\xDE00.", "\x84\x41???.", u"\u00E4A???."},
        {"no such page", u"\u20AC\u03C0", "\x80p", u"\u20ACp"},
    };
    for (const Case& c : cases)
        ExpectOf(c.codePage, [&] { return Converts(c.wide, c.ansi, c.back); });
    ExpectOf("932", [] { return BString(QD_W("x\u3042\u3042")).Length() == 5; });
    ExpectOf("65001",
             [] { return platform::FindIgnoringCase("\xD0\x94x\xF0\x9F\x98\x80yZ", "z") == 8; });
    // From its second byte on, the first character makes as many units as the rest of the text.
    ExpectOf("932", [] {
        return platform::FindIgnoringCase("\x81\x81\x81\x81"
                                          "A",
                                          "\x81\x81"
                                          "a") == 2;
    });
}
