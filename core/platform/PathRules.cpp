#include "core/platform/PathRules.h"

#include <algorithm>

namespace platform {

namespace {

constexpr WChar kBackslash = '\\';
constexpr WChar kSlash = '/';
constexpr WChar kColon = ':';

bool IsSeparator(WChar unit, EPathStyle style)
{
    return unit == kBackslash || (unit == kSlash && style == EPathStyle::Posix);
}

bool IsLetter(WChar unit)
{
    return (unit >= 'a' && unit <= 'z') || (unit >= 'A' && unit <= 'Z');
}

bool StartsWithDrive(PathView path)
{
    return path.size() >= 2 && path[1] == kColon && IsLetter(path[0]);
}

bool EndsDrive(PathView path, std::size_t index, EPathStyle style)
{
    return path[index] == kColon &&
           (style == EPathStyle::Shell || (index == 1 && StartsWithDrive(path)));
}

bool StartsWithSeparator(PathView path, EPathStyle style)
{
    return !path.empty() && IsSeparator(path[0], style);
}

// "\\server\share".
bool IsUnc(PathView path, EPathStyle style)
{
    return path.size() >= 2 && IsSeparator(path[0], style) && IsSeparator(path[1], style);
}

std::size_t FindSeparator(PathView path, std::size_t start, EPathStyle style)
{
    while (start < path.size() && !IsSeparator(path[start], style))
        ++start;
    return start;
}

// Length of what no ".." climbs out of: "\", "C:", "C:\", "\\server\share\".
std::size_t RootLength(PathView path, EPathStyle style)
{
    if (IsUnc(path, style)) {
        const std::size_t server = FindSeparator(path, 2, style);
        const std::size_t share = FindSeparator(path, std::min(server + 1, path.size()), style);
        return std::min(share + 1, path.size());
    }
    const std::size_t drive = StartsWithDrive(path) ? 2 : 0;
    return drive + (StartsWithSeparator(path.substr(drive), style) ? 1 : 0);
}

void RemoveLastElement(std::basic_string<WChar>& path, std::size_t rootLength, EPathStyle style)
{
    std::size_t end = path.size();
    if (end > rootLength && IsSeparator(path[end - 1], style))
        --end;
    while (end > rootLength && !IsSeparator(path[end - 1], style))
        --end;
    path.resize(end);
}

// The elements of `path` behind its root, without "." and "..".
std::basic_string<WChar> Canonical(PathView path, EPathStyle style)
{
    const std::size_t rootLength = RootLength(path, style);
    std::basic_string<WChar> result(path.substr(0, rootLength));
    for (std::size_t begin = rootLength; begin < path.size();) {
        const std::size_t end = FindSeparator(path, begin, style);
        const PathView element = path.substr(begin, end - begin);
        const std::size_t next = std::min(end + 1, path.size());
        const bool isDot = element.size() == 1 && element[0] == '.';
        const bool isDotDot = element.size() == 2 && element[0] == '.' && element[1] == '.';
        if (isDotDot)
            RemoveLastElement(result, rootLength, style);
        else if (!isDot)
            result.append(path.substr(begin, next - begin));
        // What stood behind the last separator is gone, so the separator goes, too.
        if ((isDot || isDotDot) && next == path.size() && result.size() > rootLength)
            result.pop_back();
        begin = next;
    }
    if (result.empty() || (result.size() == 2 && StartsWithDrive(result)))
        result.push_back(SeparatorOf(path));
    return result;
}

} // namespace

std::size_t FindFileName(PathView path, EPathStyle style) noexcept
{
    const auto separates = [](WChar unit) { return IsSeparator(unit, EPathStyle::Posix); };
    std::size_t begin = 0;
    for (std::size_t i = 0; i + 1 < path.size(); ++i) {
        if ((separates(path[i]) || EndsDrive(path, i, style)) && !separates(path[i + 1]))
            begin = i + 1;
    }
    return begin;
}

std::size_t FindExtension(PathView path, EPathStyle style) noexcept
{
    for (std::size_t i = path.size(); i > 0; --i) {
        const WChar unit = path[i - 1];
        if (unit == '.')
            return i - 1;
        if (unit == ' ' || IsSeparator(unit, style))
            break;
    }
    return path.size();
}

std::size_t FindFileSpec(PathView path, EPathStyle style) noexcept
{
    std::size_t begin = 0;
    while (begin < 2 && begin < path.size() && IsSeparator(path[begin], style))
        ++begin;
    for (std::size_t i = begin; i < path.size(); ++i) {
        if (IsSeparator(path[i], style)) {
            begin = i;
        } else if (EndsDrive(path, i, style)) {
            begin = ++i;
            if (begin < path.size() && IsSeparator(path[begin], style))
                ++begin;
        }
    }
    return begin;
}

std::basic_string<WChar> CombinePaths(PathView folder, PathView path, EPathStyle style)
{
    if (path.empty())
        return Canonical(folder, style);
    if (folder.empty() || StartsWithDrive(path) || IsUnc(path, style))
        return Canonical(path, style);
    std::basic_string<WChar> whole(folder);
    if (StartsWithSeparator(path, style)) {
        whole.resize(RootLength(folder, style));
        path.remove_prefix(1);
    }
    if (whole.empty() || !IsSeparator(whole.back(), style))
        whole.push_back(SeparatorOf(folder));
    return Canonical(whole.append(path), style);
}

WChar SeparatorOf(PathView path) noexcept
{
    const WChar separators[] = {kSlash, kBackslash};
    const std::size_t last = path.find_last_of(PathView(separators, 2));
    return last == PathView::npos ? kBackslash : path[last];
}

} // namespace platform
