#include "core/file/StdPath.h"

#include "core/platform/Path.h"

#include <new>

std::filesystem::path QDToStdPath(const WString& path)
{
    return platform::ToStdPath(path.AsView());
}

WString QDFromStdPath(const std::filesystem::path& path)
{
    const platform::WideText units = platform::FromStdPath(path);
    WString text(units.c_str());
    if (text.IsEmpty() && *units.c_str() != 0)
        throw std::bad_alloc(); // an empty path would be another one
    return text;
}
