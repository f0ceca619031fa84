#pragma once

#include "core/platform/WChar.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

/// Files and directories by name.
namespace platform {

struct FoundFile {
    std::basic_string<WChar> path; // the pattern's directory part and the name
    bool isReadOnly = false;
    bool isSystem = false; // off Windows whatever is neither file, link nor directory
    bool isDirectory = false;
    bool isOffline = false;
};

/// Calls `visit` for each file and directory that matches, until it returns false; whether there
/// was one. A link is found itself, also one that leads nowhere; one to a directory counts as
/// a directory.
///
/// "*" (any units) and "?" (one unit) are wild in the last element of `pattern`, and nowhere else;
/// ".*" at the end also finds names without a dot. Case counts as it does in the file system. On
/// Windows a name also matches by its short form.
bool FindFiles(const WChar* pattern, const std::function<bool(const FoundFile&)>& visit);

/// Size in bytes of the file at `path`; none when it cannot be opened for reading, on Windows also
/// while someone has it open for writing.
[[nodiscard]] std::optional<std::uint64_t> FileSize(const WChar* path) noexcept;

[[nodiscard]] bool IsDirectory(const WChar* path) noexcept;

/// Whether there is anything at `path`, which has no wild characters.
[[nodiscard]] bool PathExists(const WChar* path) noexcept;

/// Deletes a file or a link, no directory.
[[nodiscard]] bool RemoveFile(const WChar* path) noexcept;

/// Makes the directory at `path`, which must be absolute, and those of its parents that are
/// missing. False when it cannot, and when the directory is there already.
[[nodiscard]] bool MakeDirectories(const WChar* path) noexcept;

/// The path in short (8.3) names; none when there is nothing at `path`. Where the file system has
/// no short names, and off Windows, the names stay.
[[nodiscard]] std::optional<std::basic_string<WChar>> ShortPath(const WChar* path);

} // namespace platform
