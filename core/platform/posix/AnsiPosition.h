#pragma once

#include <cstddef>

/// Positions in texts of the ANSI code page, where a character may take several bytes.
namespace platform {

/// Bytes that the first `units` units come from to which `AnsiToWide` converts `length` bytes at
/// `text`. A character is not split: of the first half of a surrogate pair it is all bytes.
[[nodiscard]] std::size_t AnsiPosition(const char* text, std::size_t length,
                                       std::size_t units) noexcept;

} // namespace platform
