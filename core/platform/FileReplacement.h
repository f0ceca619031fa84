#pragma once

#include "core/platform/Export.h"
#include "core/platform/WideText.h"

#include <cstdio>
#include <memory>

namespace platform {

/// A new content for a file: written beside it and moved over it, so that the old content is whole
/// until the new one is complete, also when the process dies.
///
/// The file keeps its permissions, and a symbolic link keeps leading to it. On Windows it keeps
/// whether it is hidden and when it was made, too, but neither named streams nor a compression of
/// its own; elsewhere another name of it (a hard link) keeps the old content, and extended
/// attributes but the access list are gone. A file that is not there yet comes into being, off
/// Windows also where a link leads. A read-only file is refused, as is a path that the system fails
/// to look at, and a pipe that nobody reads.
///
/// Where no sibling can be made, or given the same owner, or moved over the file (one that is
/// mounted alone), `Commit` copies the complete new content over the old one; until then it gathers
/// in the folder for temporary files, or beside. Room is made first, so a full disk leaves the old
/// content wherever the file system can tell. A crash or an error of the disk during that copy
/// leaves part of the new content over part of the old one.
///
/// The draft of a process that dies stays beside the file, called ".qd", on Windows "qd", a number
/// and ".tmp", until the next replacement of the file is made. One whose owner lives, or a process
/// forked from it, is never removed, nor is one of another machine: it is held by a lock, which the
/// system gives back. On network file systems (off Windows), beyond 32 at a time, and where the
/// next writer may not open it, what the dead left stays.
///
/// When there is no stream, and when `Commit` fails, the system's last error says why.
///
/// With `ESync::No` nothing waits for the disk: cheap, and safe unless the power fails, when the
/// file may be empty, or zeros.
///
///     FileReplacement replacement(path);
///     return replacement.Stream() != nullptr && Write(replacement.Stream()) &&
///     replacement.Commit();
class QD_CORE_API FileReplacement {
public:
    enum class ESync { Yes, No };

    explicit FileReplacement(const WChar* path, ESync sync = ESync::Yes);
    /// Without `Commit` the old content stays.
    ~FileReplacement();
    FileReplacement(const FileReplacement&) = delete;
    FileReplacement& operator=(const FileReplacement&) = delete;

    /// The binary stream to write to, null when there is none: the file is refused or cannot be
    /// written, or the new content was committed. That a pipe is refused shows in `Commit`.
    [[nodiscard]] std::FILE* Stream() const noexcept;

    /// Where the new content gathers, for a writer that opens by name in place of `Stream()` and
    /// closes before `Commit`. Empty when there is no stream.
    [[nodiscard]] WideText Path() const;

    /// Puts the new content in place, synchronised before it shows under the name, and then the
    /// name. False when something of it was not written; the old content then stays, unless copying
    /// over it was begun, or all but the name was synchronised: then the new content is there, but
    /// the old one may come back when the power fails. On Windows, others who have the old file
    /// open are waited for up to two seconds.
    [[nodiscard]] bool Commit() noexcept;

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace platform
