#include "core/platform/Path.h"

#include "core/platform/PathRules.h"

namespace platform {

std::size_t FindFileName(const WChar* path) noexcept
{
    return FindFileName(path, EPathStyle::Posix);
}

std::size_t FindExtension(const WChar* path) noexcept
{
    return FindExtension(path, EPathStyle::Posix);
}

std::size_t FindFileSpec(const WChar* path)
{
    return FindFileSpec(path, EPathStyle::Posix);
}

std::optional<std::basic_string<WChar>> CombinePaths(const WChar* folder, const WChar* path)
{
    std::basic_string<WChar> combined = CombinePaths(folder, path, EPathStyle::Posix);
    if (combined.size() >= kPathRoom)
        return std::nullopt;
    return combined;
}

WChar SeparatorFor(const WChar* path) noexcept
{
    return SeparatorOf(path);
}

} // namespace platform
