#pragma once

#include "core/geometry/Arithmetic.h"
#include "core/geometry/BRgb.h"

#include <algorithm>
#include <type_traits>

/// A pixel of 8 bits a channel with alpha. As a little-endian 32-bit number it is
/// red x 2^24 + green x 2^16 + blue x 2^8 + alpha.
class BRgba {
public:
    /// Leaves the channels unset, so that images cost nothing to allocate.
    BRgba() = default;

    /// An opaque grey: alpha is 255.
    constexpr BRgba(unsigned char value) noexcept
        : BRgba(value, value, value, 255)
    {}

    constexpr BRgba(unsigned char red, unsigned char green, unsigned char blue,
                    unsigned char alpha) noexcept
        : m_alpha(alpha)
        , m_blue(blue)
        , m_green(green)
        , m_red(red)
    {}

    /// Opaque: alpha is 255.
    constexpr BRgba(const BRgb& color) noexcept
        : BRgba(color.Red(), color.Green(), color.Blue(), 255)
    {}

    constexpr BRgba& operator=(unsigned char value) noexcept { return *this = BRgba(value); }

    /// Each channel times 255, truncated toward zero. Nothing is clamped: of what exceeds a byte
    /// the low 8 bits stay, of NaN and of what exceeds an int 0.
    [[nodiscard]] static constexpr BRgba FromFloat(float red, float green, float blue,
                                                   float alpha) noexcept
    {
        using NGeometry::TruncateToByte;
        return {TruncateToByte(red * 255.0f), TruncateToByte(green * 255.0f),
                TruncateToByte(blue * 255.0f), TruncateToByte(alpha * 255.0f)};
    }

    /// Each channel wraps at 256, as byte arithmetic does.
    /// Intended: alpha of the sum is unset, since a brightness says nothing about it; set it before
    /// it is read.
    [[nodiscard]] constexpr BRgba operator+(unsigned char value) const noexcept
    {
        BRgba sum;
        sum.m_red = static_cast<unsigned char>(m_red + value);
        sum.m_green = static_cast<unsigned char>(m_green + value);
        sum.m_blue = static_cast<unsigned char>(m_blue + value);
        return sum;
    }

    /// Equality looks at all four channels, the orderings at red, green and blue. Each relation
    /// holds only where it holds in all of them, so of two pixels neither may be greater, less or
    /// equal.
    [[nodiscard]] constexpr bool operator==(const BRgba& other) const noexcept = default;
    [[nodiscard]] constexpr bool operator>(const BRgba& other) const noexcept
    {
        return Rgb() > other.Rgb();
    }
    [[nodiscard]] constexpr bool operator<(const BRgba& other) const noexcept
    {
        return Rgb() < other.Rgb();
    }
    /// Against a byte alpha never counts.
    [[nodiscard]] constexpr bool operator==(unsigned char value) const noexcept
    {
        return Rgb() == value;
    }
    [[nodiscard]] constexpr bool operator>(unsigned char value) const noexcept
    {
        return Rgb() > value;
    }
    [[nodiscard]] constexpr bool operator<(unsigned char value) const noexcept
    {
        return Rgb() < value;
    }

    /// The platform's COLORREF: red + green x 256 + blue x 65536. Setting it leaves alpha alone.
    [[nodiscard]] constexpr unsigned long ColorRef() const noexcept { return Rgb().ColorRef(); }
    constexpr void ColorRef(unsigned long color) noexcept
    {
        m_red = static_cast<unsigned char>(color);
        m_green = static_cast<unsigned char>(color >> 8);
        m_blue = static_cast<unsigned char>(color >> 16);
    }

    /// The largest of red, green and blue.
    [[nodiscard]] constexpr unsigned char Intensity() const noexcept
    {
        return (std::max)({m_red, m_green, m_blue});
    }

    /// The pixel without its alpha.
    [[nodiscard]] constexpr BRgb Rgb() const noexcept { return {m_red, m_green, m_blue}; }

    [[nodiscard]] constexpr unsigned char Red() const noexcept { return m_red; }
    [[nodiscard]] constexpr unsigned char Green() const noexcept { return m_green; }
    [[nodiscard]] constexpr unsigned char Blue() const noexcept { return m_blue; }
    [[nodiscard]] constexpr unsigned char Alpha() const noexcept { return m_alpha; }
    [[nodiscard]] constexpr unsigned char& Red() noexcept { return m_red; }
    [[nodiscard]] constexpr unsigned char& Green() noexcept { return m_green; }
    [[nodiscard]] constexpr unsigned char& Blue() noexcept { return m_blue; }
    [[nodiscard]] constexpr unsigned char& Alpha() noexcept { return m_alpha; }

private:
    unsigned char m_alpha;
    unsigned char m_blue;
    unsigned char m_green;
    unsigned char m_red;
};

static_assert(sizeof(BRgba) == 4 && std::is_trivial_v<BRgba> && std::is_standard_layout_v<BRgba>);
