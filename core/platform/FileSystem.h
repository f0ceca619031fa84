#pragma once

#include "core/platform/WideText.h"

#include <cstdint>
#include <functional>
#include <optional>

/// Files and directories by name.
namespace platform {

/// What a look at a path tells.
enum class EPresence {
    Missing, // the system says so: there is no such name, or no such folder
    There,
    Unknown, // the look failed: no right to look, an error of the disk, too many files or links
};

struct FoundFile {
    WideText path; // the pattern's directory part and the name
    bool isReadOnly = false;
    bool isSystem = false; // off Windows whatever is neither file, link nor directory
    bool isDirectory = false;
    bool isOffline = false;
};

/// Calls `visit` for each file and directory that matches, until it returns false. `Missing` when
/// there is none; `Unknown` when some may not have been visited, for the system failed to list them
/// or to tell what one is. A link is found itself, also one that leads nowhere; one to a directory
/// counts as a directory.
///
/// "*" and "?" are wild in the last element of `pattern`, and nowhere else, as Windows has it: "*"
/// is any units, "?" one unit but no dot, or nothing where the name or a part of it ends; ".*" and
/// ".?" also find names without a dot. Dots and blanks at the end of a pattern are dropped, but
/// "*." finds only names without an extension. "." and ".." are found by what finds ".", or an
/// empty name. Case counts as it does in the file system. On Windows a name also matches by its
/// short form. Without wild units the last element is a name, off Windows as it stands.
EPresence FindFiles(const WChar* pattern, const std::function<bool(const FoundFile&)>& visit);

/// Size in bytes of the file at `path`; none when it cannot be opened for reading, on Windows also
/// while someone has it open for writing.
[[nodiscard]] std::optional<std::uint64_t> FileSize(const WChar* path) noexcept;

[[nodiscard]] bool IsDirectory(const WChar* path) noexcept;

/// Whether there is anything at `path`, in which no character is wild: false also when that cannot
/// be told. A link counts itself, also one that leads nowhere.
[[nodiscard]] bool PathExists(const WChar* path) noexcept;

/// What is at `path`, in which no character is wild, or where a link there leads: one that leads
/// nowhere is missing. For whoever must know before a file is made or taken for empty: when one
/// cannot be opened, only `Missing` means that nothing would be lost.
[[nodiscard]] EPresence Presence(const WChar* path) noexcept;

/// Deletes a file or a link, no directory.
[[nodiscard]] bool RemoveFile(const WChar* path) noexcept;

/// `path` behind the current folder when it is relative; `path` itself when that cannot be told.
[[nodiscard]] WideText FullPath(const WChar* path);

/// Makes the directory at `path`, which must be absolute, and those of its parents that are
/// missing. False when it cannot, and when the directory is there already.
[[nodiscard]] bool MakeDirectories(const WChar* path) noexcept;

/// The path in short (8.3) names; none when there is nothing at `path`. Where the file system has
/// no short names, and off Windows, the names stay.
[[nodiscard]] std::optional<WideText> ShortPath(const WChar* path);

} // namespace platform
