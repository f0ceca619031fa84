#include "core/platform/posix/TextStream.h"

#include "core/platform/ByteOrderMark.h"
#include "core/platform/SystemError.h"
#include "core/platform/UnitBlock.h"
#include "core/platform/WChar.h"
#include "core/platform/posix/OpenFile.h"

#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <string_view>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>
#include <utility>

// `FILE*` streams of the runtime library's text modes, with `fopencookie`.
//
// Callers hold a `FILE*` (`BFile`, strings that read lines), so it must be one of the C library's.
// Its own "ccs=" makes streams of four-byte characters, knows neither CR LF nor Ctrl-Z, and writes
// no mark; so the stream stands on functions here, which see bytes of the file on one side and
// narrow text or UTF-16 units on the other.
//
// The reader decodes a piece of the file at a time and remembers for each unit where its bytes end:
// a stream for both directions, and one that is asked for its position, must know where the next
// character stands in the file, not how far was read ahead. The writer encodes what it is handed
// and keeps nothing back but half a unit or half a pair: the stream above it has the buffer, and
// what that flushes must reach the file, or the error the caller.
namespace platform {

namespace {

constexpr WChar kLineFeed = '\n';
constexpr WChar kReturn = '\r';
constexpr WChar kEndOfText = 0x1A;

enum class EEncoding : std::uint8_t { Narrow, EightBit, Utf16, Utf8 };

constexpr EEncoding EncodingWithoutMark(EText text)
{
    switch (text) {
    case EText::Narrow: return EEncoding::Narrow;
    case EText::Unicode: return EEncoding::EightBit;
    case EText::Utf16: return EEncoding::Utf16;
    case EText::Utf8: break;
    }
    return EEncoding::Utf8;
}

constexpr std::string_view MarkOf(EEncoding encoding)
{
    if (encoding == EEncoding::Utf16)
        return kUtf16Mark;
    return encoding == EEncoding::Utf8 ? kUtf8Mark : std::string_view();
}

// The encoding that the mark at the start of `bytes` tells; the one that `text` names without one.
EEncoding EncodingOf(std::string_view bytes, EText text)
{
    if (text == EText::Narrow)
        return EEncoding::Narrow;
    for (const EEncoding marked : {EEncoding::Utf16, EEncoding::Utf8}) {
        if (bytes.starts_with(MarkOf(marked)))
            return marked;
    }
    return EncodingWithoutMark(text);
}

constexpr std::size_t kPiece = 8192; // read at once

bool WriteBytes(int file, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t count = ::write(file, bytes.data(), bytes.size());
        if (count >= 0)
            bytes.remove_prefix(static_cast<std::size_t>(count));
        else if (errno != EINTR)
            return false;
    }
    return true;
}

class TextReader {
public:
    TextReader(int file, EText text) noexcept
        : m_file(file)
        , m_text(text)
    {}

    // False on an error.
    bool Start() noexcept;
    [[nodiscard]] EEncoding Encoding() const noexcept { return m_encoding; }
    void SetEncoding(EEncoding encoding) noexcept { m_encoding = encoding; }
    // The protocol of `fopencookie`.
    ssize_t Read(char* out, std::size_t size) noexcept;

    // Bytes that were read ahead of what was handed out.
    [[nodiscard]] off64_t Ahead() const noexcept;
    void Forget() noexcept;

private:
    bool Fill() noexcept;
    ssize_t FetchRaw() noexcept;
    void Decode(bool isLast) noexcept;
    void DecodePlain() noexcept;
    std::optional<UChar32> NextCharacter(bool isLast) noexcept;
    bool PassLineFeed(bool isLast, bool& isKnown) noexcept;
    void Emit(WChar unit) noexcept;
    [[nodiscard]] std::size_t UnitSize() const noexcept;

