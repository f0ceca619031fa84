#include "core/base/ClassRegistry.h"

#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace {

using ReadFunction = SP<BSmartObj> (*)(BArchive&, int);

constexpr std::size_t kMostRegistrations = 256;
constexpr std::size_t kLongestName = 127;

struct TextHash : std::hash<std::string_view> {
    using is_transparent = void;
};

struct Registry {
    std::unordered_map<std::string, ReadFunction, TextHash, std::equal_to<>> readers;
    std::size_t registrations = 0; // repeated names count
};

// Made by the first registration, whatever the order of static objects, and never destroyed:
// registrations begin before main, and archives may be read until the process ends.
Registry& TheRegistry()
{
    static Registry* const registry = new Registry;
    return *registry;
}

} // namespace

void RegisterArchiveCallback(const char* className, ReadFunction read)
{
    if (className == nullptr || read == nullptr)
        return;
    Registry& registry = TheRegistry();
    if (registry.registrations == kMostRegistrations || std::strlen(className) > kLongestName)
        std::_Exit(-1);
    ++registry.registrations;
    registry.readers.try_emplace(className, read);
}

SP<BSmartObj> (*FindArchiveReader(const char* className))(BArchive&, int)
{
    if (className == nullptr)
        return nullptr;
    const auto& readers = TheRegistry().readers;
    const auto found = readers.find(std::string_view(className));
    return found != readers.end() ? found->second : nullptr;
}
