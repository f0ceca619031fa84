#include "core/platform/FileStream.h"

#include "core/platform/AppendedLines.h"
#include "core/platform/CharClass.h"
#include "core/platform/UnitBlock.h"
#include "core/platform/WideText.h"
#include "core/platform/posix/Descriptor.h"
#include "core/platform/posix/FileLock.h"
#include "core/platform/posix/NativePath.h"
#include "core/platform/posix/OpenFile.h"
#include "core/platform/posix/TextStream.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

// `FILE*` as everywhere in the library, opened as the runtime library of Windows does. glibc's
// `fopen` takes other modes, and its `ccs=` makes streams of `wchar_t`, which has 32 bits here. So
// modes are read here, text streams are made in TextStream.cpp, and binary ones are glibc's own.
//
// "Alone" is a lock (`flock`) that only those respect who ask for it, as the system has no other.
// It belongs to the opening of the file, so it goes with the stream, also when the process dies.
namespace platform {

namespace {

struct OpenMode {
    char access = 'r'; // "r", "w" or "a"
    bool isUpdate = false;
    bool isBinary = false;
    bool isExclusive = false;
    EText text = EText::Narrow;
};

bool EqualIgnoringCase(WideView a, WideView b)
{
    return a.size() == b.size() && CompareIgnoringAsciiCase(a.data(), b.data(), a.size()) == 0;
}

WideView TrimBlanks(WideView text)
{
    const std::size_t begin = std::min(text.find_first_not_of(u' '), text.size());
    text.remove_prefix(begin);
    return text.substr(0, text.find_last_not_of(u' ') + 1);
}

// "ccs = NAME" with blanks where one likes, what follows the comma of a mode.
std::optional<EText> ParseEncoding(WideView option)
{
    option = TrimBlanks(option);
    if (!option.starts_with(u"ccs"))
        return std::nullopt;
    option = TrimBlanks(option.substr(3));
    if (!option.starts_with(u'='))
        return std::nullopt;
    option = TrimBlanks(option.substr(1));
    if (EqualIgnoringCase(option, u"UNICODE"))
        return EText::Unicode;
    if (EqualIgnoringCase(option, u"UTF-16LE"))
        return EText::Utf16;
    if (EqualIgnoringCase(option, u"UTF-8"))
        return EText::Utf8;
    return std::nullopt;
}

bool ParseFlag(WChar flag, OpenMode& mode)
{
    switch (flag) {
    case u'+': mode.isUpdate = true; return true;
    case u'b': mode.isBinary = true; return true;
    case u'x': mode.isExclusive = true; return true;
    default:
        // Text, commit, caching and inheritance: the default, or nothing that is wanted here.
        return WideView(u"tcnSRTDN ").find(flag) != WideView::npos;
    }
}

std::optional<OpenMode> ParseMode(WideView text)
{
    text = TrimBlanks(text);
    if (text.empty() || WideView(u"rwa").find(text.front()) == WideView::npos)
        return std::nullopt;
    OpenMode mode;
    mode.access = static_cast<char>(text.front());
    const std::size_t comma = text.find(u',');
    for (const WChar flag : text.substr(1, comma == WideView::npos ? comma : comma - 1)) {
        if (!ParseFlag(flag, mode))
            return std::nullopt;
    }
    // A binary stream has no encoding: together they are refused.
    if (mode.isBinary)
        return comma == WideView::npos ? std::optional(mode) : std::nullopt;
    if (comma != WideView::npos) {
        const std::optional<EText> encoding = ParseEncoding(text.substr(comma + 1));
        if (!encoding)
            return std::nullopt;
        mode.text = *encoding;
    }
    return mode;
}

int OpenFlags(const OpenMode& mode)
{
    // Who appends text looks at what is there first.
    const bool isBoth = mode.isUpdate || (mode.access == 'a' && mode.text != EText::Narrow);
    if (mode.access == 'r')
        return isBoth ? O_RDWR : O_RDONLY;
    const int create = O_CREAT | (mode.isExclusive ? O_EXCL : 0);
    return create | (isBoth ? O_RDWR : O_WRONLY) | (mode.access == 'a' ? O_APPEND : O_TRUNC);
}

// None for a folder, which the kernel would let a reader open.
Descriptor OpenFile(const WChar* path, int flags)
{
    Descriptor file = OpenFile(NativePath(path), flags, 0666);
    struct stat status = {};
    if (file.IsOpen() && ::fstat(file.Get(), &status) == 0 && S_ISDIR(status.st_mode)) {
        file = Descriptor();
        errno = EISDIR;
    }
    return file;
}

Stream OpenOn(Descriptor file, const OpenMode& mode)
{
    if (mode.isBinary) {
        const char text[] = {mode.access, mode.isUpdate ? '+' : '\0', '\0'};
        return StreamOn(std::move(file), text);
    }
    const ETextAccess oneWay = mode.access == 'r' ? ETextAccess::Read : ETextAccess::Write;
    return Stream(
        OpenText(std::move(file), mode.text, mode.isUpdate ? ETextAccess::Update : oneWay));
}

// False while someone else has `file` open alone. Where the file system has no locks nobody can be
// kept out, and the stream opens as any other.
bool LockAlone(const Descriptor& file, bool isReading, int waitMs)
{
    return LockFile(file, isReading ? EFileLock::Shared : EFileLock::Alone, waitMs) !=
           ELocked::InUse;
}

// Holds a stream's lock, so that each byte need not take it.
class StreamLock {
public:
    explicit StreamLock(std::FILE* stream) noexcept
        : m_stream(stream)
    {
        ::flockfile(m_stream);
    }
    ~StreamLock() { ::funlockfile(m_stream); }
    StreamLock(const StreamLock&) = delete;
    StreamLock& operator=(const StreamLock&) = delete;

private:
    std::FILE* m_stream;
};

constexpr WChar kEndMark = 0xFFFF; // what the runtime library of Windows takes for the end

// How many of `count` units, which may begin at an odd address, are a line: up to and with its line
// feed, or up to an end mark.
[[maybe_unused]] std::size_t UnitsOfLine(const char* units, std::size_t count)
{
    std::size_t passed = 0;
    while (passed != count) {
        if (count - passed >= kBlockUnits) {
            const std::size_t plain =
                UnitsWithin(units + passed * sizeof(WChar), u'\n' + 1, kEndMark - 1);
            passed += plain;
            if (plain == kBlockUnits)
                continue;
        }
        WChar unit = 0;
        std::memcpy(&unit, units + passed * sizeof unit, sizeof unit);
        if (unit == kEndMark)
            break;
        ++passed;
        if (unit == u'\n')
            break;
    }
    return passed;
}

// Takes what the stream has at hand of a line, at most `room` units of it, where `getc_unlocked`
// takes it byte by byte. The end mark is left to `ReadUnit`.
int TakeBuffered([[maybe_unused]] std::FILE* stream, [[maybe_unused]] WChar* units,
                 [[maybe_unused]] int room)
{
#if defined(__GLIBC__)
    const auto size = static_cast<std::size_t>(stream->_IO_read_end - stream->_IO_read_ptr);
    const std::size_t most = std::min(size / sizeof(WChar), static_cast<std::size_t>(room));
    const std::size_t taken = UnitsOfLine(stream->_IO_read_ptr, most);
    if (taken == 0)
        return 0; // a stream that nothing was read from has no buffer, and nothing copies from null
    std::memcpy(units, stream->_IO_read_ptr, taken * sizeof(WChar));
    stream->_IO_read_ptr += taken * sizeof(WChar);
    return static_cast<int>(taken);
#else
    return 0;
#endif
}

// The end mark also when the stream ends.
WChar ReadUnit(std::FILE* stream)
{
    const int low = ::getc_unlocked(stream);
    if (low == EOF)
        return kEndMark;
    const int high = ::getc_unlocked(stream);
    return high == EOF ? kEndMark : static_cast<WChar>(low | high << 8);
}

} // namespace

Stream OpenStream(const WChar* path, const WChar* mode) noexcept
{
    const std::optional<OpenMode> wanted = ParseMode(mode);
    if (!wanted) {
        errno = EINVAL;
        return nullptr;
    }
    Descriptor file = OpenFile(path, OpenFlags(*wanted));
    return file.IsOpen() ? OpenOn(std::move(file), *wanted) : nullptr;
}

Stream OpenStreamAlone(const WChar* path, const WChar* mode, int waitMs) noexcept
{
    const std::optional<OpenMode> wanted = ParseMode(mode);
    if (!wanted) {
        errno = EINVAL;
        return nullptr;
    }
    // The content stays until nobody else is there: opened to write, it would be gone at once.
    const int flags = OpenFlags(*wanted);
    Descriptor file = OpenFile(path, flags & ~O_TRUNC);
    if (!file.IsOpen() || !LockAlone(file, wanted->access == 'r' && !wanted->isUpdate, waitMs))
        return nullptr;
    if ((flags & O_TRUNC) != 0 && ::ftruncate(file.Get(), 0) != 0)
        return nullptr;
    return OpenOn(std::move(file), *wanted);
}

bool AppendLines(const WChar* path, int waitMs, const std::function<const WChar*()>& next)
{
    const OpenMode mode = {.access = 'a', .text = EText::Unicode};
    Descriptor file = OpenFile(path, OpenFlags(mode));
    struct stat before = {};
    if (!file.IsOpen() || !LockAlone(file, false, waitMs) || ::fstat(file.Get(), &before) != 0)
        return false;
    // Keeps the lock until what a failure leaves is cut off: closing the stream would let others
    // in, whose lines would be cut off, too.
    const Descriptor kept = Duplicate(file);
    if (!kept.IsOpen())
        return false;
    if (before.st_size % 2 != 0 && EndsInHalfUnit(path) &&
        ::ftruncate(kept.Get(), --before.st_size) != 0)
        return false;
    Stream stream = OpenOn(std::move(file), mode);
    const bool isWritten = stream && WriteLines(std::move(stream), next);
    if (!isWritten) {
        const LastErrorStays stays;
        // Where not even that can be done, the torn run stays, and the caller is told all the same.
        [[maybe_unused]] const int isCut = ::ftruncate(kept.Get(), before.st_size);
    }
    return isWritten;
}

bool ReadText(std::FILE* stream, WChar* buffer, int room) noexcept
{
    const StreamLock lock(stream);
    int length = 0;
    while (length < room - 1) {
        const int taken = TakeBuffered(stream, buffer + length, room - 1 - length);
        length += taken;
        if (taken == 0) {
            const WChar unit = ReadUnit(stream);
            if (unit == kEndMark)
                break;
            buffer[length++] = unit;
        }
        if (buffer[length - 1] == u'\n')
            break;
    }
    if (length == 0)
        return false;
    buffer[length] = 0;
    return true;
}

bool WriteText(std::FILE* stream, const WChar* text) noexcept
{
    const WideView units(text, Length(text));
    const std::size_t endMark = units.find(kEndMark);
    const std::size_t length = endMark == WideView::npos ? units.size() : endMark + 1;
    return std::fwrite(text, sizeof(WChar), length, stream) == length && endMark == WideView::npos;
}

std::optional<std::uint64_t> FileSize(std::FILE* stream) noexcept
{
    struct stat status = {};
    if (::fstat(::fileno(stream), &status) != 0)
        return std::nullopt;
    return static_cast<std::uint64_t>(status.st_size);
}

bool Seek(std::FILE* stream, std::uint64_t position) noexcept
{
    return position <= INT64_MAX && ::fseeko(stream, static_cast<off_t>(position), SEEK_SET) == 0;
}

bool Truncate(std::FILE* stream, std::uint64_t size) noexcept
{
    return Seek(stream, size) && ::ftruncate(::fileno(stream), static_cast<off_t>(size)) == 0;
}

} // namespace platform
