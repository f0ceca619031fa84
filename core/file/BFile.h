#pragma once

#include "core/base/WString.h"
#include "core/platform/Export.h"
#include "core/platform/WChar.h"

#include <cstdint>
#include <cstdio>
#include <utility>

/// A `FILE*` stream that is closed with its object, and what can be asked of files by name.
///
///     const BFile file(path, QD_W("rb"));
///     if (file != nullptr)
///         std::fread(buffer, 1, sizeof buffer, file);
///
/// Nothing throws: failures are false, -1 or a code of core/base/ErrorCodes.h. One object is used
/// by one thread at a time. Off Windows "/" and "\" both separate names, and a file whose name is
/// no UTF-8 or has a "\" is found under one by which it can be opened all the same.
class QD_CORE_API BFile {
public:
    BFile() noexcept = default;
    /// `Open` whose failure leaves the object closed.
    BFile(const WChar* path, const WChar* mode) noexcept;

    virtual ~BFile();

    /// Opens with a mode of `_wfopen`, such as "rb" or "wt,ccs=UNICODE". Meanwhile nobody else can
    /// open the file to write, nor, when this writes, to read it; off Windows that binds those who
    /// open it by this function. False when it cannot be opened, an argument is null or a stream is
    /// open already, which then stays.
    bool Open(const WChar* path, const WChar* mode) noexcept;
    /// The same, but others may read and write the file meanwhile.
    bool OpenShared(const WChar* path, const WChar* mode) noexcept;
    void Close() noexcept;
    /// Goes to the start and clears the error. False when closed.
    bool Rewind() noexcept;

    /// Null when closed. The object keeps the stream.
    operator std::FILE*() const noexcept { return m_stream; }

    /// Whether a file or directory matches; "*" and "?" in the last element are wild, and mean what
    /// they mean on Windows ("*." names without an extension, "*.*" everything). A name without
    /// them means the file of that name, which on Windows, and only there, goes without dots and
    /// blanks at its end. False also when that cannot be told.
    [[nodiscard]] static bool Exist(const WChar* pattern);
    /// Size in bytes; -1 when the file cannot be opened for reading.
    [[nodiscard]] static std::int64_t Size(const WChar* path) noexcept;
    [[nodiscard]] static bool IsDirectory(const WChar* path) noexcept;
    /// Whether the file begins with a byte-order mark of UTF-16 or UTF-8.
    [[nodiscard]] static bool IsUnicode(const WChar* path) noexcept;

    /// Makes UTF-16LE with a byte-order mark of a text in the ANSI code page; every line ends with
    /// CR LF then. A file that is Unicode already stays as it is. `kErrorNone`, or
    /// `kErrorFileNotWritten` when the file cannot be read or written.
    ///
    /// The old file is whole until the new one is complete and outlasts a power failure, and its
    /// permissions stay. A read-only file is refused. After a failure the file may be Unicode
    /// already, until the power fails.
    static int ConvertToUnicode(const WChar* path) noexcept;

    /// Deletes the files that match; "*" and "?" in the last element are wild. Directories and
    /// read-only, system and offline files stay. How many were deleted; -1 when nothing matches.
    static int Delete(WString pattern);

    /// The path in short (8.3) names, and `kErrorNone`; `kErrorNoShortPath` when there is nothing
    /// at `path` (the text is empty then) or the path keeps a blank, for lack of short names.
    [[nodiscard]] static std::pair<WString, int> GetShortPathNameW(WString path);

private:
    BFile(const BFile&) = delete;
    BFile& operator=(const BFile&) = delete;

    std::FILE* m_stream = nullptr; // owned
};
