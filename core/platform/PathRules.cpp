#include "core/platform/PathRules.h"

#include "core/platform/Path.h"

#include <algorithm>

// The shell's functions for paths, written anew as rules over text. The library's users pass paths
// from settings and documents that were made on Windows, so off Windows the answers must be the
// same, down to volumes, shares and drives without a root; `std::filesystem` knows none of them off
// Windows. The style is an argument, not a macro: so the tests on Windows compare the shell's style
// with the shell itself.
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

bool StartsWithDrive(WideView path)
{
    return path.size() >= 2 && path[1] == kColon && IsLetter(path[0]);
}

bool EndsDrive(WideView path, std::size_t index, EPathStyle style)
{
    return path[index] == kColon &&
           (style == EPathStyle::Shell || (index == 1 && StartsWithDrive(path)));
}

bool StartsWithSeparator(WideView path, EPathStyle style)
{
    return !path.empty() && IsSeparator(path[0], style);
}

// "\\server\share".
bool IsUnc(WideView path, EPathStyle style)
{
    return path.size() >= 2 && IsSeparator(path[0], style) && IsSeparator(path[1], style);
}

std::size_t FindSeparator(WideView path, std::size_t start, EPathStyle style)
{
    while (start < path.size() && !IsSeparator(path[start], style))
        ++start;
    return start;
}

// Behind the separator at `index`, if there is one.
std::size_t PassSeparator(WideView path, std::size_t index, EPathStyle style)
{
    return index + (index < path.size() && IsSeparator(path[index], style) ? 1 : 0);
}

constexpr WChar kVerbatim[] = QD_W("\\\\?\\");
constexpr WChar kVerbatimUnc[] = QD_W("\\\\?\\UNC\\");
constexpr WChar kVolume[] = QD_W("Volume{");

// "Volume{aaaaaaaa-bbbb-cccc-dddd-ffffffffffff}".
bool StartsWithVolume(WideView path)
{
    constexpr std::size_t begin = 6, end = 44;
    if (path.size() < end || !path.starts_with(kVolume) || path[end - 1] != '}')
        return false;
    for (std::size_t i = begin + 1; i < end - 1; ++i) {
        const WChar unit = path[i];
        const bool isHexadecimal = (unit >= '0' && unit <= '9') || (unit >= 'a' && unit <= 'f') ||
                                   (unit >= 'A' && unit <= 'F');
        const std::size_t digit = i - begin - 1;
        const bool isHyphen = digit == 8 || digit == 13 || digit == 18 || digit == 23;
        if (isHyphen ? unit != '-' : !isHexadecimal)
            return false;
    }
    return true;
}

// Length of a drive, also as "\\?\C:" or as a volume; 0 when there is none.
std::size_t DriveLength(WideView path)
{
    const std::size_t prefix = path.starts_with(kVerbatim) ? 4 : 0;
    const WideView rest = path.substr(prefix);
    if (StartsWithDrive(rest))
        return prefix + 2;
    return prefix != 0 && StartsWithVolume(rest) ? prefix + 44 : 0;
}

// Where the server's name of a UNC path begins, also behind "\\?\UNC\".
std::size_t ServerBegin(WideView path)
{
    return path.starts_with(kVerbatimUnc) ? WideView(kVerbatimUnc).size() : 2;
}

// Length of what a path that begins with a separator starts from: "\", "C:", "C:\",
// "\\server\share\".
std::size_t RootLength(WideView path, EPathStyle style)
{
    const std::size_t drive = DriveLength(path);
    if (drive == 0 && IsUnc(path, style)) {
        const std::size_t server = FindSeparator(path, ServerBegin(path), style);
        const std::size_t share = PassSeparator(path, server, style);
        return PassSeparator(path, FindSeparator(path, share, style), style);
    }
    return PassSeparator(path, drive, style);
}

// Length of what no ".." climbs out of. A share is climbed, a server is not.
std::size_t FloorLength(WideView path, EPathStyle style)
{
    if (DriveLength(path) == 0 && IsUnc(path, style))
        return PassSeparator(path, FindSeparator(path, ServerBegin(path), style), style);
    return RootLength(path, style);
}

void RemoveLastElement(WideText& path, std::size_t floor, EPathStyle style)
{
    std::size_t end = path.size();
    if (end > floor && IsSeparator(path[end - 1], style))
        --end;
    while (end > floor && !IsSeparator(path[end - 1], style))
        --end;
    path.resize(end);
}

