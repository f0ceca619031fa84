#pragma once

#include <cstddef>
#include <cstdint>

namespace platform {

/// Whether the processor at hand has instructions for SHA-1 that the function below uses.
[[nodiscard]] bool HasSha1Instructions() noexcept;

/// Takes `count` blocks of 64 bytes into the state words H0 to H4 (FIPS 180-1). Only where
/// `HasSha1Instructions()`.
void TakeSha1BlocksByInstructions(std::uint32_t (&words)[5], const std::uint8_t* blocks,
                                  std::size_t count) noexcept;

} // namespace platform
