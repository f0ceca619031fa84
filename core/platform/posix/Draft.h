#pragma once

#include "core/platform/posix/Descriptor.h"

#include <string>
#include <string_view>
#include <sys/types.h>

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

    /// Makes an empty one for a file of that name, in `folder`, which ends with "/" or is empty.
    /// Once an object. False when no file can be made there.
    [[nodiscard]] bool Make(const std::string& folder, std::string_view fileName, mode_t mode);

    [[nodiscard]] bool IsThere() const noexcept { return m_file.IsOpen(); }
    [[nodiscard]] const std::string& Path() const noexcept { return m_path; }
    /// The draft, open to read and write.
    [[nodiscard]] const Descriptor& File() const noexcept { return m_file; }

    /// Puts it into the place of `target`. False, with `errno`, when it stays as it was.
    [[nodiscard]] bool MoveTo(const std::string& target) noexcept;
    void Remove() noexcept;

private:
    [[nodiscard]] bool MakeNamed(const std::string& folder, std::string_view fileName, mode_t mode);
    [[nodiscard]] bool MakeRandom(const std::string& folder, mode_t mode);
    [[nodiscard]] bool IsLost() const noexcept;

    std::string m_path;
    bool m_isNamed = false; // as follows from the file's name
    Descriptor m_file;      // open, and held, for as long as the draft is there
};

} // namespace platform
