#include "core/platform/Collation.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

TEST(CollationOnLinux, FindsTheFirstStretchThatComparesEqual)
{
    const std::u16string alphabet = u"aA1-äßﬁæªァｱーヽ々漢\u0301\u0344\u00AD";
    std::minstd_rand random(7);
    const auto draw = [&] {
        std::u16string text;
        for (std::size_t length = random() % 5; length > 0; --length)
            text += alphabet[random() % alphabet.size()];
        return text;
    };
    for (int round = 0; round < 5000; ++round) {
        const std::u16string a = draw(), b = draw() + u"a", text = a + b + a + b, part = b + a;
        SCOPED_TRACE(testing::PrintToString(text) + " and " + testing::PrintToString(part));
        std::size_t first = 0;
        while (platform::Collate(text.substr(first, part.size()).c_str(), part.c_str(),
                                 platform::ECase::Ignored) != 0)
            ++first;
        ASSERT_EQ(platform::FindIgnoringCase(text.c_str(), part.c_str()), first);
    }
}
