#include "core/file/BFile.h"

#include "core/base/ErrorCodes.h"
#include "core/file/UnicodeText.h"
#include "core/platform/ByteOrderMark.h"
#include "core/platform/CodePage.h"
#include "core/platform/FileReplacement.h"
#include "core/platform/FileStream.h"
#include "core/platform/FileSystem.h"
#include "core/platform/WideText.h"

#include <algorithm>
#include <bit>
#include <new>
#include <optional>
#include <string>
#include <string_view>

// The conversion to Unicode takes the bytes as they are instead of a stream in text mode, which
// would end the text at a Ctrl-Z and drop what stands behind it. It converts by the ANSI code page
// of the system, and writes beside the old file, so that a failure at any point leaves that one
// whole.

namespace {

// Until a read comes up short: the size that the system tells is 0 for some files that have
// content.
bool ReadAll(const WChar* path, std::string& bytes)
{
    const platform::Stream stream = platform::OpenStream(path, QD_W("rb"));
    if (!stream)
        return false;
    constexpr std::size_t chunk = 1u << 16;
    std::size_t count = 0;
    do {
        const std::size_t used = bytes.size();
        bytes.resize(used + chunk);
        count = std::fread(bytes.data() + used, 1, chunk, stream.get());
        bytes.resize(used + count);
    } while (count == chunk);
    return std::ferror(stream.get()) == 0;
}

bool Write(std::FILE* stream, std::string_view bytes)
{
    return std::fwrite(bytes.data(), 1, bytes.size(), stream) == bytes.size();
}

// Every LF without CR gets one, as a text stream would write it.
std::string WithReturns(std::string_view text)
{
    std::string lines;
    lines.reserve(text.size() + static_cast<std::size_t>(std::ranges::count(text, '\n')));
    char previous = 0;
    for (const char character : text) {
        if (character == '\n' && previous != '\r')
            lines.push_back('\r');
        lines.push_back(character);
        previous = character;
    }
    return lines;
}

bool WriteUnicode(std::FILE* stream, std::string_view text)
{
    static_assert(std::endian::native == std::endian::little, "units are written as they stand");
    const std::string lines = WithReturns(text);
    platform::WideText units(lines.size(), 0);
    const std::size_t length =
        platform::AnsiToWide(lines.data(), lines.size(), units.data(), units.size());
    // 0 is also the answer when the conversion fails.
    return (length > 0 || text.empty()) &&
           std::fwrite(units.data(), sizeof(WChar), length, stream) == length;
}

// Cut behind line ends, where no character is torn apart: a text has more bytes than one conversion
// takes.
std::size_t PieceLength(std::string_view text)
{
    constexpr std::size_t enough = 1u << 20;
    const std::size_t lineEnd = text.find('\n', std::min(enough, text.size()));
    return lineEnd == std::string_view::npos ? text.size() : lineEnd + 1;
}

// The mark that the file begins with; empty when there is none, or it cannot be read.
std::string_view MarkOf(const WChar* path)
{
    const platform::Stream stream = path ? platform::OpenStream(path, QD_W("rt")) : nullptr;
    if (!stream)
        return {};
    char bytes[platform::kUtf8Mark.size()] = {};
    return platform::MarkAt({bytes, std::fread(bytes, 1, sizeof bytes, stream.get())});
}

enum class EUtf8Mark { Counts, IsText };

bool IsUnicodeMark(std::string_view mark, EUtf8Mark utf8)
{
    return !mark.empty() && (utf8 == EUtf8Mark::Counts || mark != platform::kUtf8Mark);
}

bool ReplaceByUnicode(const WChar* path, EUtf8Mark utf8)
{
    std::string bytes;
    if (!ReadAll(path, bytes))
        return false;
    // The caller's look at the start may have failed, and a Unicode text read as 8-bit is nonsense.
    if (IsUnicodeMark(platform::MarkAt(bytes), utf8))
        return true;
    platform::FileReplacement replacement(path);
    std::FILE* const stream = replacement.Stream();
    if (stream == nullptr || !Write(stream, platform::kUtf16Mark))
        return false;
    for (std::string_view rest = bytes; !rest.empty();) {
        const std::size_t length = PieceLength(rest);
        if (!WriteUnicode(stream, rest.substr(0, length)))
            return false;
        rest.remove_prefix(length);
    }
    return replacement.Commit();
}

bool Convert(const WChar* path, EUtf8Mark utf8) noexcept
try {
    return path != nullptr && (IsUnicodeMark(MarkOf(path), utf8) || ReplaceByUnicode(path, utf8));
} catch (const std::bad_alloc&) {
    return false;
}

bool IsLeftAlone(const platform::FoundFile& file)
{
    return file.isReadOnly || file.isSystem || file.isDirectory || file.isOffline;
}

} // namespace

