#pragma once

#include "core/geometry/Arithmetic.h"
#include "core/geometry/BPoint.h"

#include <cmath>
#include <cstdint>
#include <type_traits>

/// A point of two floats.
///
/// `Round`, `Floor` and `Ceil` give -2147483648 for a coordinate that no int holds, and for NaN.
class BFPoint {
public:
    constexpr BFPoint() noexcept = default;
    constexpr BFPoint(float x, float y) noexcept
        : m_x(x)
        , m_y(y)
    {}

    [[nodiscard]] constexpr BFPoint operator+(const BFPoint& other) const noexcept
    {
        return {m_x + other.m_x, m_y + other.m_y};
    }
    [[nodiscard]] constexpr BFPoint operator-(const BFPoint& other) const noexcept
    {
        return {m_x - other.m_x, m_y - other.m_y};
    }
    [[nodiscard]] constexpr BFPoint operator*(float factor) const noexcept
    {
        return {m_x * factor, m_y * factor};
    }
    [[nodiscard]] constexpr BFPoint operator/(float divisor) const noexcept
    {
        return {m_x / divisor, m_y / divisor};
    }
    constexpr BFPoint& operator+=(const BFPoint& other) noexcept { return *this = *this + other; }
    constexpr BFPoint& operator-=(const BFPoint& other) noexcept { return *this = *this - other; }
    constexpr BFPoint& operator*=(float factor) noexcept { return *this = *this * factor; }
    constexpr BFPoint& operator/=(float divisor) noexcept { return *this = *this / divisor; }

    /// Exact: coordinates that differ by rounding are unequal.
    [[nodiscard]] friend constexpr bool operator==(const BFPoint&,
                                                   const BFPoint&) noexcept = default;

    /// The Euclidean norm. It is exact to rounding over the whole range.
    [[nodiscard]] float Length() const noexcept
    {
        return static_cast<float>(std::sqrt(double{m_x} * m_x + double{m_y} * m_y));
    }

    /// Halves away from zero.
    [[nodiscard]] constexpr BPoint Round() const noexcept { return {Round(m_x), Round(m_y)}; }
    [[nodiscard]] BPoint Floor() const noexcept
    {
        return {NGeometry::Truncate(std::floor(m_x)), NGeometry::Truncate(std::floor(m_y))};
    }
    [[nodiscard]] BPoint Ceil() const noexcept
    {
        return {NGeometry::Truncate(std::ceil(m_x)), NGeometry::Truncate(std::ceil(m_y))};
    }

    [[nodiscard]] constexpr float X() const noexcept { return m_x; }
    [[nodiscard]] constexpr float Y() const noexcept { return m_y; }
    [[nodiscard]] constexpr float& X() noexcept { return m_x; }
    [[nodiscard]] constexpr float& Y() noexcept { return m_y; }

private:
    // The half is added as a double: in float it would lift 0.49999997 to 1 and move large numbers.
    static constexpr std::int32_t Round(float value) noexcept
    {
        return NGeometry::Truncate(value >= 0.0f ? value + 0.5 : value - 0.5);
    }

    float m_x = 0.0f;
    float m_y = 0.0f;
};

static_assert(sizeof(BFPoint) == 8 && std::is_trivially_copyable_v<BFPoint> &&
              std::is_standard_layout_v<BFPoint>);
