#pragma once

#include "core/platform/Registry.h"
#include "core/platform/WideText.h"
#include "core/platform/posix/FileIdentity.h"
#include "core/platform/posix/RegistryConnection.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace platform {

/// The database that stands for the registry. Any thread may call any of them.
///
/// A connection is opened when it is first needed and kept to the end of the process, unless
/// another file takes the place of its own. None crosses a `fork`: SQLite's locks belong to one
/// process. So the parent's are closed before, and both processes open their own when they need one
/// again.
class RegistryDatabase {
public:
    /// A key's number means nothing in another file, where all that is done with it fails.
    struct Key {
        FileIdentity file;
        std::int64_t number;
    };

    /// The one for the file `location`, an absolute path; good to the end of the process.
    [[nodiscard]] static RegistryDatabase& At(const std::string& location);

    explicit RegistryDatabase(std::string location);

    /// The key that `names` lead to from `parent`, made with those on the way that are missing:
    /// all of them or none. From the root of the file that is there now when `parent` is null.
    [[nodiscard]] std::optional<Key> OpenKey(const Key* parent,
                                             std::span<const RegistryName> names);

    [[nodiscard]] bool ReadText(const Key& key, WideView foldedName, WideText& text);
    [[nodiscard]] bool WriteValue(const Key& key, const RegistryName& name, ERegistryType type,
                                  const void* data, std::size_t size);

private:
    static void CloseAll() noexcept;
    static void BeforeFork() noexcept;
    static void AfterFork() noexcept;

    [[nodiscard]] bool IsOpen(const std::optional<FileIdentity>& file);
    [[nodiscard]] bool CanWrite(const FileIdentity& file);
    template <class Work>
    [[nodiscard]] bool Commit(Work work);
    void LetGoUnless(bool isGood) noexcept;
    [[nodiscard]] bool Has(const Key& key);
    [[nodiscard]] bool Descend(std::int64_t& key, std::span<const RegistryName>& names);

    std::string m_location;
    std::unique_ptr<RegistryConnection> m_connection; // guarded by the lock of all databases
};

} // namespace platform