BFile::BFile(const WChar* path, const WChar* mode) noexcept
{
    Open(path, mode);
}

BFile::~BFile()
{
    Close();
}

bool BFile::Open(const WChar* path, const WChar* mode) noexcept
{
    if (m_stream != nullptr || path == nullptr || mode == nullptr)
        return false;
    // Who asks for a file that another has open is told at once, and waits or gives up as it likes.
    m_stream = platform::OpenStreamAlone(path, mode, 0).release();
    return m_stream != nullptr;
}

bool BFile::OpenShared(const WChar* path, const WChar* mode) noexcept
{
    if (m_stream != nullptr || path == nullptr || mode == nullptr)
        return false;
    m_stream = platform::OpenStream(path, mode).release();
    return m_stream != nullptr;
}

void BFile::Close() noexcept
{
    if (m_stream != nullptr)
        std::fclose(std::exchange(m_stream, nullptr));
}

bool BFile::Rewind() noexcept
{
    if (m_stream == nullptr)
        return false;
    std::rewind(m_stream);
    return true;
}

// A plain name is a pattern without wild characters: it goes the same way, for the same answers.
bool BFile::Exist(const WChar* pattern)
{
    return pattern != nullptr && *pattern != 0 &&
           platform::FindFiles(pattern, [](const platform::FoundFile&) { return false; }) ==
               platform::EPresence::There;
}

std::int64_t BFile::Size(const WChar* path) noexcept
{
    if (path == nullptr)
        return -1;
    const std::optional<std::uint64_t> size = platform::FileSize(path);
    return size ? static_cast<std::int64_t>(*size) : -1;
}

bool BFile::IsDirectory(const WChar* path) noexcept
{
    return path != nullptr && platform::IsDirectory(path);
}

bool BFile::IsUnicode(const WChar* path) noexcept
{
    return !MarkOf(path).empty();
}

int BFile::ConvertToUnicode(const WChar* path) noexcept
{
    return Convert(path, EUtf8Mark::Counts) ? kErrorNone : kErrorFileNotWritten;
}

bool ConvertProfileToUnicode(const WChar* path) noexcept
{
    return Convert(path, EUtf8Mark::IsText);
}

int BFile::Delete(WString pattern)
{
    if (pattern.IsEmpty())
        return 0;
    // What is left alone or cannot be removed does not end it: the others go, and the count tells.
    int count = 0;
    bool isFound = false;
    platform::FindFiles(pattern, [&](const platform::FoundFile& file) {
        isFound = true;
        if (!IsLeftAlone(file) && platform::RemoveFile(file.path.c_str()))
            ++count;
        return true;
    });
    return isFound ? count : -1;
}

std::pair<WString, int> BFile::GetShortPathNameW(WString path)
{
    // Short paths are wanted for having no blanks. Where the file system makes none the long one
    // comes back, which is of use as long as it has none either.
    const std::optional<platform::WideText> found = platform::ShortPath(path);
    if (!found)
        return {WString(), kErrorNoShortPath};
    WString shortPath(found->c_str());
    const int code = shortPath.Includes(QD_W(' ')) ? kErrorNoShortPath : kErrorNone;
    return {std::move(shortPath), code};
}
