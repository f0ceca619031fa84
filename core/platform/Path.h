#pragma once

#include "core/platform/WideText.h"

#include <cstddef>
#include <filesystem>
#include <optional>

/// Paths taken apart and put together as the shell of Windows does it; off Windows by the rules of
/// `PathRules.h` for both separators. Nothing here looks at a file.
namespace platform {

/// The longest path that the functions with a buffer take (`MAX_PATH`), its terminator included.
inline constexpr std::size_t kPathRoom = 260;

/// Where the last element begins (`PathFindFileNameW`).
[[nodiscard]] std::size_t FindFileName(const WChar* path) noexcept;

/// Where the dot of the extension stands, the length of `path` when there is none
/// (`PathFindExtensionW`).
[[nodiscard]] std::size_t FindExtension(const WChar* path) noexcept;

/// Where `path` ends when its last element is removed, its length when there is none
/// (`PathRemoveFileSpecW`).
[[nodiscard]] std::size_t FindFileSpec(const WChar* path);

/// Both combined, "." and ".." resolved (`PathCombineW`); none when that would be too long, or is
/// before they are resolved.
[[nodiscard]] std::optional<WideText> CombinePaths(const WChar* folder, const WChar* path);

/// What a path that the library puts together has between `path` and a name: the separator that
/// `path` uses already, "\" if none; on Windows always "\".
[[nodiscard]] WChar SeparatorFor(const WChar* path) noexcept;

/// A path as the standard library has it, and back: of the same file, and on Windows of the same
/// units. Off Windows by the rules of `NativePath.h`, whatever the locale.
[[nodiscard]] std::filesystem::path ToStdPath(WideView path);
[[nodiscard]] WideText FromStdPath(const std::filesystem::path& path);

} // namespace platform
