#include "core/file/BSha1.h"

#include "core/base/BError.h"
#include "core/base/WString.h"

#include <gtest/gtest.h>

#include <cstdint>

TEST(BSha1, GivesWordsAndDigitsOfDataThatMayLieWhereTheyGo)
{
    Crypt::BSha1::Result words = {}; // 20 zeros
    EXPECT_TRUE(Crypt::BSha1::Encrypt(&words, sizeof words, words));
    EXPECT_EQ(words.h[0], 0x6768033Eu);
    EXPECT_EQ(words.h[4], 0x79818F8Fu);

    WString text(QD_W("qd"));
    EXPECT_TRUE(Crypt::BSha1::Encrypt(const_cast<WChar*>(text.CStr()), 4, text));
    EXPECT_EQ(text, QD_W("579a45c16d22e46af57cc63dbc1c91e0b21cb0bc"));
}

TEST(BSha1, RefusesNullAndTooMuch)
{
    WString digits(QD_W("before"));
    EXPECT_FALSE(Crypt::BSha1::Encrypt(nullptr, 3, digits));
    EXPECT_TRUE(digits.IsEmpty());
    char byte = 0;
    EXPECT_THROW(Crypt::BSha1::Encrypt(&byte, std::size_t{UINT32_MAX} + 1, digits), BError);
}
