#pragma once

#include "core/base/SP.h"
#include "core/base/WString.h"
#include "core/platform/Export.h"
#include "core/profile/BConfig.h"

namespace platform {
struct RegistryKey;
} // namespace platform

/// A configuration in the current user's registry: each node is a key, each text a value of type
/// `REG_SZ`, written through at once.
///
///     BConfigRegistry config(QD_W("Software\\Company\\Application"));
///     config.Child(QD_W("Window"))->WriteInt(QD_W("Width"), 800);
///
/// Names of keys and values are compared without regard to case; a key's name has at most 255
/// units, and names may be joined to a path by "\". Expandable texts are read as they are stored;
/// values of other types are no texts, and reading them fails.
///
/// A node holds its key open and may outlive the one that it is a child of. Nodes may be used on
/// any threads at once.
///
/// Off Windows the registry is a file: the one that the environment variable `QD_REGISTRY` names,
/// else `qd.core/registry.db` in the folder `$XDG_CONFIG_HOME` or `~/.config`. While another
/// process keeps it locked a write waits two seconds and then fails. Each write is whole or is not,
/// in their order; when the power fails, the last ones may be gone, as on Windows. Once the file is
/// deleted or replaced, its nodes neither write nor have children; one opened by its path is in the
/// new file.
class QD_CORE_API BConfigRegistry : public BConfig {
public:
    /// Opens the key at `keyPath` below the user's root, made where it is missing. Throws BError
    /// `kErrorGeneral` when `keyPath` is empty or the key can be neither opened nor made.
    explicit BConfigRegistry(WString keyPath);
    ~BConfigRegistry() override;

    SP<BConfig> Child(WString name) override;
    int ReadString(WString name, WString& value) const override;
    int WriteString(WString name, WString value) override;

private:
    BConfigRegistry();
    BConfigRegistry(const BConfigRegistry&) = delete;
    BConfigRegistry& operator=(const BConfigRegistry&) = delete;

    platform::RegistryKey* m_key = nullptr; // owned
};
