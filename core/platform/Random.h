#pragma once

#include <cstddef>

namespace platform {

/// Fills `size` bytes, at most 256, with what nobody can foresee: for seeds, and for names that
/// nobody else takes. False when the system gives none; what they hold then is unspecified.
[[nodiscard]] bool FillRandom(void* bytes, std::size_t size) noexcept;

} // namespace platform
