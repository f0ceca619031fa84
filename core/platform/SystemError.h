#pragma once

#include "core/platform/WideText.h"

namespace platform {

/// The system's text for the calling thread's last error (`GetLastError`, `errno`), read before
/// anything else can change it; empty when the system has no text for it.
[[nodiscard]] WideText LastErrorText();

} // namespace platform
