#include "core/platform/CodePage.h"
#include "core/platform/Collation.h"

#include "tests/platform/CodePageAnswers.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <string_view>
#include <thread>

namespace {

// Runs in a process of its own, as the code page is chosen once.
bool Converts(const char* codePage, std::u16string_view wide, std::string_view ansi,
              std::u16string_view back)
{
    ::setenv("QD_ANSI_CODEPAGE", codePage, 1);
    std::string bytes(wide.size() * platform::kMostAnsiBytesPerUnit, '.');
    const std::size_t size = platform::WideToAnsi(wide.data(), wide.size(), nullptr, 0);
    const bool isMeasured =
        platform::WideToAnsi(wide.data(), wide.size(), bytes.data(), bytes.size()) == size;
    bytes.resize(size);

    std::u16string units(bytes.size(), u'.');
    std::thread([&] { // another thread has a converter of its own
        units.resize(platform::AnsiToWide(bytes.data(), bytes.size(), units.data(), units.size()));
    })
        .join();
    return isMeasured && bytes == ansi && units == back;
}

// Likewise.
bool AnswersAsWindowsDoes(const CodePageAnswers& expected)
{
    ::setenv("QD_ANSI_CODEPAGE", std::to_string(expected.page).c_str(), 1);
    return AskCodePage(
               expected.page,
               [](WChar unit, char* out) { return platform::WideToAnsi(&unit, 1, out, 8); },
               [](const char* text, std::size_t length, WChar* out) {
                   return platform::AnsiToWide(text, length, out, 8);
               }) == expected;
}

} // namespace

TEST(CodePageOnLinuxDeathTest, AnswersForEachUnitOfEachPageAsWindowsDoes)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    for (const CodePageAnswers& expected : kCodePageAnswers) {
        SCOPED_TRACE(expected.page);
        EXPECT_EXIT(std::_Exit(AnswersAsWindowsDoes(expected) ? 0 : 1), testing::ExitedWithCode(0),
                    "");
    }
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
        {"1252", u"\u20AC\u03C0\xD83D\xDE00", "\x80p??", u"\u20ACp??"},
        {"no such page", u"\u20AC\u03C0", "\x80p", u"\u20ACp"},
    };
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    for (const Case& c : cases) {
        SCOPED_TRACE(c.codePage);
        EXPECT_EXIT(std::_Exit(Converts(c.codePage, c.wide, c.ansi, c.back) ? 0 : 1),
                    testing::ExitedWithCode(0), "");
    }
}

TEST(CodePageOnLinuxDeathTest, FindsWhereACharacterOfSeveralBytesBegins)
{
    // From its second byte on, the first character makes as many units as the rest of the text.
    const auto finds = [] {
        ::setenv("QD_ANSI_CODEPAGE", "932", 1);
        return platform::FindIgnoringCase("\x81\x81\x81\x81"
                                          "A",
                                          "\x81\x81"
                                          "a") == 2;
    };
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(std::_Exit(finds() ? 0 : 1), testing::ExitedWithCode(0), "");
}
