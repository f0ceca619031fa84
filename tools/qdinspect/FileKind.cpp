#include "tools/qdinspect/FileKind.h"

#include "core/archive/Encoding.h"
#include "core/base/BlockReader.h"
#include "core/language/BLanguageMap.h"
#include "core/platform/ByteOrderMark.h"
#include "core/platform/CodePage.h"

#include "tools/qdinspect/Report.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <string_view>

// How a file's kind is told.
//
// Only binary profiles have a mark of their own. An archive begins with a short name and another
// one; texts are told by their first line that means something. Nearly any bytes are an 8-bit text,
// so one without a byte-order mark must look like a text up to that line: a program that somewhere
// holds a line that begins with a bracket is no profile.

namespace {

using platform::WideText;
using platform::WideView;

constexpr std::uint64_t kLongestName = 1024;   // bytes of an archive's document class
constexpr std::uint64_t kTextBytes = 1u << 20; // of a text, that are looked at

std::string_view Beginning(BlockReader& file, std::uint64_t size)
{
    size = std::min(size, file.Size());
    const char* const bytes = file.Peek(size);
    return bytes == nullptr ? std::string_view() : std::string_view(bytes, size);
}

bool IsControl(WChar unit)
{
    return (unit < 0x20 && unit != '\t' && unit != '\r' && unit != '\f') || unit == 0x7F;
}

bool IsControlByte(char byte)
{
    return IsControl(static_cast<unsigned char>(byte));
}

// The document class is a name, and behind its version another name follows, as far as the file
// goes.
bool IsArchive(BlockReader& file)
{
    const std::optional<std::uint64_t> end = NArchive::EndOfText(file, 0);
    if (!end || *end > kLongestName + NArchive::kTagAndLengthSize)
        return false;
    const std::string_view name = NArchive::TextAt(file.Peek(*end));
    const std::uint64_t next = *end + sizeof(int); // behind the version
    const std::string_view bytes = Beginning(file, next + 1);
    return std::ranges::none_of(name, IsControlByte) &&
           (bytes.size() <= next || bytes[next] == NArchive::kTextTag);
}

// "9:05:00", a tab, "Start", a tab.
bool IsLogStart(WideView line)
{
    const std::size_t tab = line.find(WChar('\t'));
    if (tab == WideView::npos || !line.substr(tab).starts_with(QD_W("\tStart\t")))
        return false;
    const WideView time = line.substr(0, tab);
    return std::ranges::count(time, WChar(':')) == 2 &&
           time.find_first_not_of(QD_W("0123456789:")) == WideView::npos;
}

bool IsEntry(WideView line)
{
    return line.size() > 1 && line[0] == '$' && BLanguageMap::IsAlNumUnderscore(line[1]) &&
           line.find(WChar('\t')) != WideView::npos;
}

bool IsSection(WideView line, bool isMarked)
{
    if (!line.starts_with(WChar('[')) || (!isMarked && line.starts_with(QD_W("[["))))
        return false;
    const std::size_t last = line.find_last_not_of(QD_W(" \t\r"));
    return isMarked || line[last] == ']'; // a marked text is one, and may be damaged
}

// Unknown where the line tells nothing.
EKind KindOfLine(WideView line, bool isMarked)
{
    if (IsEntry(line))
        return EKind::Language;
    if (IsLogStart(line))
        return EKind::Log;
    return IsSection(line, isMarked) ? EKind::TextProfile : EKind::Unknown;
}

EKind KindOfText(WideView text, bool isMarked)
{
    while (!text.empty()) {
        const WideView line = TakeLine(text);
        if (!isMarked && std::ranges::any_of(line, IsControl))
            return EKind::Unknown;
        if (const EKind kind = KindOfLine(line, isMarked); kind != EKind::Unknown)
            return kind;
    }
    return EKind::Unknown;
}

// UTF-16LE without its mark, which the reader of language files takes, too.
bool IsUnmarkedLanguage(std::string_view bytes)
{
    if (bytes.size() < sizeof(WChar) || bytes[0] == 0 || bytes[1] != 0)
        return false;
    WideText text(bytes.size() / sizeof(WChar), 0);
    std::memcpy(text.data(), bytes.data(), text.size() * sizeof(WChar));
    return KindOfText(text, false) == EKind::Language;
}

// Where the mark is lost: in most units of most texts the second byte is 0, in no 8-bit text.
bool HasZeroHalves(std::string_view bytes)
{
    std::size_t halves = 0;
    for (std::size_t i = 1; i < bytes.size(); i += 2)
        halves += bytes[i] == '\0' && bytes[i - 1] != '\0' ? 1 : 0;
    return halves > bytes.size() / 4;
}

EKind KindOfText(BlockReader& file)
{
    const std::string_view mark = platform::MarkAt(Beginning(file, 3));
    const WideText text = ReadText(file, kTextBytes);
    const WideView units = text;
    // The library's readers of profiles and logs know no mark of UTF-8, that of language files
    // knows no 8-bit text.
    if (mark == platform::kUtf8Mark) {
        const EKind kind = KindOfText(units.substr(std::min(mark.size(), units.size())), true);
        return kind == EKind::Language ? kind : EKind::Unknown;
    }
    if (mark == platform::kUtf16Mark)
        return text.empty() ? EKind::TextProfile : KindOfText(units, true); // a new one is empty
    if (IsUnmarkedLanguage(Beginning(file, kTextBytes)))
        return EKind::Language;
    const EKind kind = KindOfText(units, false);
    return mark.empty() && kind == EKind::TextProfile ? kind : EKind::Unknown;
}

} // namespace

