#pragma once

#include "core/geometry/BRgba.h"
#include "core/platform/Export.h"

#include <algorithm>
#include <cstdio>
#include <type_traits>

class BArchive;
template <class T>
class BArray;

/// A colour of four channels from 0 to 1.
///
/// Every constructor and operator clamps to that range; NaN stays NaN. What is written through the
/// pointer conversion or read from a file is taken as it is.
class BFColor {
public:
    /// Colours for items in turn. Constant-initialised: usable before any constructor has run.
    QD_CORE_API static const BFColor Color[21];

    /// Opaque black.
    constexpr BFColor() noexcept
        : m_channels{0.0f, 0.0f, 0.0f, 1.0f}
    {}

    constexpr BFColor(float red, float green, float blue, float alpha) noexcept
        : m_channels{Clamp(red), Clamp(green), Clamp(blue), Clamp(alpha)}
    {}

    /// From a COLORREF (red in the low byte), opaque.
    constexpr BFColor(unsigned int color) noexcept
        : BFColor(FromByte(color), FromByte(color >> 8), FromByte(color >> 16), 1.0f)
    {}

    constexpr BFColor(const BRgba& color) noexcept
        : BFColor(FromByte(color.Red()), FromByte(color.Green()), FromByte(color.Blue()),
                  FromByte(color.Alpha()))
    {}

    [[nodiscard]] constexpr BFColor operator+(const BFColor& other) const noexcept
    {
        return {Red() + other.Red(), Green() + other.Green(), Blue() + other.Blue(),
                Alpha() + other.Alpha()};
    }
    [[nodiscard]] constexpr BFColor operator-(const BFColor& other) const noexcept
    {
        return {Red() - other.Red(), Green() - other.Green(), Blue() - other.Blue(),
                Alpha() - other.Alpha()};
    }
    [[nodiscard]] constexpr BFColor operator*(float factor) const noexcept
    {
        return {Red() * factor, Green() * factor, Blue() * factor, Alpha() * factor};
    }
    [[nodiscard]] constexpr BFColor operator/(float divisor) const noexcept
    {
        return {Red() / divisor, Green() / divisor, Blue() / divisor, Alpha() / divisor};
    }
    constexpr BFColor& operator+=(const BFColor& other) noexcept { return *this = *this + other; }
    constexpr BFColor& operator-=(const BFColor& other) noexcept { return *this = *this - other; }

    /// Exact: channels that differ by rounding are unequal.
    [[nodiscard]] constexpr bool operator==(const BFColor& other) const noexcept = default;

    /// Each channel times 255, rounded; low 8 bits, so what the pointer conversion put out of range
    /// wraps. NaN gives 0. The COLORREF is red + green x 256 + blue x 65536.
    [[nodiscard]] constexpr unsigned long CastToCOLORREF() const noexcept
    {
        return ToByte(Red()) | ToByte(Green()) << 8 | ToByte(Blue()) << 16;
    }
    /// alpha x 2^24 + red x 2^16 + green x 2^8 + blue, rounded likewise.
    [[nodiscard]] constexpr unsigned long CastToARGB() const noexcept
    {
        return ToByte(Alpha()) << 24 | ToByte(Red()) << 16 | ToByte(Green()) << 8 | ToByte(Blue());
    }

    /// The largest of red, green and blue.
    [[nodiscard]] constexpr float Brightness() const noexcept
    {
        return (std::max)({Red(), Green(), Blue()});
    }
    /// 0 for black and every grey.
    [[nodiscard]] constexpr float Saturation() const noexcept;
    /// Degrees on the hexcone: 0 is red, 120 green, 240 blue; 0 for black and every grey. A red
    /// with a breath of blue gives 360, to which the sum is rounded.
    [[nodiscard]] constexpr float Hue() const noexcept;
    constexpr void ConvertToHSB(float& hue, float& saturation, float& brightness) const noexcept;

    /// The mean of red, green and blue in all three, opaque.
    [[nodiscard]] constexpr BFColor Grey() const noexcept
    {
        const float mean = (Red() + Green() + Blue()) / 3.0f;
        return {mean, mean, mean, 1.0f};
    }

