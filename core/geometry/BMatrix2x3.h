#pragma once

#include "core/geometry/BFPoint.h"

#include <type_traits>

/// An affine mapping of the plane: a 2x2 part and, in the third column, a translation.
class BMatrix2x3 {
public:
    /// Leaves the coefficients unset.
    BMatrix2x3() = default;

    /// Column by column, as the platform's XFORM has them.
    constexpr BMatrix2x3(float m00, float m10, float m01, float m11, float m02, float m12) noexcept
        : m_coefficients{m00, m01, m02, m10, m11, m12}
    {}

    /// The mapping that applies `other` first and then this one.
    [[nodiscard]] constexpr BMatrix2x3 operator*(const BMatrix2x3& other) const noexcept
    {
        const auto& [a00, a01, a02, a10, a11, a12] = m_coefficients;
        const auto& [b00, b01, b02, b10, b11, b12] = other.m_coefficients;
        return {a00 * b00 + a01 * b10, a10 * b00 + a11 * b10,       a00 * b01 + a01 * b11,
                a10 * b01 + a11 * b11, a00 * b02 + a01 * b12 + a02, a10 * b02 + a11 * b12 + a12};
    }

    /// Exact: coefficients that differ by rounding are unequal.
    [[nodiscard]] friend constexpr bool operator==(const BMatrix2x3&,
                                                   const BMatrix2x3&) noexcept = default;

    [[nodiscard]] constexpr BFPoint Transform(const BFPoint& point) const noexcept
    {
        const auto& [m00, m01, m02, m10, m11, m12] = m_coefficients;
        return {m00 * point.X() + m01 * point.Y() + m02, m10 * point.X() + m11 * point.Y() + m12};
    }

    /// The inverse mapping. A matrix without one gives infinities or NaN.
    [[nodiscard]] constexpr BFPoint TransformBack(const BFPoint& point) const noexcept
    {
        const auto& [m00, m01, m02, m10, m11, m12] = m_coefficients;
        if (m01 == 0.0f && m10 == 0.0f)
            return {(point.X() - m02) / m00, (point.Y() - m12) / m11};
        const float det = m00 * m11 - m10 * m01;
        const float dx = m02 - point.X();
        const float dy = m12 - point.Y();
        return {-(m11 * dx - m01 * dy) / det, -(m00 * dy - m10 * dx) / det};
    }

    /// `row` below 2, `column` below 3: neither is checked.
    [[nodiscard]] constexpr float GetCoeff(unsigned int row, unsigned int column) const noexcept
    {
        return m_coefficients[row * 3 + column];
    }
    constexpr void SetCoeff(unsigned int row, unsigned int column, float value) noexcept
    {
        m_coefficients[row * 3 + column] = value;
    }

private:
    float m_coefficients[6]; // row by row
};

static_assert(sizeof(BMatrix2x3) == 24 && std::is_trivial_v<BMatrix2x3> &&
              std::is_standard_layout_v<BMatrix2x3>);
