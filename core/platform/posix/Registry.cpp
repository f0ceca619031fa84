#include "core/platform/Registry.h"

#include "core/platform/posix/FoldCase.h"
#include "core/platform/posix/RegistryDatabase.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <vector>

// The rules of the registry's names and paths, and where the user's database is; the database
// itself is RegistryDatabase's. Names are folded here, once, and found by what is folded: SQLite's
// own comparison without case knows ASCII alone.
namespace platform {

struct RegistryKey {
    RegistryDatabase* database; // borrowed; there to the end of the process
    RegistryDatabase::Key key;
};

namespace {

constexpr std::size_t kLongestKeyName = 255;
constexpr std::size_t kLongestValueName = 16383;

RegistryName NameOf(WideView written)
{
    RegistryName name{written, WideText(written)};
    for (WChar& unit : name.folded)
        unit = FoldCase(unit);
    return name;
}

// The names that make the path; false when it is none.
bool SplitPath(WideView path, std::vector<RegistryName>& names)
{
    if (path.starts_with(u'\\'))
        return false;
    while (!path.empty()) {
        const WideView name = path.substr(0, path.find(u'\\'));
        if (name.size() > kLongestKeyName)
            return false;
        if (!name.empty())
            names.push_back(NameOf(name));
        path.remove_prefix(std::min(path.size(), name.size() + 1));
    }
    return true;
}

std::string_view Environment(const char* variable)
{
    const char* const value = std::getenv(variable);
    return value != nullptr ? value : "";
}

// Where the database of this user is; empty when that cannot be told.
std::filesystem::path Location()
{
    std::error_code ignored;
    if (const std::string_view named = Environment("QD_REGISTRY"); !named.empty())
        return std::filesystem::absolute(named, ignored);
    constexpr std::string_view name = "qd.core/registry.db";
    // One that is not absolute does not count (XDG Base Directory Specification).
    if (const std::filesystem::path folder = Environment("XDG_CONFIG_HOME"); folder.is_absolute())
        return folder / name;
    const std::filesystem::path home = Environment("HOME");
    return home.is_absolute() ? home / ".config" / name : std::filesystem::path();
}

RegistryKeyHandle Open(RegistryDatabase& database, const RegistryDatabase::Key* parent,
                       WideView path)
{
    std::vector<RegistryName> names;
    if (!SplitPath(path, names))
        return nullptr;
    const auto key = database.OpenKey(parent, names);
    if (!key)
        return nullptr;
    return RegistryKeyHandle(std::make_unique<RegistryKey>(RegistryKey{&database, *key}).release());
}

} // namespace

void RegistryKeyCloser::operator()(RegistryKey* key) const noexcept
{
    std::default_delete<RegistryKey>()(key);
}

RegistryKeyHandle OpenRegistryKey(const WChar* path)
{
    const std::string location = Location().string();
    if (location.empty())
        return nullptr;
    return Open(RegistryDatabase::At(location), nullptr, path);
}

RegistryKeyHandle OpenRegistryKey(RegistryKey& parent, const WChar* path)
{
    return Open(*parent.database, &parent.key, path);
}

ERegistryRead ReadRegistryText(RegistryKey& key, const WChar* name, WideText& text)
{
    const bool isRead = key.database->ReadText(key.key, NameOf(name).folded, text);
    return isRead ? ERegistryRead::Done : ERegistryRead::NoText;
}

bool WriteRegistryValue(RegistryKey& key, const WChar* name, ERegistryType type, const void* data,
                        std::size_t size)
{
    const WideView written(name);
    return written.size() <= kLongestValueName &&
           key.database->WriteValue(key.key, NameOf(written), type, data, size);
}

} // namespace platform