    /// Shifts red, green and blue by `offset`, then spreads them by `contrast` about 0.5.
    /// Intended: alpha becomes 1, since the result is meant to be shown by itself.
    constexpr BFColor& ContrastOffset(float contrast, float offset) noexcept;

    /// The mean of each channel. No colour, or null, gives (0, 0, 0, 0).
    [[nodiscard]] QD_CORE_API static BFColor Average(BArray<BFColor>* colors);

    /// The stock colours over and over. `index` must not be negative.
    [[nodiscard]] static const BFColor& GetStockColor(int index) noexcept
    {
        return Color[index % 21];
    }

    /// The four channels as they stand in memory: 16 bytes. False when the file did not take or
    /// give them all; a colour that could not be read stays as it was.
    QD_CORE_API bool Write(std::FILE* file) const;
    QD_CORE_API bool Read(std::FILE* file);

    /// Below 0 gives 0, above 1 gives 1.
    [[nodiscard]] static constexpr float Clamp(float channel) noexcept
    {
        return channel < 0.0f ? 0.0f : channel > 1.0f ? 1.0f : channel;
    }

    [[nodiscard]] constexpr float Red() const noexcept { return m_channels[0]; }
    [[nodiscard]] constexpr float Green() const noexcept { return m_channels[1]; }
    [[nodiscard]] constexpr float Blue() const noexcept { return m_channels[2]; }
    [[nodiscard]] constexpr float Alpha() const noexcept { return m_channels[3]; }

    /// The channels as an array for graphics interfaces that take `float*`. What is written there
    /// is not clamped; a colour that is itself `const` must not be written.
    [[nodiscard]] constexpr operator float*() const noexcept
    {
        return const_cast<float*>(m_channels);
    }

private:
    static constexpr float FromByte(unsigned int value) noexcept
    {
        return static_cast<float>(value & 255) / 255.0f;
    }
    // The 0.5 is a double: added in float it would lift the number below a half to the next
    // integer.
    static constexpr unsigned long ToByte(float channel) noexcept
    {
        return NGeometry::TruncateToByte(channel * 255.0f + 0.5);
    }

    float m_channels[4]; // red, green, blue, alpha
};

static_assert(sizeof(BFColor) == 16 && std::is_trivially_copyable_v<BFColor> &&
              std::is_standard_layout_v<BFColor>);

/// The four channels, 4 bytes each. Reading takes them as they are.
QD_CORE_API BArchive& operator<<(BArchive& archive, const BFColor& color);
QD_CORE_API BArchive& operator>>(BArchive& archive, BFColor& color);

constexpr float BFColor::Saturation() const noexcept
{
    const float largest = Brightness();
    if (largest == 0.0f)
        return 0.0f;
    return (largest - (std::min)({Red(), Green(), Blue()})) / largest;
}

// A. R. Smith, Color Gamut Transform Pairs, SIGGRAPH 1978, 12.
constexpr float BFColor::Hue() const noexcept
{
    const float largest = Brightness();
    if (largest == 0.0f || Saturation() == 0.0f)
        return 0.0f;
    const float spread = largest - (std::min)({Red(), Green(), Blue()});
    float sector = 0.0f;
    if (Red() == largest)
        sector = (Green() - Blue()) / spread;
    else if (Green() == largest)
        sector = (Blue() - Red()) / spread + 2.0f;
    else
        sector = (Red() - Green()) / spread + 4.0f;
    const float degrees = sector * 60.0f;
    return degrees < 0.0f ? degrees + 360.0f : degrees;
}

constexpr void BFColor::ConvertToHSB(float& hue, float& saturation,
                                     float& brightness) const noexcept
{
    hue = Hue();
    saturation = Saturation();
    brightness = Brightness();
}

constexpr BFColor& BFColor::ContrastOffset(float contrast, float offset) noexcept
{
    const auto adjusted = [=](float channel) {
        return (offset + channel - 0.5f) * contrast + 0.5f;
    };
    return *this = {adjusted(Red()), adjusted(Green()), adjusted(Blue()), 1.0f};
}
