#include "core/platform/posix/NativePath.h"

#include "core/platform/posix/OpenFile.h"

#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

// Paths come from the kernel as bytes of any kind and must lead back to the same file, so the
// conversion may lose none: a byte that is no UTF-8 becomes a lone surrogate, which no valid text
// has (as Python does it, PEP 383). ICU's converters would put a mark of replacement there, and
// take memory, which functions that are noexcept must not need.
namespace platform {

namespace {

constexpr WChar kByteEscape = 0xDC00;

struct CFree {
    void operator()(char* text) const noexcept { std::free(text); }
};

// Above 7F a byte that is no UTF-8; the backslash because one that stands for itself separates.
constexpr bool IsEscapedByte(UChar32 character)
{
    return (character >= kByteEscape + 0x80 && character <= kByteEscape + 0xFF) ||
           character == kByteEscape + '\\';
}

struct NativeBytes {
    char bytes[U8_MAX_LENGTH];
    std::size_t count;
};

// The native bytes of the character at `i`, behind which `i` is moved.
NativeBytes TakeBytes(WideView units, std::size_t& i) noexcept
{
    UChar32 character = 0;
    U16_NEXT(units, i, units.size(), character);
    NativeBytes taken = {};
    if (IsEscapedByte(character))
        taken.bytes[taken.count++] = static_cast<char>(character - kByteEscape);
    else
        U8_APPEND_UNSAFE(taken.bytes, taken.count, character == '\\' ? '/' : character);
    return taken;
}

} // namespace

NativePath::NativePath(const WChar* path) noexcept
{
    const WideView units(path);
    std::size_t length = 0;
    for (std::size_t i = 0; i < units.size() && length < PATH_MAX;) {
        const NativeBytes taken = TakeBytes(units, i);
        for (std::size_t at = 0; at < taken.count && length < PATH_MAX; ++at)
            m_text[length++] = taken.bytes[at];
    }
    m_text[length] = '\0';
}

std::string ToNativePath(WideView path)
{
    std::string text;
    text.reserve(path.size());
    for (std::size_t i = 0; i < path.size();) {
        const NativeBytes taken = TakeBytes(path, i);
        text.append(taken.bytes, taken.count);
    }
    return text;
}

WideText FromNativePath(std::string_view path)
{
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(path.data());
    WideText units;
    units.reserve(path.size());
    for (std::size_t i = 0; i < path.size();) {
        const std::size_t start = i;
        UChar32 character = 0;
        U8_NEXT(bytes, i, path.size(), character);
        if (character < 0 || character == '\\') {
            for (std::size_t bad = start; bad < i; ++bad)
                units.push_back(static_cast<WChar>(kByteEscape + bytes[bad]));
        } else if (U_IS_BMP(character)) {
            units.push_back(static_cast<WChar>(character));
        } else {
            units.push_back(U16_LEAD(character));
            units.push_back(U16_TRAIL(character));
        }
    }
    return units;
}

std::optional<std::string> ResolveLinks(std::string path)
{
    // Each turn leaves one link behind. What goes in a circle ends at once: `realpath` refuses it.
    for (;;) {
        if (const std::unique_ptr<char, CFree> whole{::realpath(path.c_str(), nullptr)})
            return whole.get();
        struct stat status = {};
        if (IsMissing(errno) && ::stat(path.c_str(), &status) == 0)
            return path; // what has no name, as a pipe has behind /dev/stdout
        if (!IsMissing(errno))
            return std::nullopt;
        // The last name may be a link that leads nowhere.
        char link[PATH_MAX];
        const ssize_t length = ::readlink(path.c_str(), link, sizeof link);
        if (length < 0)
            return IsMissing(errno) ? std::optional(path) : std::nullopt;
        const std::string_view target(link, static_cast<std::size_t>(length));
        path = target.starts_with('/') ? std::string(target) : FolderOf(path).append(target);
    }
}

std::string FolderOf(const std::string& path)
{
    return path.substr(0, path.rfind('/') + 1);
}

} // namespace platform
