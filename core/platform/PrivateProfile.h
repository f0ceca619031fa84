#pragma once

#include "core/platform/WideText.h"

#include <cstddef>
#include <memory>

/// Private profiles: text files of sections with "key=value" lines, as Windows keeps settings.
///
///     file      lines, each ended by CR LF, LF, CR or by the end of the file; UTF-16 with a
///               byte-order mark, else 8-bit text in the ANSI code page
///     line      "[" section "]", or key "=" value, or ";" and a comment, or nothing
///
/// Names go without regard to case. Blanks around names and values do not count, nor does what
/// follows the last "]" of a section's line; one pair of quotes around a value, single or double,
/// is taken off when it is read. Of equal names the first counts. The section "" is "[]";
/// what stands before the first section belongs to none. A line without "=" is no key, but stands
/// in the section.
///
/// A profile that is missing or cannot be read is an empty one to a reader. No function throws or
/// takes null unless it says so; results are cut to `room` units, the terminating 0 included.
///
/// Off Windows a parsed profile is kept and used again as long as the file's identity, size and
/// times stay, a path without a folder leads to the current one (on Windows to the Windows folder),
/// and blank and comment lines, blanks and line ends stay as they are when other lines change. All
/// functions may be called on any threads at once, and in a process that was forked.
namespace platform {

/// `GetPrivateProfileStringW`: the value of `key`, or `fallback` without its trailing blanks when
/// there is none. The result is the length. For a `key` without data it is instead the names of all
/// keys of the section in the order of the file, each with a 0, and one more 0 that the length
/// leaves out; of a list that was cut, or fits without a unit to spare, the length is `room` - 2.
/// Views of what a 0 ends, as profiles are read key by key, and a `WString` knows its length.
std::size_t ReadProfileText(WideView path, WideView section, WideView key, WideView fallback,
                            WChar* buffer, std::size_t room) noexcept;

/// `GetPrivateProfileSectionW`: the lines of a section without comments and blanks around names and
/// values, as a list like above.
std::size_t ReadProfileSection(const WChar* path, const WChar* section, WChar* buffer,
                               std::size_t room) noexcept;

/// `GetPrivateProfileSectionNamesW`: the names of all sections, as a list like above.
std::size_t ReadProfileSectionNames(const WChar* path, WChar* buffer, std::size_t room) noexcept;

/// `GetPrivateProfileStructW`: the block of exactly `size` bytes under `key`. False when there is
/// none, or its sum is wrong; what `data` holds then is unspecified.
[[nodiscard]] bool ReadProfileBlock(const WChar* path, const WChar* section, const WChar* key,
                                    void* data, unsigned int size) noexcept;

/// Changes to a profile. While the object lives, the updates by other threads and processes that go
/// this way wait, so one thread has one at a time; readers do not wait. Off Windows the folder is
/// locked; in one that may be written but not read, an empty file ".qd.lock", which stays there.
/// Users of whom only some may read the folder do not wait for each other.
///
/// What a writer answers tells whether the file holds the change; the system's last error says why
/// it does not. It is false when the others let the profile go for no 10 seconds, and when the file
/// could not be read, which then stays as it is.
///
/// Updates take turns, but not in the order in which they came: who waits asks some thousand times
/// a second, off Windows, and who lets go makes way for those who wait. A wait beside 32 processes
/// that write on and on takes as long as a few hundred of their writes. One that is stopped in the
/// middle keeps the lock, so that the others fail after their 10 seconds; nobody takes it away, and
/// when it goes on, so does its update.
///
/// Off Windows readers see the old values or the new ones also when the process dies (not when
/// the power fails): a change replaces the file whole, or adds to its end in one step that nobody
/// sees a part of. A line that takes two steps is a comment until the second, and stays one when
/// the process dies in between. A change keeps owner and permissions, a link keeps leading to the
/// file, another name of it keeps the old content, and a read-only file is refused. Only where no
/// file can be made beside it or moved over it, it is written in place; a crash meanwhile leaves it
/// damaged. What a process leaves beside it that died in a change, the next change that replaces
/// the file removes.
class ProfileUpdate {
public:
    explicit ProfileUpdate(const WChar* path) noexcept;
    ~ProfileUpdate();
    ProfileUpdate(const ProfileUpdate&) = delete;
    ProfileUpdate& operator=(const ProfileUpdate&) = delete;

    /// Whether the others wait. If not, no writer changes anything.
    [[nodiscard]] bool IsLocked() const noexcept { return m_state != nullptr; }

    /// `WritePrivateProfileStringW`. Null `value` removes the key: true also when it is not there.
    /// A new key goes to the end of its section, a new section to the end of the file. A file that
    /// is missing is made, 8-bit; removing makes an empty one.
    [[nodiscard]] bool SetText(const WChar* section, const WChar* key, const WChar* value) noexcept;
    /// `SetText` only while the value reads as `expected`, which is empty for a key that is missing
    /// or has no value. True also when it reads otherwise; then nothing changes.
    [[nodiscard]] bool ExchangeText(const WChar* section, const WChar* key, const WChar* expected,
                                    const WChar* value) noexcept;
    /// `WritePrivateProfileStructW`: upper-case hexadecimal digits of `size` bytes, then of their
    /// sum modulo 256. Null `data` removes the key.
    [[nodiscard]] bool SetBlock(const WChar* section, const WChar* key, const void* data,
                                unsigned int size) noexcept;
    /// True also when there is no such section.
    [[nodiscard]] bool RemoveSection(const WChar* section) noexcept;

private:
    struct State;
    std::unique_ptr<State> m_state; // null when there is no lock
};

} // namespace platform
