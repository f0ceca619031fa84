#pragma once

#include "core/geometry/BFPoint.h"

#include <algorithm>
#include <type_traits>

/// A rectangle of floats, `right` and `bottom` exclusive.
class BFRect {
public:
    constexpr BFRect() noexcept = default;
    constexpr BFRect(float left, float top, float right, float bottom) noexcept
        : m_left(left)
        , m_top(top)
        , m_right(right)
        , m_bottom(bottom)
    {}
    constexpr BFRect(const BFPoint& leftTop, const BFPoint& rightBottom) noexcept
        : BFRect(leftTop.X(), leftTop.Y(), rightBottom.X(), rightBottom.Y())
    {}

    /// Moves the rectangle.
    constexpr BFRect& operator+=(const BFPoint& offset) noexcept
    {
        return *this = {LeftTop() + offset, RightBottom() + offset};
    }
    constexpr BFRect& operator-=(const BFPoint& offset) noexcept
    {
        return *this = {LeftTop() - offset, RightBottom() - offset};
    }

    /// Exact: edges that differ by rounding are unequal.
    [[nodiscard]] friend constexpr bool operator==(const BFRect&, const BFRect&) noexcept = default;

    /// No point lies inside: the edges meet or are crossed.
    [[nodiscard]] constexpr bool IsEmpty() const noexcept
    {
        return m_left >= m_right || m_top >= m_bottom;
    }

    /// What this rectangle and all the others have in common; (0, 0, 0, 0) when that is empty.
    [[nodiscard]] constexpr BFRect Intersection(const BFRect& a) const noexcept
    {
        const BFRect common((std::max)(m_left, a.m_left), (std::max)(m_top, a.m_top),
                            (std::min)(m_right, a.m_right), (std::min)(m_bottom, a.m_bottom));
        return common.IsEmpty() ? BFRect() : common;
    }
    [[nodiscard]] constexpr BFRect Intersection(const BFRect& a, const BFRect& b) const noexcept
    {
        return Intersection(a).Intersection(b);
    }
    [[nodiscard]] constexpr BFRect Intersection(const BFRect& a, const BFRect& b,
                                                const BFRect& c) const noexcept
    {
        return Intersection(a, b).Intersection(c);
    }
    [[nodiscard]] constexpr BFRect Intersection(const BFRect& a, const BFRect& b, const BFRect& c,
                                                const BFRect& d) const noexcept
    {
        return Intersection(a, b, c).Intersection(d);
    }

    /// The smallest rectangle around this one and all the others. Empty ones do not count; when all
    /// are empty it is (0, 0, 0, 0).
    [[nodiscard]] constexpr BFRect Union(const BFRect& a) const noexcept
    {
        if (a.IsEmpty())
            return IsEmpty() ? BFRect() : *this;
        if (IsEmpty())
            return a;
        return {(std::min)(m_left, a.m_left), (std::min)(m_top, a.m_top),
                (std::max)(m_right, a.m_right), (std::max)(m_bottom, a.m_bottom)};
    }
    [[nodiscard]] constexpr BFRect Union(const BFRect& a, const BFRect& b) const noexcept
    {
        return Union(a).Union(b);
    }
    [[nodiscard]] constexpr BFRect Union(const BFRect& a, const BFRect& b,
                                         const BFRect& c) const noexcept
    {
        return Union(a, b).Union(c);
    }
    [[nodiscard]] constexpr BFRect Union(const BFRect& a, const BFRect& b, const BFRect& c,
                                         const BFRect& d) const noexcept
    {
        return Union(a, b, c).Union(d);
    }

    /// The position after `cell` in row order, one unit apart: the next one in its row, or the
    /// first of the next row when that one reaches `right`. The bottom is not checked.
    [[nodiscard]] constexpr BFPoint Successor(const BFPoint& cell) const noexcept
    {
        if (cell.X() + 1.0f >= m_right)
            return {m_left, cell.Y() + 1.0f};
        return {cell.X() + 1.0f, cell.Y()};
    }

    [[nodiscard]] constexpr BFPoint Center() const noexcept
    {
        return {(m_left + m_right) / 2.0f, (m_top + m_bottom) / 2.0f};
    }

    /// Corner number `index` modulo 4: 0 left top, 1 left bottom, 2 right bottom, 3 right top.
    /// Intended: the remainder has the sign of `index`, so -1, -2 and -3 name no corner: (0, 0).
    [[nodiscard]] constexpr BFPoint Vertex(int index) const noexcept
    {
        switch (index % 4) {
        case 0: return LeftTop();
        case 1: return LeftBottom();
        case 2: return RightBottom();
        case 3: return RightTop();
        default: return {};
        }
    }

    [[nodiscard]] constexpr float Width() const noexcept { return m_right - m_left; }
    [[nodiscard]] constexpr float Height() const noexcept { return m_bottom - m_top; }
    /// The width as x, the height as y.
    [[nodiscard]] constexpr BFPoint Size() const noexcept { return {Width(), Height()}; }

    [[nodiscard]] constexpr BFPoint LeftTop() const noexcept { return {m_left, m_top}; }
    [[nodiscard]] constexpr BFPoint RightTop() const noexcept { return {m_right, m_top}; }
    [[nodiscard]] constexpr BFPoint LeftBottom() const noexcept { return {m_left, m_bottom}; }
    [[nodiscard]] constexpr BFPoint RightBottom() const noexcept { return {m_right, m_bottom}; }

    [[nodiscard]] constexpr float Left() const noexcept { return m_left; }
    [[nodiscard]] constexpr float Top() const noexcept { return m_top; }
    [[nodiscard]] constexpr float Right() const noexcept { return m_right; }
    [[nodiscard]] constexpr float Bottom() const noexcept { return m_bottom; }
    [[nodiscard]] constexpr float& Left() noexcept { return m_left; }
    [[nodiscard]] constexpr float& Top() noexcept { return m_top; }
    [[nodiscard]] constexpr float& Right() noexcept { return m_right; }
    [[nodiscard]] constexpr float& Bottom() noexcept { return m_bottom; }

private:
    float m_left = 0.0f;
    float m_top = 0.0f;
    float m_right = 0.0f;
    float m_bottom = 0.0f;
};

static_assert(sizeof(BFRect) == 16 && std::is_trivially_copyable_v<BFRect> &&
              std::is_standard_layout_v<BFRect>);
