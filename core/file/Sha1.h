#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

/// Takes `count` blocks of 64 bytes into the state words H0 to H4.
using Sha1BlockFunction = void (*)(std::uint32_t (&words)[5], const std::uint8_t* blocks,
                                   std::size_t count) noexcept;

/// The plain rounds, for any processor.
void TakeSha1Blocks(std::uint32_t (&words)[5], const std::uint8_t* blocks,
                    std::size_t count) noexcept;

/// The fastest that the processor at hand has.
[[nodiscard]] Sha1BlockFunction FastestSha1BlockFunction() noexcept;

/// SHA-1 digest (FIPS 180-1) of `message`, its blocks taken by `take`.
void Sha1Digest(std::span<const std::uint8_t> message, Sha1BlockFunction take,
                std::uint32_t (&words)[5]) noexcept;