EKind KindOf(BlockReader& file)
{
    const std::string_view mark = Beginning(file, 4);
    if (mark == "\x06LAi" || mark == "\x05LAY")
        return EKind::BinaryProfile;
    return IsArchive(file) ? EKind::Archive : KindOfText(file);
}

bool LooksLikeText(BlockReader& file)
{
    const std::string_view bytes = Beginning(file, kTextBytes);
    return !platform::MarkAt(bytes).empty() ||
           std::ranges::none_of(bytes, [](char c) { return c != '\n' && IsControlByte(c); });
}

EKind KindInAnyEncoding(BlockReader& file)
{
    const WideText text = ReadText(file, kTextBytes);
    const WideView units = text;
    return KindOfText(HasUtf8Mark(file) ? units.substr(platform::kUtf8Mark.size()) : units, false);
}

std::string WhatElse(BlockReader& file)
{
    struct Magic {
        std::string_view bytes;
        const char* name;
    };
    static constexpr Magic magics[] = {
        {"\x7F"
         "ELF",
         "a program or library (ELF)"},
        {"MZ", "a program or library (Windows)"},
        {"PK\x03\x04", "a zip archive"},
        {"\x1F\x8B", "compressed (gzip)"},
        {"\x89PNG", "a picture (PNG)"},
        {"\xFF\xD8\xFF", "a picture (JPEG)"},
        {"%PDF-", "a document (PDF)"},
        {"SQLite format 3", "a database (SQLite), as the registry is off Windows"},
        {"REGEDIT4", "an export of the registry"},
        {"<?xml", "XML"},
        {platform::kUtf16BigMark, "a text in UTF-16 with the bytes of each unit swapped"},
    };
    if (file.Size() == 0)
        return "an empty file";
    const std::string_view bytes = Beginning(file, 16);
    if (bytes.find_first_not_of('\0') == std::string_view::npos)
        return "a file whose beginning is lost: zeros, as a disk has for what it never got; with "
               "--kind it is read as what it was";
    for (const Magic& magic : magics) {
        if (bytes.starts_with(magic.bytes))
            return magic.name;
    }
    if (!LooksLikeText(file))
        return {};
    switch (KindInAnyEncoding(file)) {
    case EKind::Language:
        return "a language file without a byte-order mark: programs find no entry in it until it "
               "is saved as UTF-16LE or UTF-8 with one";
    case EKind::TextProfile:
        return "a profile in UTF-8 with a byte-order mark: programs do not see its first section";
    case EKind::Log: return "a profiler's log in another encoding than UTF-16LE";
    default: return "a text";
    }
}

