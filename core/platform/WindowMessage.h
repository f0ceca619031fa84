#pragma once

#include "core/platform/Types.h"

#include <cstdint>

namespace platform {

/// Queues a message for a window, which must not be null, and returns (`PostMessageW`,
/// `QDWindow::Post`). False when it will not be delivered.
bool PostToWindow(HWND window, unsigned int message, std::uint64_t first, std::int64_t second);

} // namespace platform
