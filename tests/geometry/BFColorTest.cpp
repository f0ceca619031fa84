#include "core/geometry/BFColor.h"

#include "core/base/BArray.h"

#include "tests/base/StringTesting.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string_view>
#include <vector>

using namespace std::string_view_literals;

TEST(BFColor, ClampsWhateverMakesAColor)
{
    const BFColor color(0.25f, 0.125f, 0.375f, 0.5f);
    EXPECT_EQ(BFColor(1.5f, -0.2f, 0.5f, 2.0f), BFColor(1.0f, 0.0f, 0.5f, 1.0f));
    EXPECT_EQ(color * 2.0f, BFColor(0.5f, 0.25f, 0.75f, 1.0f));
    EXPECT_EQ(color / 2.0f, BFColor(0.125f, 0.0625f, 0.1875f, 0.25f));
    EXPECT_EQ(color / 0.0f, BFColor(1.0f, 1.0f, 1.0f, 1.0f));
    BFColor changed = color;
    changed += BFColor(0.5f, 0.125f, 0.25f, 0.125f);
    EXPECT_EQ(changed, BFColor(0.75f, 0.25f, 0.625f, 0.625f));
    changed -= BFColor(0.5f, 0.75f, 0.125f, 0.5f);
    EXPECT_EQ(changed, BFColor(0.25f, 0.0f, 0.5f, 0.125f));
    EXPECT_TRUE(std::isnan(BFColor(std::nanf(""), 0.0f, 0.0f, 1.0f).Red()));
}

TEST(BFColor, ConvertsToAndFromBytes)
{
    const BFColor color(1.0f, 0.5f, 0.0f, 1.0f);
    EXPECT_EQ(color.CastToARGB(), 0xFFFF8000u);
    EXPECT_EQ(color.CastToCOLORREF(), 0x000080FFu);
    EXPECT_EQ(BFColor(0x99FF0033u), BFColor(0.2f, 0.0f, 1.0f, 1.0f));
    EXPECT_EQ(BFColor(BRgba(51, 0, 255, 102)), BFColor(0.2f, 0.0f, 1.0f, 0.4f));
    for (unsigned int value = 0; value < 256; ++value)
        EXPECT_EQ(BFColor(value * 0x010101).CastToCOLORREF(), value * 0x010101);
}

TEST(BFColor, PassesItsChannelsAsAnArrayThatNothingClamps)
{
    BFColor color(0.1f, 0.2f, 0.3f, 0.4f);
    float* channels = color;
    EXPECT_EQ(channels[3], 0.4f);
    channels[0] = 2.0f; // 510 and a half
    channels[1] = -1.0f;
    channels[2] = 1e30f;
    channels[3] = std::nanf("");
    EXPECT_EQ(color.CastToARGB(), 0x00FE0200u);
    EXPECT_EQ(color.Red(), 2.0f);
}

TEST(BFColor, IsSeenOnTheHexcone)
{
    const struct {
        BFColor color;
        float hue, saturation, brightness;
    } cases[] = {
        {{0.0f, 0.0f, 0.0f, 1.0f}, 0.0f, 0.0f, 0.0f},
        {{0.5f, 0.5f, 0.5f, 1.0f}, 0.0f, 0.0f, 0.5f},
        {{1.0f, 1.0f, 0.0f, 1.0f}, 60.0f, 1.0f, 1.0f}, // red goes before green
        {{0.25f, 0.5f, 0.25f, 0.0f}, 120.0f, 0.5f, 0.5f},
        {{0.0f, 0.5f, 0.5f, 1.0f}, 180.0f, 1.0f, 0.5f},
        {{0.0f, 0.0f, 1.0f, 1.0f}, 240.0f, 1.0f, 1.0f},
        {{1.0f, 0.5f, 0.75f, 1.0f}, 330.0f, 0.5f, 1.0f},
        {{1.0f, 0.0f, 1e-7f, 1.0f}, 360.0f, 1.0f, 1.0f}, // rounded
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(&row - cases);
        float hue = -1.0f, saturation = -1.0f, brightness = -1.0f;
        row.color.ConvertToHSB(hue, saturation, brightness);
        EXPECT_EQ(hue, row.hue);
        EXPECT_EQ(saturation, row.saturation);
        EXPECT_EQ(brightness, row.brightness);
    }
}

TEST(BFColor, BecomesOpaqueWhenItsLightIsChanged)
{
    BFColor color(0.5f, 0.25f, 0.75f, 0.5f);
    EXPECT_EQ(color.Grey(), BFColor(0.5f, 0.5f, 0.5f, 1.0f));
    color.ContrastOffset(2.0f, 0.125f);
    EXPECT_EQ(color, BFColor(0.75f, 0.25f, 1.0f, 1.0f));
}

TEST(BFColor, AveragesAllFourChannels)
{
    BArray<BFColor> colors;
    EXPECT_EQ(BFColor::Average(&colors), BFColor(0.0f, 0.0f, 0.0f, 0.0f));
    EXPECT_EQ(BFColor::Average(nullptr), BFColor(0.0f, 0.0f, 0.0f, 0.0f));
    colors.Append(BFColor(1.0f, 0.5f, 0.0f, 1.0f));
    colors.Append(BFColor(0.5f, 0.5f, 0.5f, 0.0f));
    EXPECT_EQ(BFColor::Average(&colors), BFColor(0.75f, 0.5f, 0.25f, 0.5f));
}

static const BFColor g_colorBeforeMain = BFColor::GetStockColor(17);

TEST(BFColor, OffersItsStockColorsInTurn)
{
    EXPECT_EQ(BFColor::GetStockColor(22), BFColor(1.0f, 1.0f, 1.0f, 1.0f));
    EXPECT_EQ(BFColor::GetStockColor(20), BFColor(0.5f, 0.75f, 0.25f, 1.0f));
    EXPECT_EQ(BFColor::GetStockColor(21), BFColor());
    EXPECT_EQ(g_colorBeforeMain, BFColor(0.5f, 0.25f, 0.75f, 1.0f));
    std::vector<int> sums(4); // in quarters, weighted by place
    for (int index = 0; index < 21; ++index)
        for (std::size_t channel = 0; channel < 4; ++channel)
            sums[channel] += (index + 1) * static_cast<int>(BFColor::Color[index][channel] * 4);
    EXPECT_EQ(sums, (std::vector{392, 404, 416, 924}));
}

TEST(BFColor, IsSixteenBytesInAFile)
{
    const string_testing::StreamOf file;
    const BFColor color(1.0f, 0.5f, 0.25f, 0.0f);
    ASSERT_TRUE(color.Write(file));
    EXPECT_EQ(file.Bytes(), "\0\0\x80\x3F\0\0\0\x3F\0\0\x80\x3E\0\0\0\0"sv);
    EXPECT_TRUE(color.Write(file)); // and another behind it
    BFColor read;
    std::rewind(file);
    EXPECT_TRUE(read.Read(file));
    EXPECT_EQ(read, color);
    std::fseek(file, 20, SEEK_SET);
    EXPECT_FALSE(read.Read(file)); // 12 bytes are left
    EXPECT_EQ(read, color);
    EXPECT_FALSE(color.Write(nullptr) || read.Read(nullptr));
}
