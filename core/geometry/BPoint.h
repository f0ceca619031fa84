#pragma once

#include "core/geometry/Arithmetic.h"
#include "core/geometry/BSize.h"
#include "core/platform/Types.h"

#include <bit>
#include <concepts>
#include <cstdint>
#include <cstring>
#include <type_traits>

/// A point in whole units, laid out as the platform's POINT.
///
/// A `tagPOINT` converts to it and back, so either goes where the other is asked for. Sums and
/// products wrap at 32 bits. Dividing by 0 is the caller's fault.
class BPoint {
public:
    constexpr BPoint() noexcept = default;
    constexpr BPoint(std::int32_t x, std::int32_t y) noexcept
        : m_x(x)
        , m_y(y)
    {}
    BPoint(const tagPOINT& point) noexcept { std::memcpy(this, &point, sizeof *this); }

    template <std::same_as<tagPOINT> Point>
    [[nodiscard]] constexpr operator Point() const noexcept
    {
        return std::bit_cast<Point>(*this);
    }

    /// For calls into the system. Own code reads the members: to the compiler they are no
    /// `tagPOINT`.
    [[nodiscard]] tagPOINT* Native() noexcept { return reinterpret_cast<tagPOINT*>(this); }
    [[nodiscard]] const tagPOINT* Native() const noexcept
    {
        return reinterpret_cast<const tagPOINT*>(this);
    }

    [[nodiscard]] constexpr BPoint operator+(const BPoint& other) const noexcept
    {
        return {NGeometry::Add(m_x, other.m_x), NGeometry::Add(m_y, other.m_y)};
    }
    [[nodiscard]] constexpr BPoint operator-(const BPoint& other) const noexcept
    {
        return {NGeometry::Subtract(m_x, other.m_x), NGeometry::Subtract(m_y, other.m_y)};
    }
    [[nodiscard]] constexpr BPoint operator+(const BSize& size) const noexcept
    {
        return *this + BPoint(size.Width(), size.Height());
    }
    [[nodiscard]] constexpr BPoint operator-(const BSize& size) const noexcept
    {
        return *this - BPoint(size.Width(), size.Height());
    }
    [[nodiscard]] constexpr BPoint operator*(long factor) const noexcept
    {
        return {NGeometry::Multiply(m_x, factor), NGeometry::Multiply(m_y, factor)};
    }
    [[nodiscard]] constexpr BPoint operator/(long divisor) const noexcept
    {
        return {NGeometry::Divide(m_x, divisor), NGeometry::Divide(m_y, divisor)};
    }
    constexpr BPoint& operator+=(const BPoint& other) noexcept { return *this = *this + other; }
    constexpr BPoint& operator-=(const BPoint& other) noexcept { return *this = *this - other; }
    constexpr BPoint& operator+=(const BSize& size) noexcept { return *this = *this + size; }
    constexpr BPoint& operator-=(const BSize& size) noexcept { return *this = *this - size; }
    constexpr BPoint& operator*=(long factor) noexcept { return *this = *this * factor; }
    constexpr BPoint& operator/=(long divisor) noexcept { return *this = *this / divisor; }

    [[nodiscard]] friend constexpr bool operator==(const BPoint&, const BPoint&) noexcept = default;

    [[nodiscard]] constexpr std::int32_t X() const noexcept { return m_x; }
    [[nodiscard]] constexpr std::int32_t Y() const noexcept { return m_y; }
    [[nodiscard]] constexpr std::int32_t& X() noexcept { return m_x; }
    [[nodiscard]] constexpr std::int32_t& Y() noexcept { return m_y; }

private:
    std::int32_t m_x = 0;
    std::int32_t m_y = 0;
};

static_assert(sizeof(BPoint) == 8 && std::is_trivially_copyable_v<BPoint> &&
              std::is_standard_layout_v<BPoint>);

// A size takes a point and a point a size, so one of the headers defines what the other declares.
constexpr BSize BSize::operator+(const BPoint& offset) const noexcept
{
    return *this + BSize(offset.X(), offset.Y());
}

constexpr BSize BSize::operator-(const BPoint& offset) const noexcept
{
    return *this - BSize(offset.X(), offset.Y());
}
