#pragma once

#include "core/geometry/Arithmetic.h"
#include "core/geometry/BPoint.h"
#include "core/geometry/BSize.h"
#include "core/platform/Types.h"

#include <algorithm>
#include <bit>
#include <concepts>
#include <cstdint>
#include <cstring>
#include <type_traits>

/// A rectangle of whole cells, `right` and `bottom` exclusive, laid out as the platform's RECT.
///
/// A `tagRECT` converts to it and back, so either goes where the other is asked for. Widths,
/// heights and moves wrap at 32 bits.
class BRect {
public:
    constexpr BRect() noexcept = default;
    constexpr BRect(std::int32_t left, std::int32_t top, std::int32_t right,
                    std::int32_t bottom) noexcept
        : m_left(left)
        , m_top(top)
        , m_right(right)
        , m_bottom(bottom)
    {}
    constexpr BRect(const BPoint& leftTop, const BSize& size) noexcept
        : BRect(leftTop.X(), leftTop.Y(), NGeometry::Add(leftTop.X(), size.Width()),
                NGeometry::Add(leftTop.Y(), size.Height()))
    {}
    constexpr BRect(const BPoint& leftTop, const BPoint& rightBottom) noexcept
        : BRect(leftTop.X(), leftTop.Y(), rightBottom.X(), rightBottom.Y())
    {}
    BRect(const tagRECT& rect) noexcept { std::memcpy(this, &rect, sizeof *this); }

    template <std::same_as<tagRECT> Rect>
    [[nodiscard]] constexpr operator Rect() const noexcept
    {
        return std::bit_cast<Rect>(*this);
    }

    /// For calls into the system. Own code reads the members: to the compiler they are no
    /// `tagRECT`.
    [[nodiscard]] tagRECT* Native() noexcept { return reinterpret_cast<tagRECT*>(this); }
    [[nodiscard]] const tagRECT* Native() const noexcept
    {
        return reinterpret_cast<const tagRECT*>(this);
    }

    /// Moves the rectangle.
    constexpr BRect& operator+=(const BPoint& offset) noexcept
    {
        return *this = {LeftTop() + offset, RightBottom() + offset};
    }
    constexpr BRect& operator-=(const BPoint& offset) noexcept
    {
        return *this = {LeftTop() - offset, RightBottom() - offset};
    }

    [[nodiscard]] friend constexpr bool operator==(const BRect&, const BRect&) noexcept = default;

    /// No cell lies inside: the edges meet or are crossed.
    [[nodiscard]] constexpr bool IsEmpty() const noexcept
    {
        return m_left >= m_right || m_top >= m_bottom;
    }

    /// What this rectangle and all the others have in common; (0, 0, 0, 0) when that is empty.
    [[nodiscard]] constexpr BRect Intersection(const BRect& a) const noexcept
    {
        const BRect common((std::max)(m_left, a.m_left), (std::max)(m_top, a.m_top),
                           (std::min)(m_right, a.m_right), (std::min)(m_bottom, a.m_bottom));
        return common.IsEmpty() ? BRect() : common;
    }
    [[nodiscard]] constexpr BRect Intersection(const BRect& a, const BRect& b) const noexcept
    {
        return Intersection(a).Intersection(b);
    }
    [[nodiscard]] constexpr BRect Intersection(const BRect& a, const BRect& b,
                                               const BRect& c) const noexcept
    {
        return Intersection(a, b).Intersection(c);
    }
    [[nodiscard]] constexpr BRect Intersection(const BRect& a, const BRect& b, const BRect& c,
                                               const BRect& d) const noexcept
    {
        return Intersection(a, b, c).Intersection(d);
    }

    /// The smallest rectangle around this one and all the others. Empty ones do not count; when all
    /// are empty it is (0, 0, 0, 0).
    [[nodiscard]] constexpr BRect Union(const BRect& a) const noexcept
    {
        if (a.IsEmpty())
            return IsEmpty() ? BRect() : *this;
        if (IsEmpty())
            return a;
        return {(std::min)(m_left, a.m_left), (std::min)(m_top, a.m_top),
                (std::max)(m_right, a.m_right), (std::max)(m_bottom, a.m_bottom)};
    }
    [[nodiscard]] constexpr BRect Union(const BRect& a, const BRect& b) const noexcept
    {
        return Union(a).Union(b);
    }
    [[nodiscard]] constexpr BRect Union(const BRect& a, const BRect& b,
                                        const BRect& c) const noexcept
    {
        return Union(a, b).Union(c);
    }
    [[nodiscard]] constexpr BRect Union(const BRect& a, const BRect& b, const BRect& c,
                                        const BRect& d) const noexcept
    {
        return Union(a, b, c).Union(d);
    }

    /// The cell after `cell` in row order: the next one in its row, or the first of the next row
    /// when that one reaches `right`. The bottom is not checked.
    [[nodiscard]] constexpr BPoint Successor(const BPoint& cell) const noexcept
    {
        if (std::int64_t{cell.X()} + 1 >= m_right)
            return {m_left, NGeometry::Add(cell.Y(), 1)};
        return {cell.X() + 1, cell.Y()};
    }

    /// Halves round toward zero. The middle is right over the whole range: the sums do not wrap.
    [[nodiscard]] constexpr BPoint Center() const noexcept
    {
        return {NGeometry::Wrap((std::int64_t{m_left} + m_right) / 2),
                NGeometry::Wrap((std::int64_t{m_top} + m_bottom) / 2)};
    }

    [[nodiscard]] constexpr std::int32_t Width() const noexcept
    {
        return NGeometry::Subtract(m_right, m_left);
    }
    [[nodiscard]] constexpr std::int32_t Height() const noexcept
    {
        return NGeometry::Subtract(m_bottom, m_top);
    }
    [[nodiscard]] constexpr BSize Size() const noexcept { return {Width(), Height()}; }

    [[nodiscard]] constexpr BPoint LeftTop() const noexcept { return {m_left, m_top}; }
    [[nodiscard]] constexpr BPoint RightTop() const noexcept { return {m_right, m_top}; }
    [[nodiscard]] constexpr BPoint LeftBottom() const noexcept { return {m_left, m_bottom}; }
    [[nodiscard]] constexpr BPoint RightBottom() const noexcept { return {m_right, m_bottom}; }

    [[nodiscard]] constexpr std::int32_t Left() const noexcept { return m_left; }
    [[nodiscard]] constexpr std::int32_t Top() const noexcept { return m_top; }
    [[nodiscard]] constexpr std::int32_t Right() const noexcept { return m_right; }
    [[nodiscard]] constexpr std::int32_t Bottom() const noexcept { return m_bottom; }
    [[nodiscard]] constexpr std::int32_t& Left() noexcept { return m_left; }
    [[nodiscard]] constexpr std::int32_t& Top() noexcept { return m_top; }
    [[nodiscard]] constexpr std::int32_t& Right() noexcept { return m_right; }
    [[nodiscard]] constexpr std::int32_t& Bottom() noexcept { return m_bottom; }

private:
    std::int32_t m_left = 0;
    std::int32_t m_top = 0;
    std::int32_t m_right = 0;
    std::int32_t m_bottom = 0;
};

static_assert(sizeof(BRect) == 16 && std::is_trivially_copyable_v<BRect> &&
              std::is_standard_layout_v<BRect>);
