// What Windows documents and the runtime library under Wine does not show.

#include "core/platform/ScanText.h"

#include <gtest/gtest.h>

#include <cmath>

TEST(ScanTextOnLinux, FollowsTheDocumentedConventions)
{
    // "d" is no exponent.
    double number = 0;
    EXPECT_FALSE(platform::ScanDouble("1d5", number));
    EXPECT_EQ(number, 1);
    EXPECT_EQ(platform::ParseDouble(u"1D5"), 1);

    // The digits of other scripts, also in an exponent.
    EXPECT_TRUE(platform::ScanDouble(u"\xFF14\x0661.\x0665"
                                     "e\xFF11",
                                     number));
    EXPECT_EQ(number, 415);
    int integer = 0;
    EXPECT_TRUE(platform::ScanHex(u"0x\xFF14\xFF11", integer));
    EXPECT_EQ(integer, 0x41);

    // The parentheses belong to the number when they are whole.
    for (const char* const text : {"nan()", "-nan(ind)", "NAN(SNAN)", "nan(a_1) "})
        EXPECT_TRUE(platform::ScanDouble(text, number) && std::isnan(number)) << text;
    number = 77;
    for (const char* const text : {"nan(", "nan(a", "nan(a b)"})
        EXPECT_FALSE(platform::ScanDouble(text, number)) << text;
    EXPECT_EQ(number, 77);
    EXPECT_TRUE(std::isnan(platform::ParseDouble("nan(")));

    // An integer beyond 64 bits is the lower half of the greatest or least.
    EXPECT_TRUE(platform::ScanInt("9223372036854775808", integer));
    EXPECT_EQ(integer, -1);
    EXPECT_TRUE(platform::ScanInt("-9223372036854775809", integer));
    EXPECT_EQ(integer, 0);
    EXPECT_TRUE(platform::ScanHex("-12345678123456780", integer));
    EXPECT_EQ(integer, -1);
    const char* end = nullptr;
    EXPECT_EQ(platform::ParseHex("-100000000", end), 0xFFFFFFFFUL);

    // A float is rounded once.
    float single = 0;
    EXPECT_TRUE(platform::ScanFloat("1.00000005960464477540", single));
    EXPECT_EQ(single, 1.00000011920928955F);
}
