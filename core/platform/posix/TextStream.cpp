#include "core/platform/posix/TextStream.h"

#include "core/platform/WChar.h"

#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <string_view>
#include <sys/stat.h>
#include <sys/types.h>
#include <type_traits>
#include <utility>

namespace platform {

namespace {

constexpr WChar kLineFeed = '\n';
constexpr WChar kReturn = '\r';
constexpr WChar kEndOfText = 0x1A;

constexpr std::string_view kUtf16Mark = "\xFF\xFE";
constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

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

ssize_t ReadBytes(int file, void* buffer, std::size_t size)
{
    ssize_t count = 0;
    do {
        count = ::read(file, buffer, size);
    } while (count < 0 && errno == EINTR);
    return count;
}

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
    TextReader(Descriptor file, EText text) noexcept
        : m_file(std::move(file))
        , m_text(text)
    {}

    // False on an error.
    bool Start() noexcept;
    // The protocol of `fopencookie`.
    ssize_t Read(char* out, std::size_t size) noexcept;
    int Seek(off64_t* position, int origin) noexcept;
    int Close() noexcept { return ::close(m_file.Release()); }

private:
    bool Fill() noexcept;
    ssize_t FetchRaw() noexcept;
    void Decode(bool isLast) noexcept;
    std::optional<UChar32> NextCharacter(bool isLast) noexcept;
    void Put(UChar32 character) noexcept;
    void Emit(WChar unit) noexcept;

