#pragma once

#include "core/platform/WChar.h"

#include <string>
#include <string_view>

/// File names as the library has them, and as the kernel takes them.
///
/// A native name is UTF-8 with "/". A byte of it that is not part of valid UTF-8 (U+DC80 to
/// U+DCFF), or is a "\" (U+DC5C), stands as the lone surrogate U+DC00 plus the byte, so that every
/// file can be named and found again: `ToNativePath(FromNativePath(name))` is `name` for any bytes.
namespace platform {

/// Both "/" and "\" become "/". Lone surrogates other than those above take three bytes.
[[nodiscard]] std::string ToNativePath(const WChar* path);

[[nodiscard]] std::basic_string<WChar> FromNativePath(std::string_view path);

/// Where the links of a native path lead to; `path` itself when there is nothing.
[[nodiscard]] std::string ResolveLinks(const std::string& path);

/// The folder of a native path with its "/"; empty for a bare name.
[[nodiscard]] std::string FolderOf(const std::string& path);

} // namespace platform
