#pragma once

#include "core/platform/WideText.h"
#include "core/platform/posix/IniText.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <sys/types.h>
#include <variant>

namespace platform {

inline constexpr std::int64_t kSecond = 1'000'000'000;

constexpr std::int64_t Nanoseconds(const timespec& time) noexcept
{
    return time.tv_sec * kSecond + time.tv_nsec;
}

/// Which state of a file was read: its identity, size and times.
struct FileStamp {
    FileStamp() = default;
    explicit FileStamp(const struct stat& status) noexcept
        : device(status.st_dev)
        , file(status.st_ino)
        , size(status.st_size)
        , modified(Nanoseconds(status.st_mtim))
        , changed(Nanoseconds(status.st_ctim))
    {}
    bool operator==(const FileStamp&) const = default;

    /// Whether its times have moved on, so that a later change would show.
    [[nodiscard]] bool IsSettled() const noexcept;

    dev_t device = 0;
    ino_t file = 0;
    off_t size = 0;
    std::int64_t modified = 0; // in nanoseconds, as `changed`
    std::int64_t changed = 0;
};

/// A private profile as its file had it when it was last read or saved. One thread at a time.
class ProfileFile {
public:
    /// `Missing` files have the empty text; that of `Failed` ones means nothing.
    enum class ELoad { Missing, Failed, Loaded };
    using Text = std::variant<IniText<char>, IniText<WChar>>; // 8-bit or UTF-16

    explicit ProfileFile(WideView path);

    /// Whether the file is known to be as it was. Once it is not, nobody looks again before it is
    /// read.
    [[nodiscard]] bool IsCurrent() noexcept
    {
        struct stat status; // to clear it would take as long as to find the key
        m_isSettled = m_isSettled && ::stat(m_nativePath.c_str(), &status) == 0 &&
                      m_stamp == FileStamp(status);
        return m_isSettled;
    }
    /// Reads the file, unless it is known to be as it was.
    ELoad Refresh();
    /// Puts the text in place of the file's whole content. False when that fails: the file then
    /// stays as it was, or, where it could only be written in place, holds part of both.
    [[nodiscard]] bool Save();
    [[nodiscard]] bool IsWritable() const noexcept;

    [[nodiscard]] const WideText& Path() const noexcept { return m_path; }
    [[nodiscard]] Text& Content() noexcept { return m_text; }

private:
    enum class EEncoding { Ansi, Utf16Little, Utf16Big };

    [[nodiscard]] ELoad Load();
    /// Whether the file of that status surely has the bytes of the text, which so need not be read
    /// again: they are compared piece by piece, without memory. Where it has others, and is no
    /// longer than a piece, `bytes` gets all of them, from one read, and the file stands behind
    /// them.
    [[nodiscard]] bool HoldsText(int file, const struct stat& status, std::string& bytes) const;
    void Parse(std::string bytes);
    /// The file's content from the unit `from` of the text on, the byte-order mark before the
    /// first; none when there is too much of it.
    [[nodiscard]] std::optional<std::string> Bytes(std::size_t from) const;
    /// Whether the change was written behind the file's content; none when that is not the way.
    [[nodiscard]] std::optional<bool> Append();

    WideText m_path; // as callers name it
    std::string m_nativePath;
    FileStamp m_stamp;
    bool m_isSettled = false; // the stamp tells whether the file is still the same
    EEncoding m_encoding = EEncoding::Ansi;
    Text m_text{std::in_place_index<0>, std::string()};
};

} // namespace platform
