#include "core/base/ErrorCodes.h"

#include <gtest/gtest.h>

#include <utility>

TEST(ErrorCodes, HaveTheNumbersThatApplicationsWereBuiltWith)
{
    const std::pair<int, int> cases[] = {{kErrorNone, 0},
                                         {kErrorGeneral, 32767},
                                         {kErrorMemory, 25021},
                                         {kErrorUserBreak, 25070},
                                         {kErrorNoCommandExecution, 13004},
                                         {kErrorFileNotWritten, 31825},
                                         {kErrorNoShortPath, 32987},
                                         {kErrorLanguageFile, 1},
                                         {kErrorLanguageOutput, 5},
                                         {kErrorLanguageKeyInvalid, 7356},
                                         {kErrorLanguageTextMissing, 7357},
                                         {kErrorLanguageTextTwice, 7358},
                                         {kErrorLanguageKeyTwice, 7359},
                                         {kErrorLanguageLines, 7360}};
    for (const auto& [code, number] : cases)
        EXPECT_EQ(code, number);
}
