#pragma once

#include "core/geometry/Arithmetic.h"
#include "core/geometry/BFPoint.h"
#include "core/geometry/BMatrix2x3.h"
#include "core/geometry/BPoint.h"
#include "core/geometry/BRect.h"

#include <algorithm>
#include <cstdint>
#include <limits>

/// Walks the cells of a rectangle row by row, `step` cells apart, and maps them to positions:
///
///     for (BRectItr itr(image, origin, pixelWidth, pixelHeight); itr.IsValid(); ++itr)
///         Measure(itr.PositionF());
///
/// A move past the range of int stops at its end, so that every walk with a positive step ends. A
/// step of 0 stays where it is; dividing by it (`StepPosition`, `StepCountX`, `StepCountY`, going
/// back from a first column) is the caller's fault.
class BRectItr {
public:
    constexpr BRectItr(const BRect& rect, const BFPoint& origin, float scaleX,
                       float scaleY) noexcept
        : m_x(rect.Left())
        , m_y(rect.Top())
        , m_rect(rect)
        , m_originX(origin.X())
        , m_originY(origin.Y())
        , m_scaleX(scaleX)
        , m_scaleY(scaleY)
    {}

    /// Intended: only translation and scale are taken, since cells stay parallel to the axes.
    constexpr BRectItr(const BRect& rect, const BMatrix2x3& matrix) noexcept
        : BRectItr(rect, BFPoint(matrix.GetCoeff(0, 2), matrix.GetCoeff(1, 2)),
                   matrix.GetCoeff(0, 0), matrix.GetCoeff(1, 1))
    {}

    /// To the next column, or to the first column of the next row.
    constexpr void Next() noexcept
    {
        const std::int64_t next = std::int64_t{m_x} + m_step;
        if (next < m_rect.Right()) {
            m_x = Saturate(next);
            return;
        }
        m_x = m_rect.Left();
        NextRow();
    }

    /// To the previous column, or to the last column of the previous row that a walk from the left
    /// visits.
    constexpr void Previous() noexcept
    {
        const std::int64_t previous = std::int64_t{m_x} - m_step;
        if (previous >= m_rect.Left()) {
            m_x = Saturate(previous);
            return;
        }
        const std::int64_t last = std::int64_t{m_rect.Right()} - m_rect.Left() - 1;
        m_x = Saturate(m_rect.Left() + last - last % m_step);
        PreviousRow();
    }

    constexpr BRectItr& operator++() noexcept
    {
        Next();
        return *this;
    }
    constexpr BRectItr& operator--() noexcept
    {
        Previous();
        return *this;
    }
    /// The position before the move.
    constexpr BFPoint operator++(int) noexcept
    {
        const BFPoint position = PositionF();
        Next();
        return position;
    }
    constexpr BFPoint operator--(int) noexcept
    {
        const BFPoint position = PositionF();
        Previous();
        return position;
    }

    constexpr void NextRow() noexcept { m_y = Saturate(std::int64_t{m_y} + m_step); }
    constexpr void PreviousRow() noexcept { m_y = Saturate(std::int64_t{m_y} - m_step); }

    constexpr void Restart() noexcept { GotoLeftTop(); }
    constexpr void GotoLeftTop() noexcept
    {
        m_x = m_rect.Left();
        m_y = m_rect.Top();
    }
    /// Intended: the last cell of the rectangle, on the grid of steps or not.
    constexpr void GotoRightBottom() noexcept
    {
        m_x = NGeometry::Subtract(m_rect.Right(), 1);
        m_y = NGeometry::Subtract(m_rect.Bottom(), 1);
    }

    /// Intended: only the row is tested, since moves along a row never leave it.
    [[nodiscard]] constexpr bool IsValid() const noexcept
    {
        return m_rect.Top() <= m_y && m_y < m_rect.Bottom();
    }

    /// The mapped cell, truncated toward zero. A coordinate that no int holds, and NaN, give
    /// -2147483648.
    [[nodiscard]] constexpr BPoint Position() const noexcept
    {
        return {NGeometry::Truncate(PositionF().X()), NGeometry::Truncate(PositionF().Y())};
    }
    [[nodiscard]] constexpr BFPoint PositionF() const noexcept
    {
        return {static_cast<float>(m_x) * m_scaleX + m_originX,
                static_cast<float>(m_y) * m_scaleY + m_originY};
    }
    /// Intended: the cell as it stands, since cells are numbered in the image and not in the
    /// rectangle.
    [[nodiscard]] constexpr BPoint RelativePosition() const noexcept { return {m_x, m_y}; }
    /// Intended: the cell divided by the step, likewise not counted from the rectangle's corner.
    [[nodiscard]] constexpr BPoint StepPosition() const noexcept
    {
        return RelativePosition() / m_step;
    }

    /// The number of columns and of rows that a walk visits.
    [[nodiscard]] constexpr std::int32_t StepCountX() const noexcept
    {
        return StepCount(m_rect.Left(), m_rect.Right());
    }
    [[nodiscard]] constexpr std::int32_t StepCountY() const noexcept
    {
        return StepCount(m_rect.Top(), m_rect.Bottom());
    }

    [[nodiscard]] constexpr std::int32_t GetStep() const noexcept { return m_step; }
    constexpr void SetStep(int step) noexcept { m_step = step; }
    /// The product wraps at 32 bits.
    constexpr void MultiplyStep(int factor) noexcept
    {
        m_step = NGeometry::Multiply(m_step, factor);
    }

private:
    static constexpr std::int32_t Saturate(std::int64_t value) noexcept
    {
        using Limits = std::numeric_limits<std::int32_t>;
        return static_cast<std::int32_t>(
            std::clamp<std::int64_t>(value, (Limits::min)(), (Limits::max)()));
    }

    constexpr std::int32_t StepCount(std::int32_t from, std::int32_t to) const noexcept
    {
        const std::int64_t length = std::int64_t{to} - from;
        return NGeometry::Wrap(length / m_step + (length % m_step != 0));
    }

    std::int32_t m_x;
    std::int32_t m_y;
    std::int32_t m_step = 1;
    BRect m_rect;
    float m_originX;
    float m_originY;
    float m_scaleX;
    float m_scaleY;
};
