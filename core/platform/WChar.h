#pragma once

#include "core/platform/Export.h"

#include <cstddef>

/// `WChar` is the code unit of every wide text: UTF-16 on each platform, and exactly the platform's
/// `wchar_t` on Windows. `QD_W("text")` is a wide literal of it.
#if defined(_WIN32)
using WChar = wchar_t;
# define QD_W(text) L##text
#else
using WChar = char16_t;
# define QD_W(text) u##text
#endif

static_assert(sizeof(WChar) == 2, "wide texts are UTF-16");

namespace platform {

/// The position that says "not found"; the standard library's texts have the same.
inline constexpr std::size_t kNotFound = static_cast<std::size_t>(-1);

} // namespace platform
