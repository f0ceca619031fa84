#pragma once

#include "core/archive/BArchive.h"
#include "core/base/BProblem.h"
#include "core/base/BString.h"
#include "core/base/WString.h"

#include <functional>

/// Saves an archive under `path` without putting what stands there at risk: the new archive is
/// written beside the old one and moved over it once it is whole and on the disk. So the old
/// document is still there after a crash, on a full disk and when an object cannot be written.
///
/// `insert` inserts the objects, which are then written. True: the document outlasts a power
/// failure. False when it could not be written, or is in place already, but may be the old one
/// again when the power fails. What `insert` or an object's `WriteData` throws passes on. The file
/// keeps its permissions, and a symbolic link keeps leading to it. Where nothing can be made beside
/// the file or moved over it, the complete archive is copied over it: a full disk then still leaves
/// the old document wherever the file system can reserve room, a crash during that copy leaves a
/// damaged one.
///
/// A process that dies meanwhile leaves its unfinished file there, ".qd" or "qd" and a number with
/// the extension ".tmp". The next save under this path removes it, and never that of a process that
/// lives, also one that is stopped. It stays on network file systems (off Windows), when more than
/// 32 processes saved the file at that time, and when who saves next may not write it.
///
///     SaveArchive(path, "class Document", 3,
///                 [&](BArchive& archive) { archive.Insert(root.Get(), "root"); });
///
/// `problem`, which may be null, is told why it failed, also when an object throws or memory runs
/// out; none for what `insert` throws itself.
[[nodiscard]] bool SaveArchive(const WString& path, BString docClass, int docVersion,
                               const std::function<void(BArchive&)>& insert,
                               BProblem* problem = nullptr);
