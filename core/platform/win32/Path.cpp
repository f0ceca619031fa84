#include "core/platform/Path.h"

#include <windows.h>
#include <cwchar>
#include <shlwapi.h>

namespace platform {

static_assert(kPathRoom == MAX_PATH);

std::size_t FindFileName(const WChar* path) noexcept
{
    return static_cast<std::size_t>(::PathFindFileNameW(path) - path);
}

std::size_t FindExtension(const WChar* path) noexcept
{
    return static_cast<std::size_t>(::PathFindExtensionW(path) - path);
}

std::size_t FindFileSpec(const WChar* path)
{
    WideText copy(path);
    ::PathRemoveFileSpecW(copy.data());
    return std::wcslen(copy.c_str());
}

std::optional<WideText> CombinePaths(const WChar* folder, const WChar* path)
{
    // The shell cuts what stands alone, as the other is empty or it is absolute, to the room that
    // there is. What one separator begins stands behind the folder's root, without the separator.
    const bool isRooted = *folder != 0 && path[0] == L'\\' && path[1] != L'\\';
    const WChar* const alone = *path == 0 ? folder : path;
    if (!isRooted && std::wcslen(alone) >= kPathRoom)
        return std::nullopt;
    // Cleared, for the shell may look behind what it wrote.
    WChar combined[kPathRoom] = {};
    if (::PathCombineW(combined, folder, path) == nullptr)
        return std::nullopt;
    return combined;
}

WChar SeparatorFor(const WChar*) noexcept
{
    return L'\\';
}

std::filesystem::path ToStdPath(WideView path)
{
    return path;
}

WideText FromStdPath(const std::filesystem::path& path)
{
    return path.native();
}

} // namespace platform