    Descriptor m_file;
    EText m_text;
    EEncoding m_encoding = EEncoding::Narrow;
    bool m_hasReturn = false; // a CR was read whose successor is not known yet
    bool m_isEnded = false;   // a Ctrl-Z was read
    std::size_t m_rawBegin = 0, m_rawEnd = 0;
    std::size_t m_outBegin = 0, m_outEnd = 0;
    std::array<std::uint8_t, 4096> m_raw;
    // What the raw bytes become at most, and a CR from before.
    std::array<char, (4096 + 1) * sizeof(WChar)> m_out;
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
        m_rawBegin = mark.size();
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

// Intended: the start of the file is where its mark is, and there the mark is text.
int TextReader::Seek(off64_t* position, int origin) noexcept
{
    if (origin != SEEK_SET || *position != 0) {
        errno = ESPIPE;
        return -1;
    }
    if (::lseek(m_file.Get(), 0, SEEK_SET) != 0)
        return -1;
    m_hasReturn = m_isEnded = false;
    m_rawBegin = m_rawEnd = m_outBegin = m_outEnd = 0;
    return 0;
}

// Decodes on until there is text to hand out or the file ends. False on an error.
bool TextReader::Fill() noexcept
{
    m_outBegin = m_outEnd = 0;
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
    m_rawBegin = 0;
    const ssize_t count = ReadBytes(m_file.Get(), m_raw.data() + m_rawEnd, m_raw.size() - m_rawEnd);
    if (count > 0)
        m_rawEnd += static_cast<std::size_t>(count);
    return count;
}

void TextReader::Decode(bool isLast) noexcept
{
    while (!m_isEnded) {
        const std::optional<UChar32> character = NextCharacter(isLast);
        if (!character)
            break;
        Put(*character);
    }
    if ((isLast || m_isEnded) && m_hasReturn)
        Emit(kReturn);
    if (isLast || m_isEnded)
        m_hasReturn = false;
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

void TextReader::Put(UChar32 character) noexcept
{
    if (character == kEndOfText) {
        m_isEnded = true;
        return;
    }
    if (m_hasReturn && character != kLineFeed)
        Emit(kReturn);
    m_hasReturn = character == kReturn;
    if (m_hasReturn)
        return;
    if (U_IS_BMP(character)) {
        Emit(static_cast<WChar>(character));
    } else {
        Emit(U16_LEAD(character));
        Emit(U16_TRAIL(character));
    }
}

void TextReader::Emit(WChar unit) noexcept
{
    // A narrow unit is its lower byte, which stands first.
    const std::size_t size = m_encoding == EEncoding::Narrow ? 1 : sizeof unit;
    std::memcpy(m_out.data() + m_outEnd, &unit, size);
    m_outEnd += size;
}

class TextWriter {
public:
    TextWriter(Descriptor file, EText text) noexcept
        : m_file(std::move(file))
        , m_text(text)
    {}

    // False on an error.
    bool Start() noexcept;
    [[nodiscard]] bool IsEightBit() const noexcept { return m_encoding == EEncoding::EightBit; }
    // The protocol of `fopencookie`.
    ssize_t Write(const char* text, std::size_t size) noexcept;
    int Close() noexcept;

private:
    bool Put(WChar unit) noexcept;
    bool Encode(WChar unit) noexcept;
    void EncodeUtf8(WChar unit) noexcept;
    void Append(UChar32 character) noexcept;
    bool Flush() noexcept;

    Descriptor m_file;
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
    if (::fstat(m_file.Get(), &status) != 0)
        return false;
    if (status.st_size == 0) {
        m_encoding = EncodingWithoutMark(m_text == EText::Unicode ? EText::Utf16 : m_text);
        return WriteBytes(m_file.Get(), MarkOf(m_encoding));
    }
    char start[kUtf8Mark.size()] = {};
    const ssize_t count =
        m_text == EText::Narrow ? 0 : ::pread(m_file.Get(), start, sizeof start, 0);
    if (count < 0)
        return false;
    m_encoding = EncodingOf({start, static_cast<std::size_t>(count)}, m_text);
    return true;
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

int TextWriter::Close() noexcept
{
    bool isGood = true;
    if (m_lead != 0) {
        Append(0xFFFD);
        isGood = Flush();
    }
    return ::close(m_file.Release()) == 0 && isGood ? 0 : -1;
}

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
            Flush();
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
    return WriteBytes(m_file.Get(), {m_buffer.data(), used});
}

// `fopencookie` takes functions over an untyped object.
template <typename TEXT>
constexpr cookie_io_functions_t CookieFunctions()
{
    cookie_io_functions_t functions = {};
    if constexpr (std::is_same_v<TEXT, TextReader>) {
        functions.read = [](void* cookie, char* out, std::size_t size) {
            return static_cast<TEXT*>(cookie)->Read(out, size);
        };
        functions.seek = [](void* cookie, off64_t* position, int origin) {
            return static_cast<TEXT*>(cookie)->Seek(position, origin);
        };
    } else {
        functions.write = [](void* cookie, const char* text, std::size_t size) {
            return static_cast<TEXT*>(cookie)->Write(text, size);
        };
    }
    functions.close = [](void* cookie) {
        const std::unique_ptr<TEXT> text(static_cast<TEXT*>(cookie));
        return text->Close();
    };
    return functions;
}

template <typename TEXT>
std::FILE* OpenCookie(std::unique_ptr<TEXT> text, const char* mode)
{
    std::FILE* const stream = ::fopencookie(text.get(), mode, CookieFunctions<TEXT>());
    if (stream != nullptr)
        static_cast<void>(text.release()); // the stream's close function deletes it
    return stream;
}

} // namespace

std::FILE* OpenTextReader(Descriptor file, EText text) noexcept
{
    std::unique_ptr<TextReader> reader(new (std::nothrow) TextReader(std::move(file), text));
    if (reader == nullptr || !reader->Start())
        return nullptr;
    return OpenCookie(std::move(reader), "r");
}

std::FILE* OpenTextWriter(Descriptor file, EText text) noexcept
{
    std::unique_ptr<TextWriter> writer(new (std::nothrow) TextWriter(std::move(file), text));
    if (writer == nullptr || !writer->Start())
        return nullptr;
    const bool isEightBit = writer->IsEightBit();
    std::FILE* const stream = OpenCookie(std::move(writer), "w");
    // Unbuffered, each text is written by one call, which then knows what to leave out behind a
    // unit that the file cannot hold.
    if (stream != nullptr && isEightBit)
        std::setvbuf(stream, nullptr, _IONBF, 0);
    return stream;
}

} // namespace platform