    int m_file;
    EText m_text;
    EEncoding m_encoding = EEncoding::Narrow;
    bool m_isEnded = false; // a Ctrl-Z was read
    std::size_t m_rawBegin = 0, m_rawEnd = 0;
    std::size_t m_outBegin = 0, m_outEnd = 0;
    std::size_t m_filledFrom = 0; // where the raw bytes begin that the text at hand comes from
    std::array<std::uint8_t, kPiece> m_raw;
    std::array<char, kPiece * sizeof(WChar)> m_out; // what the raw bytes become at most
    std::array<std::uint16_t, kPiece> m_ends;       // in the raw bytes, of each unit
};

bool TextReader::Start() noexcept
{
    // A pipe may hand the mark over in pieces.
    while (m_rawEnd < kUtf8Mark.size()) {
        const ssize_t count = FetchRaw();
        if (count < 0)
            return false;
        if (count == 0)
            break;
    }
    const std::string_view bytes(reinterpret_cast<const char*>(m_raw.data()), m_rawEnd);
    m_encoding = EncodingOf(bytes, m_text);
    const std::string_view mark = MarkOf(m_encoding);
    if (bytes.starts_with(mark))
        m_rawBegin = m_filledFrom = mark.size();
    return true;
}

ssize_t TextReader::Read(char* out, std::size_t size) noexcept
{
    if (m_outBegin == m_outEnd && !Fill())
        return -1;
    const std::size_t count = std::min(size, m_outEnd - m_outBegin);
    std::memcpy(out, m_out.data() + m_outBegin, count);
    m_outBegin += count;
    return static_cast<ssize_t>(count);
}

off64_t TextReader::Ahead() const noexcept
{
    const std::size_t units = m_outBegin / UnitSize();
    return static_cast<off64_t>(m_rawEnd - (units == 0 ? m_filledFrom : m_ends[units - 1]));
}

void TextReader::Forget() noexcept
{
    m_isEnded = false;
    m_rawBegin = m_rawEnd = m_outBegin = m_outEnd = m_filledFrom = 0;
}

// Decodes on until there is text to hand out or the file ends. False on an error.
bool TextReader::Fill() noexcept
{
    m_outBegin = m_outEnd = 0;
    m_filledFrom = m_rawBegin;
    bool isLast = false;
    Decode(isLast);
    while (m_outEnd == 0 && !m_isEnded && !isLast) {
        const ssize_t count = FetchRaw();
        if (count < 0)
            return false;
        isLast = count == 0;
        Decode(isLast);
    }
    return true;
}

// Reads behind the raw bytes that could not be decoded yet.
ssize_t TextReader::FetchRaw() noexcept
{
    m_rawEnd -= m_rawBegin;
    std::memmove(m_raw.data(), m_raw.data() + m_rawBegin, m_rawEnd);
    m_rawBegin = m_filledFrom = 0;
    const ssize_t count = ReadBytes(m_file, m_raw.data() + m_rawEnd, m_raw.size() - m_rawEnd);
    if (count > 0)
        m_rawEnd += static_cast<std::size_t>(count);
    return count;
}

void TextReader::Decode(bool isLast) noexcept
{
    while (!m_isEnded) {
        if (m_encoding == EEncoding::Utf16)
            DecodePlain();
        const std::size_t begin = m_rawBegin;
        const std::optional<UChar32> character = NextCharacter(isLast);
        if (!character)
            return;
        if (*character == kEndOfText) {
            m_isEnded = true;
            m_rawBegin = begin; // the position is before it, where an appended text begins
        } else if (*character == kReturn) {
            bool isKnown = true;
            const bool isLineEnd = PassLineFeed(isLast, isKnown);
            // A return whose successor is not there yet waits among the bytes: it may be half of a
            // line's end.
            if (!isKnown) {
                m_rawBegin = begin;
                return;
            }
            Emit(isLineEnd ? kLineFeed : kReturn);
        } else if (U_IS_BMP(*character)) {
            Emit(static_cast<WChar>(*character));
        } else {
            Emit(U16_LEAD(*character));
            Emit(U16_TRAIL(*character));
        }
    }
}

// Units of UTF-16 as far as they stand for themselves, which nearly all do.
void TextReader::DecodePlain() noexcept
{
    static_assert(std::endian::native == std::endian::little && kReturn < kEndOfText);
    const std::uint8_t* const raw = m_raw.data();
    char* const out = m_out.data();
    std::uint16_t* const ends = m_ends.data();
    const std::size_t end = m_rawEnd;
    std::size_t begin = m_rawBegin, unitCount = m_outEnd / sizeof(WChar);
    while (end - begin >= sizeof(WChar)) {
        if (end - begin >= kBlockUnits * sizeof(WChar)) {
            // All of the block is written, as there is room for twice the units: what follows
            // overwrites those that do not count.
            std::memcpy(out + unitCount * sizeof(WChar), raw + begin, kBlockUnits * sizeof(WChar));
            for (std::size_t i = 0; i != kBlockUnits; ++i)
                ends[unitCount + i] = static_cast<std::uint16_t>(begin + (i + 1) * sizeof(WChar));
            const std::size_t plain = UnitsWithin(raw + begin, kEndOfText + 1, 0xFFFF);
            begin += plain * sizeof(WChar);
            unitCount += plain;
            if (plain == kBlockUnits)
                continue;
        }
        // On behind a unit that needed a look, which mostly is a tab or the end of a line.
        WChar unit = 0, next = 0;
        std::memcpy(&unit, raw + begin, sizeof unit);
        if (unit == kReturn && end - begin >= 2 * sizeof unit) {
            std::memcpy(&next, raw + begin + sizeof unit, sizeof next);
            if (next == kLineFeed) {
                unit = kLineFeed;
                begin += sizeof unit;
            }
        }
        if (unit == kReturn || unit == kEndOfText)
            break;
        std::memcpy(out + unitCount * sizeof unit, &unit, sizeof unit);
        begin += sizeof unit;
        ends[unitCount++] = static_cast<std::uint16_t>(begin);
    }
    m_rawBegin = begin;
    m_outEnd = unitCount * sizeof(WChar);
}

// Whether a line feed follows, which is then passed; unknown while its bytes are not there.
bool TextReader::PassLineFeed(bool isLast, bool& isKnown) noexcept
{
    const std::size_t begin = m_rawBegin;
    const std::optional<UChar32> next = NextCharacter(isLast);
    isKnown = next.has_value() || isLast;
    const bool isLineEnd = next == std::optional<UChar32>(kLineFeed);
    if (!isLineEnd)
        m_rawBegin = begin;
    return isLineEnd;
}

// None when the bytes at hand do not make a character (yet).
std::optional<UChar32> TextReader::NextCharacter(bool isLast) noexcept
{
    const std::size_t left = m_rawEnd - m_rawBegin;
    switch (m_encoding) {
    case EEncoding::Narrow:
    case EEncoding::EightBit:
        if (left < 1)
            return std::nullopt;
        return m_raw[m_rawBegin++];
    case EEncoding::Utf16: {
        if (left < sizeof(WChar))
            return std::nullopt;
        WChar unit = 0;
        std::memcpy(&unit, m_raw.data() + m_rawBegin, sizeof unit);
        m_rawBegin += sizeof unit;
        return unit;
    }
    case EEncoding::Utf8: break;
    }
    if (left < 1)
        return std::nullopt;
    const std::size_t wanted = 1u + U8_COUNT_TRAIL_BYTES(m_raw[m_rawBegin]);
    if (left < wanted && !isLast)
        return std::nullopt;
    UChar32 character = 0;
    U8_NEXT_OR_FFFD(m_raw, m_rawBegin, m_rawEnd, character);
    return character;
}

void TextReader::Emit(WChar unit) noexcept
{
    assert(m_outEnd + UnitSize() <= m_out.size());
    m_ends[m_outEnd / UnitSize()] = static_cast<std::uint16_t>(m_rawBegin);
    std::memcpy(m_out.data() + m_outEnd, &unit, UnitSize());
    m_outEnd += UnitSize();
}

// A narrow unit is its lower byte, which stands first.
std::size_t TextReader::UnitSize() const noexcept
{
    return m_encoding == EEncoding::Narrow ? 1 : sizeof(WChar);
}

class TextWriter {
public:
    TextWriter(int file, EText text) noexcept
        : m_file(file)
        , m_text(text)
    {}

