#pragma once

#include "core/platform/Export.h" // asks for C++20

#include <algorithm>
#include <type_traits>

/// A pixel of 8 bits a channel, in the byte order of a device-independent bitmap.
class BRgb {
public:
    /// Leaves the channels unset, so that images cost nothing to allocate.
    BRgb() = default;

    /// A grey: all three channels are `value`.
    constexpr BRgb(unsigned char value) noexcept
        : BRgb(value, value, value)
    {}

    constexpr BRgb(unsigned char red, unsigned char green, unsigned char blue) noexcept
        : m_blue(blue)
        , m_green(green)
        , m_red(red)
    {}

    constexpr BRgb& operator=(unsigned char value) noexcept { return *this = BRgb(value); }

    /// Intended: each channel wraps at 256 and does not saturate, as byte arithmetic does.
    [[nodiscard]] constexpr BRgb operator+(unsigned char value) const noexcept
    {
        return {static_cast<unsigned char>(m_red + value),
                static_cast<unsigned char>(m_green + value),
                static_cast<unsigned char>(m_blue + value)};
    }

    /// Each relation holds only where it holds in all three channels, so of two pixels neither may
    /// be greater, less or equal.
    [[nodiscard]] constexpr bool operator==(const BRgb& other) const noexcept = default;
    [[nodiscard]] constexpr bool operator>(const BRgb& other) const noexcept
    {
        return m_red > other.m_red && m_green > other.m_green && m_blue > other.m_blue;
    }
    [[nodiscard]] constexpr bool operator<(const BRgb& other) const noexcept
    {
        return other > *this;
    }
    [[nodiscard]] constexpr bool operator==(unsigned char value) const noexcept
    {
        return *this == BRgb(value);
    }
    [[nodiscard]] constexpr bool operator>(unsigned char value) const noexcept
    {
        return *this > BRgb(value);
    }
    [[nodiscard]] constexpr bool operator<(unsigned char value) const noexcept
    {
        return *this < BRgb(value);
    }

    /// The platform's COLORREF: red + green x 256 + blue x 65536.
    [[nodiscard]] constexpr unsigned long ColorRef() const noexcept
    {
        return m_red | static_cast<unsigned long>(m_green) << 8 |
               static_cast<unsigned long>(m_blue) << 16;
    }
    constexpr void ColorRef(unsigned long color) noexcept
    {
        m_red = static_cast<unsigned char>(color);
        m_green = static_cast<unsigned char>(color >> 8);
        m_blue = static_cast<unsigned char>(color >> 16);
    }

    /// The largest of the three channels.
    [[nodiscard]] constexpr unsigned char Intensity() const noexcept
    {
        return (std::max)({m_red, m_green, m_blue});
    }

    [[nodiscard]] constexpr unsigned char Red() const noexcept { return m_red; }
    [[nodiscard]] constexpr unsigned char Green() const noexcept { return m_green; }
    [[nodiscard]] constexpr unsigned char Blue() const noexcept { return m_blue; }
    [[nodiscard]] constexpr unsigned char& Red() noexcept { return m_red; }
    [[nodiscard]] constexpr unsigned char& Green() noexcept { return m_green; }
    [[nodiscard]] constexpr unsigned char& Blue() noexcept { return m_blue; }

private:
    unsigned char m_blue;
    unsigned char m_green;
    unsigned char m_red;
};

static_assert(sizeof(BRgb) == 3 && std::is_trivial_v<BRgb> && std::is_standard_layout_v<BRgb>);
