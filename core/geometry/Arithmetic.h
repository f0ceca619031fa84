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

/// Sums, products and quotients that wrap. Dividing by 0 is the caller's fault.
[[nodiscard]] constexpr std::int32_t Add(std::int32_t a, std::int32_t b) noexcept
{
    return Wrap(std::int64_t{a} + b);
}

[[nodiscard]] constexpr std::int32_t Subtract(std::int32_t a, std::int32_t b) noexcept
{
    return Wrap(std::int64_t{a} - b);
}

// Unsigned, since a `long` of 64 bits could overflow the signed product.
[[nodiscard]] constexpr std::int32_t Multiply(std::int32_t a, long b) noexcept
{
    const std::uint64_t product = static_cast<std::uint64_t>(a) * static_cast<std::uint64_t>(b);
    return static_cast<std::int32_t>(product);
}

[[nodiscard]] constexpr std::int32_t Divide(std::int32_t a, long b) noexcept
{
    return Wrap(std::int64_t{a} / b);
}

/// Truncates toward zero. A value beyond the range and NaN give -2147483648, as the processor's own
/// conversion does.
[[nodiscard]] constexpr std::int32_t Truncate(double value) noexcept
{
    const bool fits = value > -2147483649.0 && value < 2147483648.0;
    return fits ? static_cast<std::int32_t>(value) : (std::numeric_limits<std::int32_t>::min)();
}

/// The low 8 bits of the truncated value.
[[nodiscard]] constexpr unsigned char TruncateToByte(double value) noexcept
{
    return static_cast<unsigned char>(Truncate(value));
}

} // namespace NGeometry
