#pragma once

#include <cstdint>

namespace platform {

/// The system's id of the calling thread (`GetCurrentThreadId`). Never 0; ids of ended threads may
/// come again.
[[nodiscard]] std::uint32_t CurrentThreadId() noexcept;

#if !defined(_WIN32)

// 0 until it is asked for. Locks ask often, so it stands where one instruction finds it.
[[gnu::tls_model("initial-exec")]] inline constinit thread_local std::uint32_t t_threadId = 0;

std::uint32_t AskThreadId() noexcept;

inline std::uint32_t CurrentThreadId() noexcept
{
    return t_threadId != 0 ? t_threadId : AskThreadId();
}

#endif

} // namespace platform
