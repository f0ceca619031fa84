#pragma once

namespace platform {

/// Less than a quarter of the calling thread's stack is left. Also true on a stack that the system
/// does not know for the thread's own, as a coroutine's may be.
[[nodiscard]] bool IsStackShort() noexcept;

} // namespace platform
