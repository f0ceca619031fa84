#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace platform {

/// Which file it is. The number of one that is gone may come again, at another time of birth: ext4
/// gives it to the next file that is made.
struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0; // 0 for no file
    std::int64_t birthSeconds = 0;
    std::uint32_t birthNanoseconds = 0;

    bool operator==(const FileIdentity&) const = default;

    [[nodiscard]] bool IsFile() const noexcept { return inode != 0; }
};

/// The file at the native path `location`. None when the system fails to tell, which is not the
/// same as no file.
[[nodiscard]] std::optional<FileIdentity> FileAt(const std::string& location) noexcept;

/// Whether the file system there is one of this machine alone, so that all who see its files see
/// the same locks and share memory. False also when that cannot be told.
[[nodiscard]] bool IsOnThisMachine(const std::string& location) noexcept;

} // namespace platform
