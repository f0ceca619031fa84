#pragma once

#include <cstdint>
#include <limits>

/// Integer results that are defined for every input.
namespace NGeometry {

/// The low 32 bits: what two's complement arithmetic of that width gives.
[[nodiscard]] constexpr std::int32_t Wrap(std::int64_t value) noexcept
{
    return static_cast<std::int32_t>(value);
}

/// Truncates toward zero. A value beyond the range and NaN give -2147483648, as the processor's own
/// conversion does.
[[nodiscard]] constexpr std::int32_t Truncate(double value) noexcept
{
    const bool fits = value > -2147483649.0 && value < 2147483648.0;
    return fits ? static_cast<std::int32_t>(value) : std::numeric_limits<std::int32_t>::min();
}

/// The low 8 bits of the truncated value.
[[nodiscard]] constexpr unsigned char TruncateToByte(double value) noexcept
{
    return static_cast<unsigned char>(Truncate(value));
}

} // namespace NGeometry