    // False on an error.
    bool Start() noexcept;
    [[nodiscard]] EEncoding Encoding() const noexcept { return m_encoding; }
    // The protocol of `fopencookie`.
    ssize_t Write(const char* text, std::size_t size) noexcept;
    // Writes what a lone half of a character becomes.
    bool Finish() noexcept;

private:
    bool WriteMark() noexcept;
    bool Put(WChar unit) noexcept;
    bool Encode(WChar unit) noexcept;
    void EncodeUtf8(WChar unit) noexcept;
    void Append(UChar32 character) noexcept;
    bool Flush() noexcept;

    int m_file;
    EText m_text;
    EEncoding m_encoding = EEncoding::Narrow;
    std::optional<char> m_half; // the lower byte of a unit whose upper byte is still to come
    WChar m_lead = 0;           // the first half of a surrogate pair, likewise
    std::size_t m_used = 0;
    std::array<char, 4096> m_buffer; // empty between two calls, so that nothing hides from `fflush`
};

bool TextWriter::Start() noexcept
{
    struct stat status = {};
    if (::fstat(m_file, &status) != 0)
        return false;
    // An empty file gets its mark now, so that it has one even when nothing is ever written.
    if (status.st_size == 0) {
        m_encoding = EncodingWithoutMark(m_text == EText::Unicode ? EText::Utf16 : m_text);
        return WriteMark();
    }
    char start[kUtf8Mark.size()] = {};
    const ssize_t count = m_text == EText::Narrow ? 0 : ::pread(m_file, start, sizeof start, 0);
    if (count < 0)
        return false;
    m_encoding = EncodingOf({start, static_cast<std::size_t>(count)}, m_text);
    return true;
}

// A part of it would be text to who appends to the file later.
bool TextWriter::WriteMark() noexcept
{
    if (WriteBytes(m_file, MarkOf(m_encoding)))
        return true;
    const LastErrorStays stays;
    [[maybe_unused]] const int isCut = ::ftruncate(m_file, 0);
    return false;
}

ssize_t TextWriter::Write(const char* text, std::size_t size) noexcept
{
    for (std::size_t i = 0; i < size; ++i) {
        WChar unit = static_cast<unsigned char>(text[i]);
        if (m_encoding != EEncoding::Narrow) {
            if (!m_half) {
                m_half = text[i];
                continue;
            }
            const char bytes[] = {*m_half, text[i]};
            std::memcpy(&unit, bytes, sizeof unit);
            m_half.reset();
        }
        if (!Put(unit)) {
            m_half.reset();
            return 0;
        }
    }
    return Flush() ? static_cast<ssize_t>(size) : 0;
}

bool TextWriter::Finish() noexcept
{
    m_half.reset();
    if (std::exchange(m_lead, WChar{0}) == 0)
        return true;
    Append(0xFFFD);
    return Flush();
}

// Room for the longest that one unit becomes: a return and a line feed, or U+FFFD for a lone half
// and then the unit.
bool TextWriter::Put(WChar unit) noexcept
{
    if (m_used + 2 * U8_MAX_LENGTH > m_buffer.size() && !Flush())
        return false;
    return (unit != kLineFeed || Encode(kReturn)) && Encode(unit);
}

bool TextWriter::Encode(WChar unit) noexcept
{
    switch (m_encoding) {
    case EEncoding::Narrow: m_buffer[m_used++] = static_cast<char>(unit); return true;
    case EEncoding::EightBit:
        if (unit > 0xFF) {
            Flush(); // what stands before the unit is written, as the runtime library does
            errno = EILSEQ;
            return false;
        }
        m_buffer[m_used++] = static_cast<char>(unit);
        return true;
    case EEncoding::Utf16:
        std::memcpy(m_buffer.data() + m_used, &unit, sizeof unit);
        m_used += sizeof unit;
        return true;
    case EEncoding::Utf8: break;
    }
    EncodeUtf8(unit);
    return true;
}

// A lone surrogate becomes U+FFFD.
void TextWriter::EncodeUtf8(WChar unit) noexcept
{
    const WChar lead = std::exchange(m_lead, WChar{0});
    if (lead != 0 && U16_IS_TRAIL(unit)) {
        Append(U16_GET_SUPPLEMENTARY(lead, unit));
        return;
    }
    if (lead != 0)
        Append(0xFFFD);
    if (U16_IS_LEAD(unit))
        m_lead = unit;
    else
        Append(U16_IS_TRAIL(unit) ? 0xFFFD : unit);
}

void TextWriter::Append(UChar32 character) noexcept
{
    U8_APPEND_UNSAFE(m_buffer.data(), m_used, character);
}

bool TextWriter::Flush() noexcept
{
    const std::size_t used = std::exchange(m_used, 0);
    return WriteBytes(m_file, {m_buffer.data(), used});
}

// What a stream stands on. One that reads and writes settles where the next character is in the
// file whenever it turns from one to the other.
class TextFile {
public:
    TextFile(Descriptor file, EText text, bool isReading, bool isWriting) noexcept
        : m_file(std::move(file))
        , m_reader(m_file.Get(), text)
        , m_writer(m_file.Get(), text)
        , m_isReading(isReading)
        , m_isWriting(isWriting)
    {}