namespace {

// The first byte that the text does not give back.
std::size_t FirstLost(std::string_view bytes, WideView text)
{
    std::string readBack(text.size() * platform::kMostAnsiBytesPerUnit, '\0');
    readBack.resize(
        platform::WideToAnsi(text.data(), text.size(), readBack.data(), readBack.size()));
    const auto differs = std::ranges::mismatch(bytes, readBack).in1;
    return static_cast<std::size_t>(differs - bytes.begin());
}

} // namespace

DecodedText Decode(BlockReader& file, EEncoding encoding)
{
    DecodedText decoded;
    const std::string_view bytes = Beginning(file, file.Size());
    std::uint64_t faults = 0;
    switch (encoding) {
    case EEncoding::Utf8:
        decoded.text =
            FromUtf8(bytes.substr(HasUtf8Mark(file) ? platform::kUtf8Mark.size() : 0), faults);
        if (faults != 0)
            decoded.loss = std::to_string(faults) + " bytes are no UTF-8";
        break;
    case EEncoding::Utf16Unmarked:
        decoded.text.resize(bytes.size() / sizeof(WChar));
        std::memcpy(decoded.text.data(), bytes.data(), decoded.text.size() * sizeof(WChar));
        break;
    case EEncoding::Utf16: decoded.text = ReadText(file, file.Size()); break;
    case EEncoding::Ansi:
        decoded.text = ReadText(file, file.Size());
        if (const std::size_t first = FirstLost(bytes, decoded.text); first < bytes.size())
            decoded.loss = "byte " + std::to_string(first) +
                           " is no character of the code page, and perhaps others";
        break;
    }
    const bool isWide = encoding == EEncoding::Utf16 || encoding == EEncoding::Utf16Unmarked;
    if (isWide && bytes.size() % sizeof(WChar) != 0)
        decoded.loss = "the last byte is half a character";
    return decoded;
}

WideView TakeLine(WideView& text)
{
    const std::size_t end = std::min(text.find_first_of(QD_W("\r\n")), text.size());
    const WideView line = text.substr(0, end);
    text.remove_prefix(end);
    text.remove_prefix(text.starts_with(QD_W("\r\n")) ? 2 : text.empty() ? 0 : 1);
    return line;
}

EEncoding EncodingOf(BlockReader& file, EKind kind)
{
    if (HasUtf16Mark(file))
        return EEncoding::Utf16;
    if (HasUtf8Mark(file))
        return EEncoding::Utf8;
    const std::string_view bytes = Beginning(file, kTextBytes);
    if (HasZeroHalves(bytes))
        return EEncoding::Utf16Unmarked;
    if (kind != EKind::Language)
        return EEncoding::Ansi;
    if (IsUnmarkedLanguage(bytes))
        return EEncoding::Utf16Unmarked;
    std::uint64_t faults = 0;
    static_cast<void>(FromUtf8(bytes, faults));
    return faults == 0 ? EEncoding::Utf8 : EEncoding::Ansi;
}

bool HasUtf16Mark(BlockReader& file)
{
    return platform::MarkAt(Beginning(file, 2)) == platform::kUtf16Mark;
}

bool HasUtf8Mark(BlockReader& file)
{
    return platform::MarkAt(Beginning(file, 3)) == platform::kUtf8Mark;
}

WideText ReadText(BlockReader& file, std::uint64_t mostBytes)
{
    static_assert(std::endian::native == std::endian::little, "units are read as they stand");
    const bool isUnicode = HasUtf16Mark(file);
    const std::string_view bytes = Beginning(file, mostBytes);
    WideText text;
    if (isUnicode) {
        text.resize(bytes.size() / sizeof(WChar) - 1);
        std::memcpy(text.data(), bytes.data() + sizeof(WChar), text.size() * sizeof(WChar));
    } else {
        text.resize(bytes.size());
        text.resize(platform::AnsiToWide(bytes.data(), bytes.size(), text.data(), text.size()));
    }
    return text;
}
