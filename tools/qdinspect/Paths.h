#pragma once

#include "core/file/StdPath.h"
#include "core/platform/WideText.h"

#include <filesystem>
#include <string>

/// A path on the command line, which is UTF-8 on Windows, too.
[[nodiscard]] inline std::filesystem::path PathOf(const std::string& text)
{
    return std::u8string(text.begin(), text.end());
}

/// A path as it is shown.
[[nodiscard]] inline std::string TextOf(const std::filesystem::path& path)
{
    const std::u8string text = path.generic_u8string();
    return {text.begin(), text.end()};
}

/// A path as the library takes it.
[[nodiscard]] inline platform::WideText WideOf(const std::filesystem::path& path)
{
    return QDFromStdPath(path).CStr();
}
