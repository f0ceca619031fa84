#pragma once

#include "core/platform/WChar.h"

#include <cstdio>
#include <memory>

namespace platform {

/// A new content for a file: written beside it and moved over it, so that the old content is whole
/// until the new one is complete, also when the process dies.
///
/// The file keeps its permissions, and a symbolic link keeps leading to it. When no sibling can be
/// made, or it could not be given the same owner, the new content is written in place: have it
/// ready before. A read-only file is refused. A file that is not there yet comes into being.
///
/// With `ESync::No` nothing waits for the disk: cheap, and safe unless the power fails.
///
///     FileReplacement replacement(path);
///     return replacement.Stream() != nullptr && Write(replacement.Stream()) &&
///     replacement.Commit();
class FileReplacement {
public:
    enum class ESync { Yes, No };

    explicit FileReplacement(const WChar* path, ESync sync = ESync::Yes);
    /// Without `Commit` the old content stays, unless it was replaced in place.
    ~FileReplacement();
    FileReplacement(const FileReplacement&) = delete;
    FileReplacement& operator=(const FileReplacement&) = delete;

    /// The binary stream to write to, null when there is none: the file is refused or cannot be
    /// written, or the new content was committed.
    [[nodiscard]] std::FILE* Stream() const noexcept;

    /// Puts the new content in place, synchronised before it shows under the name. False when
    /// something of it was not written; the old content then stays.
    [[nodiscard]] bool Commit() noexcept;

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace platform