// Whether `path` keeps the separator at its end where nothing follows.
bool EndsWithRoot(WideView path, EPathStyle style)
{
    const bool isUnc = DriveLength(path) == 0 && IsUnc(path, style);
    return path.size() <= (isUnc ? 2 : RootLength(path, style));
}

// `path` without "." and "..".
WideText Canonical(WideView path, EPathStyle style)
{
    std::size_t floor = FloorLength(path, style);
    WideText result(path.substr(0, floor));
    bool leadsOut = floor == 0; // what came so far is ".." alone, out of a relative path
    for (std::size_t begin = floor; begin < path.size();) {
        const std::size_t end = FindSeparator(path, begin, style);
        const WideView element = path.substr(begin, end - begin);
        const std::size_t next = PassSeparator(path, end, style);
        const bool isDot = element.size() == 1 && element[0] == '.';
        const bool isDotDot = element.size() == 2 && element[0] == '.' && element[1] == '.';
        leadsOut = leadsOut && (isDot || isDotDot);
        if (isDotDot && !leadsOut)
            RemoveLastElement(result, floor, style);
        else if (!isDot)
            result.append(path.substr(begin, next - begin));
        if (leadsOut)
            floor = result.size();
        // What stood behind the last separator is gone, so the separator goes, too.
        const bool isGone = (isDot || (isDotDot && !leadsOut)) && end == path.size();
        if (isGone && !result.empty() && IsSeparator(result.back(), style) &&
            !EndsWithRoot(result, style))
            result.pop_back();
        begin = next;
    }
    if (result.empty() || (result.size() == 2 && StartsWithDrive(result)))
        result.push_back(SeparatorOf(path));
    return result;
}

// What `FindFileSpec` leaves alone.
std::size_t FileSpecRoot(WideView path, EPathStyle style)
{
    if (const std::size_t drive = DriveLength(path); drive != 0)
        return PassSeparator(path, drive, style);
    if (!IsUnc(path, style) || path.starts_with(QD_W("\\\\?")))
        return PassSeparator(path, 0, style);
    if (StartsWithDrive(path.substr(2)))
        return 4; // "\\C:" is no UNC path
    // "\\\a" is three separators and a name, "\\\\a" and "\\\" are two and more of them.
    const bool isTriple =
        path.size() > 3 && IsSeparator(path[2], style) && !IsSeparator(path[3], style);
    return isTriple ? 3 : 2;
}

} // namespace

std::size_t FindFileName(WideView path, EPathStyle style) noexcept
{
    const auto separates = [](WChar unit) { return IsSeparator(unit, EPathStyle::Posix); };
    std::size_t begin = 0;
    for (std::size_t i = 0; i + 1 < path.size(); ++i) {
        if ((separates(path[i]) || EndsDrive(path, i, style)) && !separates(path[i + 1]))
            begin = i + 1;
    }
    return begin;
}

std::size_t FindExtension(WideView path, EPathStyle style) noexcept
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

std::size_t FindFileSpec(WideView path, EPathStyle style) noexcept
{
    const std::size_t root = FileSpecRoot(path, style);
    std::size_t begin = path.size();
    while (begin > root && !IsSeparator(path[begin - 1], style))
        --begin;
    if (begin <= root)
        return root;
    // Both of a doubled separator go; a third one stays.
    --begin;
    return begin > root && IsSeparator(path[begin - 1], style) ? begin - 1 : begin;
}

std::optional<WideText> CombinePaths(WideView folder, WideView path, EPathStyle style)
{
    WideText whole(folder);
    if (folder.empty() || StartsWithDrive(path) || IsUnc(path, style)) {
        whole = path.empty() ? folder : path;
    } else if (!path.empty()) {
        const bool startsAtRoot = StartsWithSeparator(path, style);
        if (startsAtRoot) {
            whole.resize(RootLength(folder, style));
            // Intended: the root of a relative folder is nothing; "/" has only one meaning.
            path.remove_prefix(whole.empty() && path[0] == kSlash ? 0 : 1);
        }
        const bool isSeparated = whole.empty() ? startsAtRoot : IsSeparator(whole.back(), style);
        if (!isSeparated)
            whole.push_back(SeparatorOf(folder));
        whole.append(path);
    }
    if (whole.size() >= kPathRoom)
        return std::nullopt;
    return Canonical(whole, style);
}

WChar SeparatorOf(WideView path) noexcept
{
    const WChar separators[] = {kSlash, kBackslash};
    const std::size_t last = path.find_last_of(WideView(separators, 2));
    return last == WideView::npos ? kBackslash : path[last];
}

} // namespace platform
