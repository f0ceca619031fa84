#pragma once

#include "core/platform/Registry.h"
#include "core/platform/WideText.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace platform {

/// A name as it is written and as it is compared.
struct RegistryName {
    WideView written; // borrowed
    WideText folded;
};

/// The database that stands for the registry. Any thread may call any of them.
///
/// A connection is opened when it is first needed and kept to the end of the process, unless
/// another file takes the place of its own. None crosses a `fork`: SQLite's locks belong to one
/// process. So the parent's are closed before, and both processes open their own when they need one
/// again.
class RegistryDatabase {
public:
    /// Which file it is. The number of one that is gone may come again, at another time of birth.
    struct FileId {
        std::uint64_t device = 0;
        std::uint64_t inode = 0; // 0 for no file
        std::int64_t birthSeconds = 0;
        std::uint32_t birthNanoseconds = 0;

        bool operator==(const FileId&) const = default;
    };

    /// A key's number means nothing in another file, where all that is done with it fails.
    struct Key {
        FileId file;
        std::int64_t number;
    };

    /// The one for the file `location`, an absolute path; good to the end of the process.
    [[nodiscard]] static RegistryDatabase& At(const std::string& location);

    explicit RegistryDatabase(std::string location);
    ~RegistryDatabase();

    /// The key that `names` lead to from `parent`, made with those on the way that are missing:
    /// all of them or none. From the root of the file that is there now when `parent` is null.
    [[nodiscard]] std::optional<Key> OpenKey(const Key* parent,
                                             std::span<const RegistryName> names);

    [[nodiscard]] bool ReadText(const Key& key, WideView foldedName, WideText& text);
    [[nodiscard]] bool WriteValue(const Key& key, const RegistryName& name, ERegistryType type,
                                  const void* data, std::size_t size);

private:
    struct Connection;

    static void CloseAll() noexcept;
    static void BeforeFork() noexcept;
    static void AfterFork() noexcept;

    [[nodiscard]] bool IsOpen(const std::optional<FileId>& file);
    [[nodiscard]] bool CanWrite(const FileId& file);
    template <class Work>
    [[nodiscard]] bool Commit(Work work);
    [[nodiscard]] bool Has(const Key& key);
    [[nodiscard]] std::int64_t Descend(std::int64_t key, std::span<const RegistryName>& names);

    std::string m_location;
    std::unique_ptr<Connection> m_connection; // guarded by the lock of all databases
};

} // namespace platform
