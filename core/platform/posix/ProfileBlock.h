#pragma once

#include "core/platform/WideText.h"

#include <cstddef>

/// Blocks of bytes as values of a private profile: two hexadecimal digits a byte, upper-case when
/// written, and two more for the sum of the bytes modulo 256.
namespace platform {

[[nodiscard]] WideText EncodeBlock(const unsigned char* data, std::size_t size);

/// False when `digits` are not those of `size` bytes; what `data` holds then is unspecified.
[[nodiscard]] bool DecodeBlock(WideView digits, unsigned char* data, std::size_t size);

} // namespace platform
