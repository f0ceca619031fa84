#pragma once

#include <filesystem>

/// Wine, in the place of Windows, does not show all that Windows does.
constexpr bool kIsOffWindows = std::filesystem::path::preferred_separator == '/';
