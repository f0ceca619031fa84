#pragma once

#include "core/base/WString.h"
#include "core/platform/Export.h"

/// A path, and its parts. A value; used by one thread at a time.
///
///     BDirEntry report(QD_W("c:\\parts\\bolt.stl"));
///     report.ChangeExtension(QD_W("txt")); // c:\parts\bolt.txt
///     const WString name = report.GetName(); // bolt.txt
///
/// The members follow the shell of Windows; off Windows "/" separates like "\". Extensions are
/// without their dot. Nothing throws: failures are false or empty.
class QD_CORE_API BDirEntry {
public:
    BDirEntry() noexcept = default;
    explicit BDirEntry(WString path) noexcept;

    [[nodiscard]] WString GetFull() const { return m_path; }
    /// The last element with its extension.
    [[nodiscard]] WString GetName() const;
    /// The last element without its extension; empty for a path above 260 units.
    [[nodiscard]] WString GetBase() const;
    [[nodiscard]] WString GetExtension() const;

    /// Removes the extension with its dot and returns it without.
    WString CutExtension();
    /// Intended: a path without a dot gets no dot either, so that callers who pass ".txt" for
    /// those are right: "a" with "txt" becomes "atxt".
    void ChangeExtension(const WString& extension);
    /// Replaces the last element.
    /// Intended: a path without a directory gets a separator all the same: "a.doc" becomes
    /// `\x.txt`.
    void ChangeName(WString name);
    /// Removes the last element with the separator before it, or with both of a doubled one. False
    /// when there is none, for a root (`c:\`, `\\?\c:\`), and for a path above 260 units.
    bool RemoveFileSpec();
    /// The parent directory: a copy with `RemoveFileSpec()` applied.
    [[nodiscard]] BDirEntry GetPath() const;
    /// Goes on to `other` from here: "." and ".." are resolved, an absolute path replaces this one.
    /// ".." ends at the root, in a UNC path at the server. Both together with 260 units or more,
    /// before that, are put together as they stand.
    BDirEntry& operator+=(const BDirEntry& other);

    /// Makes the directory with its missing parents; the path must be absolute. False when it
    /// cannot, and when the directory is there already.
    bool MakeDir() const;
    [[nodiscard]] bool Exists() const noexcept;

private:
    WString m_path;
};
