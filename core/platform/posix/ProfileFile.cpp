#include "core/platform/posix/ProfileFile.h"

#include "core/platform/ByteOrderMark.h"
#include "core/platform/FileReplacement.h"
#include "core/platform/posix/Descriptor.h"
#include "core/platform/posix/NativePath.h"
#include "core/platform/posix/OpenFile.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <iterator>
#include <sys/statfs.h>
#include <sys/utsname.h>
#include <unistd.h>
#include <utility>

// A profile is read whole and written whole. Its text stays as the bytes have it, in the encoding
// of the file, so that what a change does not concern is written back unit for unit; names and
// values are converted when they are asked for.
//
// It is written to a file beside it that is then moved over it: a reader, or a process that is
// killed meanwhile, finds the old content or the new one. The disk is not waited for: Windows does
// not either, and a program that saves a hundred settings would take seconds. When the power fails,
// the last changes may be gone, or the whole file on file systems that move before they write, as
// XFS and ext4 do (seen on Linux 6.18).
//
// A program that fills a profile with its defaults would so write the file as often as it has keys.
// But the new key stands at the end, and one `write` that stays within a page of memory keeps the
// same promise: the kernel copies the bytes, then shows the new size, and looks only between pages
// whether the process is to die. So a change at the end is appended. A line that goes on in the
// next page, as each hundredth or so does, is appended as a comment, and then its first character
// takes the place of the ";": a reader, or a process that is killed meanwhile, finds no part of a
// key. Not to a file that has a second name, which a backup may have given it, nor on file systems
// that are not known to write this way.
//
// Reading a file again for each value would cost a hundred times as much as asking whether it is
// still the same. Its stamp tells that, but for one gap: a second change within one tick of the
// file system's clock leaves the times as they are. So a file that changed a moment ago is read
// again until its times have settled, and one that was just saved gets the exact time. There is no
// such gap on the usual file systems since Linux 6.13: what changes after somebody has looked at
// its times gets others (multigrain timestamps).
namespace platform {

namespace {

static_assert(std::endian::native == std::endian::little, "units are read as they stand");

timespec Now()
{
    timespec now = {};
    ::clock_gettime(CLOCK_REALTIME, &now);
    return now;
}

// Whether the file system is one of this machine that goes by the kernel's own pages and clock:
// ext2 to ext4, XFS, Btrfs, tmpfs.
bool IsOrdinary(int file)
{
    constexpr std::uint32_t ordinary[] = {0xEF53, 0x58465342, 0x9123683E, 0x01021994};
    struct statfs status = {};
    return ::fstatfs(file, &status) == 0 &&
           std::ranges::find(ordinary, static_cast<std::uint32_t>(status.f_type)) !=
               std::end(ordinary);
}

bool HasMultigrainTimes()
{
    struct utsname kernel = {};
    int version = 0, revision = 0;
    return ::uname(&kernel) == 0 &&
           std::sscanf(kernel.release, "%d.%d", &version, &revision) == 2 &&
           (version > 6 || (version == 6 && revision >= 13));
}

// Whether each later change will show in the times of a file that was asked for them. Those of old
// ext file systems have whole seconds all the same.
bool ShowsEachChange(int file, const FileStamp& stamp)
{
    static const bool hasMultigrainTimes = HasMultigrainTimes();
    return hasMultigrainTimes && stamp.changed % kSecond != 0 && IsOrdinary(file);
}

void SwapBytes(WideText& units)
{
    for (WChar& unit : units)
        unit = static_cast<WChar>(unit << 8 | unit >> 8);
}

// Reads on until there are `size` bytes, or as many as the file has: somebody may cut it off.
bool ReadOn(int file, std::string& bytes, std::size_t size)
{
    std::size_t count = bytes.size();
    bytes.resize(std::max(count, size));
    for (ssize_t read = 1; read != 0 && count < size;) {
        read = ReadBytes(file, bytes.data() + count, size - count);
        if (read < 0)
            return false;
        count += static_cast<std::size_t>(read);
    }
    bytes.resize(count);
    return true;
}

// What is indexed already is not indexed again where its lines stay.
template <class Unit>
void Put(ProfileFile::Text& text, std::basic_string<Unit> units)
{
    if (auto* const indexed = std::get_if<IniText<Unit>>(&text))
        indexed->Update(std::move(units));
    else
        text.emplace<IniText<Unit>>(std::move(units));
}

// A time of its own, finer than the system's ticks: no later change shows the same. Good to give a
// file that was just written.
timespec GiveExactTime(int file)
{
    const timespec now = Now();
    const timespec times[] = {{.tv_sec = 0, .tv_nsec = UTIME_OMIT}, now};
    ::futimens(file, times);
    return now;
}

// Whether more bytes at its end reach who shares the file.
bool CanAppend(int file, const struct stat& status)
{
    return status.st_nlink == 1 && (status.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) != 0 &&
           IsOrdinary(file);
}

// Whether `size` more bytes behind `end` are shown at once.
bool IsInOnePage(off_t end, std::size_t size)
{
    constexpr off_t page = 4096; // where pages are larger, too
    return size <= static_cast<std::size_t>(page - end % page);
}

// Whether the text from `begin` on is one line, whose first unit can be taken for another one: the
// bytes of an ASCII unit change as one.
template <class Unit>
bool IsLine(const std::basic_string<Unit>& text, std::size_t begin)
{
    const auto line = std::basic_string_view<Unit>(text).substr(begin);
    return line.size() > 2 && line[0] > Unit(' ') && line[0] < Unit(0x7F) && begin != 0 &&
           text[begin - 1] == Unit('\n') && line.find(Unit('\n')) == line.size() - 1 &&
           line.find(Unit('\r')) == line.size() - 2;
}

// False where not all was written.
bool WriteAtEnd(int file, std::string_view bytes)
{
    const ssize_t written = ::write(file, bytes.data(), bytes.size());
    if (written >= 0 && written < static_cast<ssize_t>(bytes.size()))
        errno = ENOSPC;
    return written == static_cast<ssize_t>(bytes.size());
}

// The same with a line as `IsLine` asks for, which is a comment until all of it is there.
bool WriteLineAtEnd(int file, std::string line)
{
    const std::size_t place = line[0] != 0 ? 0 : 1; // of the byte that the first unit has
    const char first = std::exchange(line[place], ';');
    if (!WriteAtEnd(file, line))
        return false;
    const off_t end = ::lseek(file, 0, SEEK_CUR);
    return end >= 0 && ::fcntl(file, F_SETFL, 0) == 0 && // any place may be written to now
           ::pwrite(file, &first, 1, end - static_cast<off_t>(line.size() - place)) == 1;
}

} // namespace

// Most file systems tell times apart that are a clock tick apart, some only whole seconds or pairs
// of them.
bool FileStamp::IsSettled() const noexcept
{
    constexpr std::int64_t tick = kSecond / 50;
    const std::int64_t latest = std::max(modified, changed);
    const bool isCoarse = modified % kSecond == 0;
    return Nanoseconds(Now()) - latest > (isCoarse ? 2 * kSecond : tick);
}

ProfileFile::ProfileFile(WideView path)
    : m_path(path)
    , m_nativePath(ToNativePath(m_path.c_str()))
{}

ProfileFile::ELoad ProfileFile::Refresh()
{
    const ELoad state = IsCurrent() ? ELoad::Loaded : Load();
    if (state == ELoad::Missing) {
        m_stamp = FileStamp();
        Parse(std::string());
    }
    return state;
}

bool ProfileFile::Save()
{
    if (const std::optional<bool> isAppended = Append())
        return *isAppended;
    FileReplacement replacement(m_path.c_str(), FileReplacement::ESync::No);
    std::FILE* const stream = replacement.Stream();
    const std::optional<std::string> bytes = Bytes(0);
    if (stream == nullptr || !bytes ||
        std::fwrite(bytes->data(), 1, bytes->size(), stream) != bytes->size() ||
        std::fflush(stream) != 0)
        return false;
    const timespec now = GiveExactTime(::fileno(stream));
    struct stat status = {};
    if (!replacement.Commit())
        return false;
    m_isSettled = ::stat(m_nativePath.c_str(), &status) == 0 &&
                  Nanoseconds(status.st_mtim) == Nanoseconds(now);
    m_stamp = FileStamp(status);
    return true;
}

bool ProfileFile::IsWritable() const noexcept
{
    return ::access(m_nativePath.c_str(), W_OK) == 0;
}

ProfileFile::ELoad ProfileFile::Load()
{
    // A pipe is not waited for, nor read.
    const Descriptor file = OpenApart(m_nativePath.c_str(), O_RDONLY | O_NONBLOCK);
    if (!file.IsOpen())
        return IsMissing(errno) ? ELoad::Missing : ELoad::Failed;
    struct stat before = {};
    if (::fstat(file.Get(), &before) != 0)
        return ELoad::Failed;
    struct stat after = before;
    std::string bytes;
    const bool isKnown = HoldsText(file.Get(), before, bytes) && ::fstat(file.Get(), &after) == 0 &&
                         after.st_size == before.st_size;
    // Of a file that grows meanwhile all is read: what was read of a line at its end may be a key
    // by now, and the rest of the value stands behind.
    for (off_t size = isKnown ? after.st_size : -1; after.st_size > size;) {
        size = after.st_size;
        if (!S_ISREG(after.st_mode) || size > static_cast<off_t>(IniText<char>::kMostUnits)) {
            errno = S_ISDIR(after.st_mode) ? EISDIR : S_ISREG(after.st_mode) ? EFBIG : EINVAL;
            return ELoad::Failed;
        }
        if (!ReadOn(file.Get(), bytes, static_cast<std::size_t>(size)) ||
            ::fstat(file.Get(), &after) != 0)
            return ELoad::Failed;
    }
    m_stamp = FileStamp(before);
    // One that somebody else wrote over while it was read may be half of each: read it again.
    m_isSettled = m_stamp == FileStamp(after) &&
                  (m_stamp.IsSettled() || ShowsEachChange(file.Get(), m_stamp));
    if (!isKnown)
        Parse(std::move(bytes));
    return ELoad::Loaded;
}

bool ProfileFile::HoldsText(int file, const struct stat& status, std::string& bytes) const
{
    const auto bytesOf = [](const auto& text) {
        const auto& units = text.Whole();
        return std::string_view(reinterpret_cast<const char*>(units.data()),
                                units.size() * sizeof(units[0]));
    };
    const std::string_view text = std::visit(bytesOf, m_text);
    const auto mark = m_encoding == EEncoding::Utf16Little ? kUtf16Mark : std::string_view();
    if (m_encoding == EEncoding::Utf16Big || !S_ISREG(status.st_mode) ||
        static_cast<std::size_t>(status.st_size) != mark.size() + text.size())
        return false;
    char piece[16 << 10];
    for (std::size_t from = 0; from < mark.size() + text.size();) {
        const ssize_t count = ::pread(file, piece, sizeof piece, static_cast<off_t>(from));
        const std::string_view read(piece, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        const bool isSame =
            from != 0 ? text.substr(from - mark.size()).starts_with(read)
                      : read.starts_with(mark) && text.starts_with(read.substr(mark.size()));
        if (!isSame || count <= 0) {
            // Not of a longer file: between two pieces somebody may write all of it anew.
            if (from == 0 && count == status.st_size && ::lseek(file, count, SEEK_SET) == count)
                bytes = read;
            return false;
        }
        from += read.size();
    }
    return true;
}

void ProfileFile::Parse(std::string bytes)
{
    m_encoding = bytes.starts_with(kUtf16Mark)      ? EEncoding::Utf16Little
                 : bytes.starts_with(kUtf16BigMark) ? EEncoding::Utf16Big
                                                    : EEncoding::Ansi;
    if (m_encoding == EEncoding::Ansi) {
        Put(m_text, std::move(bytes));
        return;
    }
    // An odd last byte is none.
    WideText units(bytes.size() / sizeof(WChar) - 1, 0);
    bytes.copy(reinterpret_cast<char*>(units.data()), units.size() * sizeof(WChar),
               kUtf16Mark.size());
    if (m_encoding == EEncoding::Utf16Big)
        SwapBytes(units);
    Put(m_text, std::move(units));
}

std::optional<std::string> ProfileFile::Bytes(std::size_t from) const
{
    const auto length = [](const auto& text) { return text.Whole().size(); };
    if (std::visit(length, m_text) > IniText<char>::kMostUnits) {
        errno = EFBIG;
        return std::nullopt;
    }
    if (m_encoding == EEncoding::Ansi)
        return std::get<0>(m_text).Whole().substr(from);
    WideText units = std::get<1>(m_text).Whole().substr(from);
    if (m_encoding == EEncoding::Utf16Big)
        SwapBytes(units);
    const std::string_view mark = m_encoding == EEncoding::Utf16Big ? kUtf16BigMark : kUtf16Mark;
    const std::string_view body(reinterpret_cast<const char*>(units.data()),
                                units.size() * sizeof(WChar));
    std::string bytes;
    bytes.reserve(mark.size() + body.size());
    return bytes.append(from == 0 ? mark : std::string_view()).append(body);
}

std::optional<bool> ProfileFile::Append()
{
    const std::size_t kept = std::visit([](const auto& text) { return text.Kept(); }, m_text);
    const std::size_t keptSize =
        m_encoding == EEncoding::Ansi ? kept : kUtf16Mark.size() + kept * sizeof(WChar);
    if (kept == 0 || static_cast<off_t>(keptSize) != m_stamp.size)
        return std::nullopt;
    const bool isLine =
        std::visit([&](const auto& text) { return IsLine(text.Whole(), kept); }, m_text);
    const std::optional<std::string> tail = Bytes(kept);
    const bool isShownAtOnce = tail && IsInOnePage(m_stamp.size, tail->size());
    const Descriptor file = OpenApart(m_nativePath.c_str(), O_WRONLY | O_APPEND | O_NONBLOCK);
    struct stat status = {};
    if (!tail || !(isShownAtOnce || isLine) || !file.IsOpen() ||
        ::fstat(file.Get(), &status) != 0 || FileStamp(status) != m_stamp ||
        !CanAppend(file.Get(), status))
        return std::nullopt;
    if (!(isShownAtOnce ? WriteAtEnd(file.Get(), *tail) : WriteLineAtEnd(file.Get(), *tail))) {
        // What a full disk took of it goes again.
        const int error = errno;
        [[maybe_unused]] const int isCut = ::ftruncate(file.Get(), m_stamp.size);
        errno = error;
        return false;
    }
    const timespec now = GiveExactTime(file.Get());
    const bool isExact = ::fstat(file.Get(), &status) == 0 &&
                         Nanoseconds(status.st_mtim) == Nanoseconds(now) &&
                         status.st_size == m_stamp.size + static_cast<off_t>(tail->size());
    // What stands before the new end is as it was read only where the stamp told so.
    m_isSettled = m_isSettled && isExact;
    m_stamp = FileStamp(status);
    return true;
}

} // namespace platform
