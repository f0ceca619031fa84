#pragma once

#include <cstdint>

namespace platform {

/// The system's id of the calling thread (`GetCurrentThreadId`). Never 0; ids of ended threads may
/// come again.
[[nodiscard]] std::uint32_t CurrentThreadId() noexcept;

} // namespace platform
