#pragma once

#include "core/platform/WideText.h"

#include <climits>
#include <optional>
#include <string>
#include <string_view>

/// File names as the library has them, and as the kernel takes them.
///
/// A native name is UTF-8 with "/". A byte of it that is not part of valid UTF-8 (U+DC80 to
/// U+DCFF), or is a "\" (U+DC5C), stands as the lone surrogate U+DC00 plus the byte, so that every
/// file can be named and found again: `ToNativePath(FromNativePath(name))` is `name` for any bytes.
namespace platform {

/// The native path for a call of the kernel, which takes no memory, so that no call fails for want
/// of it. Both "/" and "\" become "/". Lone surrogates other than those above take three bytes. Of
/// a path that is longer than the kernel takes so much stays that the kernel refuses it.
class NativePath {
public:
    explicit NativePath(const WChar* path) noexcept;

    operator const char*() const noexcept { return m_text; }
    /// For changes that leave the length.
    [[nodiscard]] char* Text() noexcept { return m_text; }

private:
    char m_text[PATH_MAX + 1];
};

/// The same as a text, however long.
[[nodiscard]] std::string ToNativePath(WideView path);

[[nodiscard]] WideText FromNativePath(std::string_view path);

/// Where the links of a native path lead, also when nothing is there; none when the system fails to
/// tell.
[[nodiscard]] std::optional<std::string> ResolveLinks(std::string path);

/// The folder of a native path with its "/"; empty for a bare name.
[[nodiscard]] std::string FolderOf(const std::string& path);

} // namespace platform