    // False on an error.
    bool Start() noexcept;
    // What is handed over must reach the file at once: to know where it stands, or what to leave
    // out behind a unit that the file cannot hold.
    [[nodiscard]] bool IsUnbuffered() const noexcept;

    // The protocol of `fopencookie`.
    ssize_t Read(char* out, std::size_t size) noexcept { return m_reader.Read(out, size); }
    ssize_t Write(const char* text, std::size_t size) noexcept;
    int Seek(off64_t* position, int origin) noexcept;
    int Close() noexcept;

private:
    bool DropEndOfText() noexcept;

    Descriptor m_file;
    TextReader m_reader;
    TextWriter m_writer;
    bool m_isReading, m_isWriting;
};

bool TextFile::Start() noexcept
{
    if (!m_isWriting)
        return m_reader.Start();
    if (m_isReading && !DropEndOfText())
        return false;
    if (!m_writer.Start())
        return false;
    if (!m_isReading)
        return true;
    m_reader.SetEncoding(m_writer.Encoding());
    off64_t begin = 0;
    return Seek(&begin, SEEK_SET) == 0 && m_reader.Start();
}

// Like the runtime library, which so lets others append to old texts.
bool TextFile::DropEndOfText() noexcept
{
    const off64_t last = ::lseek(m_file.Get(), -1, SEEK_END);
    if (last < 0)
        return errno == EINVAL; // an empty file
    char byte = 0;
    return ::pread(m_file.Get(), &byte, 1, last) >= 0 &&
           (byte != kEndOfText || ::ftruncate(m_file.Get(), last) == 0);
}

bool TextFile::IsUnbuffered() const noexcept
{
    return m_isWriting && (m_isReading || m_writer.Encoding() == EEncoding::EightBit);
}

ssize_t TextFile::Write(const char* text, std::size_t size) noexcept
{
    // What was read ahead is not behind the text that comes.
    const off64_t ahead = m_isReading ? m_reader.Ahead() : 0;
    if (ahead != 0 && ::lseek(m_file.Get(), -ahead, SEEK_CUR) < 0)
        return 0;
    m_reader.Forget();
    return m_writer.Write(text, size);
}

// Positions count the bytes of the file. A stream of one direction knows none but the start.
//
// Intended: the start of the file is where its mark is, and there the mark is text.
int TextFile::Seek(off64_t* position, int origin) noexcept
{
    const bool knowsPosition = m_isReading && m_isWriting;
    if (!knowsPosition && (origin != SEEK_SET || *position != 0)) {
        errno = ESPIPE;
        return -1;
    }
    if (m_isWriting && !m_writer.Finish())
        return -1;
    const off64_t ahead = m_isReading ? m_reader.Ahead() : 0;
    if (origin == SEEK_CUR && *position == 0) { // asks, and reads on
        *position = ::lseek(m_file.Get(), 0, SEEK_CUR) - ahead;
        return *position >= 0 ? 0 : -1;
    }
    const off64_t reached =
        ::lseek(m_file.Get(), *position - (origin == SEEK_CUR ? ahead : 0), origin);
    if (reached < 0)
        return -1;
    m_reader.Forget();
    *position = reached;
    return 0;
}

int TextFile::Close() noexcept
{
    const bool isGood = !m_isWriting || m_writer.Finish();
    return ::close(m_file.Release()) == 0 && isGood ? 0 : -1;
}

// `fopencookie` takes functions over an untyped object.
constexpr cookie_io_functions_t kCookieFunctions = {
    .read = [](void* cookie, char* out,
               std::size_t size) { return static_cast<TextFile*>(cookie)->Read(out, size); },
    .write = [](void* cookie, const char* text,
                std::size_t size) { return static_cast<TextFile*>(cookie)->Write(text, size); },
    .seek = [](void* cookie, off64_t* position,
               int origin) { return static_cast<TextFile*>(cookie)->Seek(position, origin); },
    .close =
        [](void* cookie) {
            const std::unique_ptr<TextFile> file(static_cast<TextFile*>(cookie));
            return file->Close();
        },
};

} // namespace

std::FILE* OpenText(Descriptor file, EText text, ETextAccess access) noexcept
{
    const bool isReading = access != ETextAccess::Write, isWriting = access != ETextAccess::Read;
    std::unique_ptr<TextFile> opened(new (std::nothrow)
                                         TextFile(std::move(file), text, isReading, isWriting));
    if (opened == nullptr || !opened->Start())
        return nullptr;
    const char* const mode = isReading && isWriting ? "r+" : isReading ? "r" : "w";
    std::FILE* const stream = ::fopencookie(opened.get(), mode, kCookieFunctions);
    if (stream != nullptr && opened->IsUnbuffered())
        std::setvbuf(stream, nullptr, _IONBF, 0);
    if (stream != nullptr)
        static_cast<void>(opened.release()); // the stream's close function deletes it
    return stream;
}

} // namespace platform
