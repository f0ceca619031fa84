#pragma once

#include "core/platform/WChar.h"

#include <cstddef>
#include <cstdint>

/// Universally unique identifiers (RFC 4122).
namespace platform {

/// A UUID as the system keeps it in memory. All zeros is the nil UUID.
struct Uuid {
    alignas(4) std::uint8_t bytes[16] = {};
};

/// Characters of a UUID's text: "6ba7b810-9dad-11d1-80b4-00c04fd430c8".
inline constexpr std::size_t kUuidTextLength = 36;

/// A new random one; nil when the system cannot make any.
[[nodiscard]] Uuid CreateUuid() noexcept;

/// Reads the text of a UUID, in either case, without braces; nil when `text` is anything else or
/// null.
[[nodiscard]] Uuid ParseUuid(const WChar* text) noexcept;

/// Writes the text in lower case, terminated. False when the system fails.
[[nodiscard]] bool UuidText(const Uuid& uuid, WChar (&text)[kUuidTextLength + 1]) noexcept;

[[nodiscard]] bool EqualUuids(const Uuid& a, const Uuid& b) noexcept;

} // namespace platform
