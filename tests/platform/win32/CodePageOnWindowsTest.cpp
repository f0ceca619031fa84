#include "tests/platform/CodePageAnswers.h"

#include <gtest/gtest.h>

#include <windows.h>

// The answers that the other platform is compared with.
TEST(CodePageOnWindows, AnswersForEachUnitOfEachPageAsExpected)
{
    for (const CodePageAnswers& expected : kCodePageAnswers) {
        const UINT page = expected.page;
        const CodePageAnswers answers = AskCodePage(
            page,
            [&](WChar unit, char* out) {
                return ::WideCharToMultiByte(page, 0, &unit, 1, out, 8, nullptr, nullptr);
            },
            [&](const char* text, std::size_t length, WChar* out) {
                return ::MultiByteToWideChar(page, 0, text, static_cast<int>(length), out, 8);
            });
        EXPECT_EQ(answers, expected)
            << page << std::hex << " 0x" << answers.bytes << " 0x" << answers.units;
    }
}
