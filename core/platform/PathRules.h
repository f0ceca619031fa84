#pragma once

#include "core/platform/WideText.h"

#include <cstddef>
#include <cstdint>
#include <optional>

/// How the shell of Windows takes paths apart, as pure text: nothing here looks at a file. The
/// Windows side calls the shell itself; these are for the other.
namespace platform {

enum class EPathStyle : std::uint8_t {
    Shell, // as the shell does it: "\" separates, and any ":" ends a drive
    Posix, // "/" separates as "\" does, and a drive is one letter: "a:b" below a folder is a name
};

/// Where the last element begins, a separator at the end being part of it. Both separators count in
/// both styles.
[[nodiscard]] std::size_t FindFileName(WideView path, EPathStyle style) noexcept;

/// Where the dot of the extension stands; the length when there is none. No extension has a blank.
[[nodiscard]] std::size_t FindExtension(WideView path, EPathStyle style) noexcept;

/// Where the last element begins with the separator in front of it, or with both of a doubled one,
/// unless that belongs to the root; the length when the path is nothing but a root: "\", "C:\",
/// "\\?\C:\", "\\?\Volume{...}\".
[[nodiscard]] std::size_t FindFileSpec(WideView path, EPathStyle style) noexcept;

/// `path` seen from `folder`, without "." and "..": an absolute path stands alone, one that begins
/// with a separator starts at the folder's root. ".." ends at the root, in a UNC path at the
/// server, and what nothing is left of is the root; the ".." at the start of a relative path stay.
/// None when both together, before that, have `kPathRoom` units or more.
[[nodiscard]] std::optional<WideText> CombinePaths(WideView folder, WideView path,
                                                   EPathStyle style);

/// The separator that `path` has, the last one if it has both; "\" when it has none.
[[nodiscard]] WChar SeparatorOf(WideView path) noexcept;

} // namespace platform
