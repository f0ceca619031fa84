#include "core/platform/PrivateProfile.h"

#include "core/platform/WideText.h"
#include "core/platform/posix/NativePath.h"
#include "core/platform/posix/ProfileBlock.h"
#include "core/platform/posix/ProfileCache.h"
#include "core/platform/posix/ProfileLock.h"

#include <cassert>
#include <cerrno>
#include <list>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <variant>

// The profile functions of Windows over files of this system. No library in reach answers as they
// do: to them a file may have keys twice, lines that are no keys, quotes that count or do not, and
// all of that must come through a change of another key. What they do is split by mechanism:
//
//     IniText        the text: where sections and keys stand in it, and changes of lines
//     ProfileFile    the file: its encoding, whether it is still as it was read, and saving it
//     ProfileCache   the files that were used last
//     ProfileLock    one update at a time
//     ProfileBlock   bytes as the digits of a value
//
// and how their answers fit into a caller's buffer stands here.
namespace platform {

struct ProfileUpdate::State {
    explicit State(const WChar* profilePath)
        : path(profilePath)
        , lock(ToNativePath(profilePath))
    {}

    WideText path;
    ProfileLock lock;
};

namespace {

using ELoad = ProfileFile::ELoad;

// What `read` gives, which is optional, for the profile's text; none when there is no profile, or
// too little memory.
template <class Read>
auto FromProfile(WideView path, Read read) noexcept
    -> decltype(read(std::declval<const IniText<WChar>&>()))
try {
    ProfileCache& files = ProfileCache::Instance();
    const std::unique_lock lock = files.Lock();
    ELoad state = ELoad::Missing;
    ProfileFile* const profile = files.Get(path, state);
    if (profile == nullptr)
        return std::nullopt;
    return std::visit(read, std::as_const(profile->Content()));
} catch (const std::bad_alloc&) {
    return std::nullopt;
}

// `change` answers whether the text is another one then.
template <class Change>
bool ChangeProfile(const WideText& path, Change change) noexcept
try {
    ProfileCache& files = ProfileCache::Instance();
    const std::unique_lock lock = files.Lock();
    ELoad state = ELoad::Missing;
    std::list<ProfileFile> taken = files.Take(path, state);
    if (state == ELoad::Failed)
        return false;
    ProfileFile& profile = taken.front();
    // Intended: a file that is missing is made even when nothing stands in it.
    if (std::visit(change, profile.Content()) || state == ELoad::Missing) {
        if (!profile.Save())
            return false;
    } else if (!profile.IsWritable()) {
        return false;
    }
    files.Keep(taken);
    return true;
} catch (const std::bad_alloc&) {
    errno = ENOMEM;
    return false;
}

std::size_t CopyText(WideView text, WChar* buffer, std::size_t room)
{
    if (room == 0)
        return 0;
    const std::size_t length = text.copy(buffer, room - 1);
    buffer[length] = 0;
    return length;
}

std::size_t CopyList(WideView list, WChar* buffer, std::size_t room)
{
    // Intended: one that just fits answers as one that was cut.
    if (list.empty() || list.size() + 1 < room || room < 2)
        return CopyText(list, buffer, room);
    const std::size_t length = list.copy(buffer, room - 2);
    buffer[length] = buffer[length + 1] = 0;
    return length;
}

// Windows looks for the 0, and would go on into whatever memory stands behind a text without one.
[[maybe_unused]] bool IsEnded(WideView text)
{
    return text.data() == nullptr || text.data()[text.size()] == 0;
}

WideView WithoutQuotes(WideView value)
{
    const bool isQuoted = value.size() > 1 && value.front() == value.back() &&
                          (value.front() == u'"' || value.front() == u'\'');
    return isQuoted ? value.substr(1, value.size() - 2) : value;
}

WideView WithoutTrailingBlanks(WideView text)
{
    return text.substr(0, text.find_last_not_of(u' ') + 1);
}

} // namespace

std::size_t ReadProfileText(WideView path, WideView section, WideView key, WideView fallback,
                            WChar* buffer, std::size_t room) noexcept
{
    assert(IsEnded(path) && IsEnded(section) && IsEnded(key) && IsEnded(fallback));
    const auto read = [&](const auto& text) -> std::optional<std::size_t> {
        if (key.data() == nullptr) {
            const std::optional<WideText> keys = text.Keys(section, room);
            return keys ? std::optional(CopyList(*keys, buffer, room)) : std::nullopt;
        }
        const auto value = text.Find(section, key);
        return value ? std::optional(CopyText(WithoutQuotes(*value), buffer, room)) : std::nullopt;
    };
    const std::optional<std::size_t> length = FromProfile(path, read);
    return length ? *length : CopyText(WithoutTrailingBlanks(fallback), buffer, room);
}

std::size_t ReadProfileSection(const WChar* path, const WChar* section, WChar* buffer,
                               std::size_t room) noexcept
{
    const std::optional<WideText> found =
        FromProfile(path, [&](const auto& text) { return text.Lines(section, room); });
    return CopyList(found ? *found : WideView(), buffer, room);
}

std::size_t ReadProfileSectionNames(const WChar* path, WChar* buffer, std::size_t room) noexcept
{
    const std::optional<WideText> found =
        FromProfile(path, [&](const auto& text) { return std::optional(text.Sections(room)); });
    return CopyList(found ? *found : WideView(), buffer, room);
}

bool ReadProfileBlock(const WChar* path, const WChar* section, const WChar* key, void* data,
                      unsigned int size) noexcept
{
    const auto read = [&](const auto& text) -> std::optional<bool> {
        const auto value = text.Find(section, key);
        return value && DecodeBlock(*value, static_cast<unsigned char*>(data), size);
    };
    return FromProfile(path, read).value_or(false);
}

ProfileUpdate::ProfileUpdate(const WChar* path) noexcept
{
    try {
        auto state = std::make_unique<State>(path);
        if (state->lock.IsHeld())
            m_state = std::move(state);
    } catch (const std::bad_alloc&) {
        errno = ENOMEM; // nothing can be written then
    }
}

ProfileUpdate::~ProfileUpdate() = default;

bool ProfileUpdate::SetText(const WChar* section, const WChar* key, const WChar* value) noexcept
{
    const WideView sectionName(section), keyName(key);
    return m_state && ChangeProfile(m_state->path, [&](auto& text) {
               return value != nullptr ? text.Set(sectionName, keyName, value)
                                       : text.RemoveKey(sectionName, keyName);
           });
}

bool ProfileUpdate::ExchangeText(const WChar* section, const WChar* key, const WChar* expected,
                                 const WChar* value) noexcept
{
    return m_state && ChangeProfile(m_state->path, [&](auto& text) {
               const auto found = text.Find(section, key);
               return WithoutQuotes(found ? WideView(*found) : WideView()) == expected &&
                      text.Set(section, key, value);
           });
}

bool ProfileUpdate::SetBlock(const WChar* section, const WChar* key, const void* data,
                             unsigned int size) noexcept
try {
    if (data == nullptr)
        return SetText(section, key, nullptr);
    return SetText(section, key,
                   EncodeBlock(static_cast<const unsigned char*>(data), size).c_str());
} catch (const std::bad_alloc&) {
    errno = ENOMEM;
    return false;
}

bool ProfileUpdate::RemoveSection(const WChar* section) noexcept
{
    return m_state &&
           ChangeProfile(m_state->path, [&](auto& text) { return text.RemoveSection(section); });
}

} // namespace platform
