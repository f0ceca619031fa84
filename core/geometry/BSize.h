#pragma once

#include "core/geometry/Arithmetic.h"
#include "core/platform/Types.h"

#include <algorithm>
#include <bit>
#include <concepts>
#include <cstdint>
#include <cstring>
#include <type_traits>

class BPoint;

/// A width and a height in whole units, laid out as the platform's SIZE.
///
/// A `tagSIZE` converts to it and back, so either goes where the other is asked for. Sums and
/// products wrap at 32 bits. Dividing by 0 is the caller's fault.
class BSize {
public:
    constexpr BSize() noexcept = default;
    constexpr BSize(std::int32_t width, std::int32_t height) noexcept
        : m_width(width)
        , m_height(height)
    {}
    BSize(const tagSIZE& size) noexcept { std::memcpy(this, &size, sizeof *this); }

    template <std::same_as<tagSIZE> Size>
    [[nodiscard]] constexpr operator Size() const noexcept
    {
        return std::bit_cast<Size>(*this);
    }

    /// For calls into the system. Own code reads the members: to the compiler they are no
    /// `tagSIZE`.
    [[nodiscard]] tagSIZE* Native() noexcept { return reinterpret_cast<tagSIZE*>(this); }
    [[nodiscard]] const tagSIZE* Native() const noexcept
    {
        return reinterpret_cast<const tagSIZE*>(this);
    }

    [[nodiscard]] constexpr BSize operator+(const BSize& other) const noexcept
    {
        return {NGeometry::Add(m_width, other.m_width), NGeometry::Add(m_height, other.m_height)};
    }
    [[nodiscard]] constexpr BSize operator-(const BSize& other) const noexcept
    {
        return {NGeometry::Subtract(m_width, other.m_width),
                NGeometry::Subtract(m_height, other.m_height)};
    }
    /// With a `tagPOINT`, too; callers include BPoint.h, which defines them.
    [[nodiscard]] constexpr BSize operator+(const BPoint& offset) const noexcept;
    [[nodiscard]] constexpr BSize operator-(const BPoint& offset) const noexcept;
    [[nodiscard]] constexpr BSize operator*(long factor) const noexcept
    {
        return {NGeometry::Multiply(m_width, factor), NGeometry::Multiply(m_height, factor)};
    }
    [[nodiscard]] constexpr BSize operator/(long divisor) const noexcept
    {
        return {NGeometry::Divide(m_width, divisor), NGeometry::Divide(m_height, divisor)};
    }

    [[nodiscard]] friend constexpr bool operator==(const BSize&, const BSize&) noexcept = default;

    /// The larger of both widths and the larger of both heights.
    [[nodiscard]] constexpr BSize Maximum(const BSize& other) const noexcept
    {
        return {(std::max)(m_width, other.m_width), (std::max)(m_height, other.m_height)};
    }
    [[nodiscard]] constexpr BSize Minimum(const BSize& other) const noexcept
    {
        return {(std::min)(m_width, other.m_width), (std::min)(m_height, other.m_height)};
    }

    [[nodiscard]] constexpr std::int32_t Width() const noexcept { return m_width; }
    [[nodiscard]] constexpr std::int32_t Height() const noexcept { return m_height; }
    [[nodiscard]] constexpr std::int32_t& Width() noexcept { return m_width; }
    [[nodiscard]] constexpr std::int32_t& Height() noexcept { return m_height; }

private:
    std::int32_t m_width = 0;
    std::int32_t m_height = 0;
};

static_assert(sizeof(BSize) == 8 && std::is_trivially_copyable_v<BSize> &&
              std::is_standard_layout_v<BSize>);
