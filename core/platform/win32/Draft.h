#pragma once

#include "core/platform/win32/Handle.h"

#include <string>
#include <string_view>

namespace platform {

/// A file in which the new content of another one gathers. It goes with the object unless it was
/// moved. What a process left that died before, the next one removes that makes a draft for the
/// same file; see the source for when.
class Draft {
public:
    Draft() = default;
    ~Draft() { Remove(); }
    Draft(const Draft&) = delete;
    Draft& operator=(const Draft&) = delete;

    /// Makes an empty one for a file of that name, in `folder`, which ends with "\" or is empty:
    /// open to read and write, shared but for its deletion. No handle when no file can be made
    /// there. Once an object.
    [[nodiscard]] Handle Make(const std::wstring& folder, std::wstring_view fileName);

    [[nodiscard]] const std::wstring& Path() const noexcept { return m_path; }

    /// The draft was moved to another name: it is no draft any more.
    void Release() noexcept;
    /// When all handles are closed.
    void Remove() noexcept;

private:
    [[nodiscard]] Handle MakeNamed(const std::wstring& folder, std::wstring_view fileName);
    [[nodiscard]] Handle MakeRandom(const std::wstring& folder);

    std::wstring m_path; // empty: there is none, or it was moved
    Handle m_owner;      // the mutex of its name, as long as the draft is there
};

} // namespace platform
