#include "core/platform/Path.h"

#include "core/platform/PathRules.h"
#include "core/platform/posix/NativePath.h"

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

std::optional<WideText> CombinePaths(const WChar* folder, const WChar* path)
{
    return CombinePaths(folder, path, EPathStyle::Posix);
}

WChar SeparatorFor(const WChar* path) noexcept
{
    return SeparatorOf(path);
}

std::filesystem::path ToStdPath(WideView path)
{
    return ToNativePath(path);
}

WideText FromStdPath(const std::filesystem::path& path)
{
    return FromNativePath(path.native());
}

} // namespace platform
