#pragma once

#include "core/platform/WideText.h"

#include <cstddef>
#include <cstdint>
#include <memory>

/// The user's registry: keys in a tree, each with named and typed values.
///
/// A path is names of keys with "\" between them. Doubled and trailing "\" count once or not at
/// all; a path that begins with one is refused, as is a name of more than 255 units. Names are
/// compared without regard to case and stay as they were first written.
///
/// Off Windows it is one database a user, the file that the environment variable `QD_REGISTRY`
/// names, else `qd.core/registry.db` in the folder `$XDG_CONFIG_HOME` or `~/.config`. Any number of
/// processes use it at once; who finds it locked waits two seconds before failing. One that could
/// only be read is opened anew at the next write. A path is looked up in the database that the
/// environment names at that time; a key stays in its own. Once that file is deleted or replaced,
/// writing to its keys and opening keys below them fails; reading may answer until a new file is
/// open. Who replaces one takes its `-wal` and `-shm` away, too.
///
/// All functions are safe on any threads at once and after `fork`. The failures of the system are
/// those of the functions; only `std::bad_alloc` is thrown.
namespace platform {

/// An open key, in the system's own form.
struct RegistryKey;

struct RegistryKeyCloser {
    void operator()(RegistryKey* key) const noexcept;
};
using RegistryKeyHandle = std::unique_ptr<RegistryKey, RegistryKeyCloser>;

/// The types that matter here, by the registry's numbers.
enum class ERegistryType : std::uint32_t {
    Text = 1,
    ExpandableText = 2,
    Bytes = 3,
    Number = 4,
};

/// Opens the key at `path` below the user's root, made with its parents where they are missing.
/// Null when it can be neither opened nor made.
[[nodiscard]] RegistryKeyHandle OpenRegistryKey(const WChar* path);

/// The same below `parent`, which may be closed before the new key.
[[nodiscard]] RegistryKeyHandle OpenRegistryKey(RegistryKey& parent, const WChar* path);

enum class ERegistryRead {
    Done,
    NoText, // no such value, or one of another type
    Lost,   // another process changed it meanwhile
};

/// Reads a value of one of the two types of text, as it is stored; only `Done` changes `text`.
[[nodiscard]] ERegistryRead ReadRegistryText(RegistryKey& key, const WChar* name, WideText& text);

/// Writes a value, in place of one of the same name if there is any. The bytes of a text are its
/// units and a terminating 0.
[[nodiscard]] bool WriteRegistryValue(RegistryKey& key, const WChar* name, ERegistryType type,
                                      const void* data, std::size_t size);

} // namespace platform
