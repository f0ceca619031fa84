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
#include <optional>
#include <unistd.h>
#include <utility>

// A profile is read whole and written whole. Its text stays as the bytes have it, in the encoding
// of the file, so that what a change does not concern is written back unit for unit; names and
// values are converted when they are asked for.
//
// It is written to a file beside it that is then moved over it: a reader, or a process that is
// killed meanwhile, finds the old content or the new one. The disk is not waited for: Windows does
// not either, and a program that saves a hundred settings would take seconds. When the power fails,
// the last changes may be gone, or the whole file on file systems that move before they write.
//
// Reading a file again for each value would cost a hundred times as much as asking whether it is
// still the same. Its stamp tells that, but for one gap: a second change within one tick of the
// file system's clock leaves the times as they are. So a file that changed a moment ago is read
// again until its times have settled, and one that was just saved gets the exact time.
namespace platform {

namespace {

static_assert(std::endian::native == std::endian::little, "units are read as they stand");

constexpr std::int64_t kSecond = 1'000'000'000;

std::int64_t Nanoseconds(const timespec& time)
{
    return time.tv_sec * kSecond + time.tv_nsec;
}

timespec Now()
{
    timespec now = {};
    ::clock_gettime(CLOCK_REALTIME, &now);
    return now;
}

void SwapBytes(WideText& units)
{
    for (WChar& unit : units)
        unit = static_cast<WChar>(unit << 8 | unit >> 8);
}

std::optional<std::string> ReadAll(int file, std::size_t size)
{
    std::string bytes(size, '\0');
    std::size_t count = 0;
    while (count < size) {
        const ssize_t read = ::read(file, bytes.data() + count, size - count);
        if (read < 0 && errno == EINTR)
            continue;
        if (read < 0)
            return std::nullopt;
        if (read == 0)
            break; // somebody cut it off meanwhile
        count += static_cast<std::size_t>(read);
    }
    bytes.resize(count);
    return bytes;
}

bool WriteBytes(std::FILE* stream, const void* data, std::size_t size)
{
    return std::fwrite(data, 1, size, stream) == size;
}

} // namespace

FileStamp::FileStamp(const struct stat& status) noexcept
    : device(status.st_dev)
    , file(status.st_ino)
    , size(status.st_size)
    , modified(Nanoseconds(status.st_mtim))
    , changed(Nanoseconds(status.st_ctim))
{}

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
    if (state == ELoad::Missing)
        Parse(std::string());
    return state;
}

bool ProfileFile::Save()
{
    FileReplacement replacement(m_path.c_str(), FileReplacement::ESync::No);
    std::FILE* const stream = replacement.Stream();
    if (stream == nullptr || !Write(stream) || std::fflush(stream) != 0)
        return false;
    // A time of its own, finer than the system's ticks: no later change shows the same.
    const timespec now = Now();
    const timespec times[] = {{.tv_sec = 0, .tv_nsec = UTIME_OMIT}, now};
    ::futimens(::fileno(stream), times);
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

bool ProfileFile::IsCurrent() const noexcept
{
    struct stat status = {};
    return m_isSettled && ::stat(m_nativePath.c_str(), &status) == 0 &&
           m_stamp == FileStamp(status);
}

ProfileFile::ELoad ProfileFile::Load()
{
    const Descriptor file = OpenFile(m_nativePath.c_str(), O_RDONLY);
    if (!file.IsOpen())
        return IsMissing(errno) ? ELoad::Missing : ELoad::Failed;
    struct stat before = {}, after = {};
    if (::fstat(file.Get(), &before) != 0 || !S_ISREG(before.st_mode) ||
        before.st_size > static_cast<off_t>(IniText<char>::kMostUnits))
        return ELoad::Failed;
    std::optional<std::string> bytes =
        ReadAll(file.Get(), static_cast<std::size_t>(before.st_size));
    if (!bytes || ::fstat(file.Get(), &after) != 0)
        return ELoad::Failed;
    m_stamp = FileStamp(before);
    // One that somebody else wrote over while it was read may be half of each: read it again.
    m_isSettled = m_stamp == FileStamp(after) && m_stamp.IsSettled();
    Parse(std::move(*bytes));
    return ELoad::Loaded;
}

void ProfileFile::Parse(std::string bytes)
{
    m_encoding = bytes.starts_with(kUtf16Mark)      ? EEncoding::Utf16Little
                 : bytes.starts_with(kUtf16BigMark) ? EEncoding::Utf16Big
                                                    : EEncoding::Ansi;
    if (m_encoding == EEncoding::Ansi) {
        m_text.emplace<0>(std::move(bytes));
        return;
    }
    // An odd last byte is none.
    WideText units(bytes.size() / sizeof(WChar) - 1, 0);
    bytes.copy(reinterpret_cast<char*>(units.data()), units.size() * sizeof(WChar),
               kUtf16Mark.size());
    if (m_encoding == EEncoding::Utf16Big)
        SwapBytes(units);
    m_text.emplace<1>(std::move(units));
}

bool ProfileFile::Write(std::FILE* stream) const
{
    const auto length = [](const auto& text) { return text.Whole().size(); };
    if (std::visit(length, m_text) > IniText<char>::kMostUnits)
        return false;
    if (m_encoding == EEncoding::Ansi) {
        const std::string& text = std::get<0>(m_text).Whole();
        return WriteBytes(stream, text.data(), text.size());
    }
    const WideText& units = std::get<1>(m_text).Whole();
    const std::size_t size = units.size() * sizeof(WChar);
    if (m_encoding == EEncoding::Utf16Little)
        return WriteBytes(stream, kUtf16Mark.data(), kUtf16Mark.size()) &&
               WriteBytes(stream, units.data(), size);
    WideText swapped = units;
    SwapBytes(swapped);
    return WriteBytes(stream, kUtf16BigMark.data(), kUtf16BigMark.size()) &&
           WriteBytes(stream, swapped.data(), size);
}

} // namespace platform
