// `qdinspect FILE [KIND]` prints what a file of the library holds, without the program that wrote
// it, and where it is damaged. The content tells its kind unless KIND names it: "archive",
// "language", "binary" or "text" (the two kinds of profiles).
//
// It is for files that a program does not open any more, so it trusts nothing in them, and goes on
// behind what is damaged as far as the format lets it.
//
// The exit code is 0 for a whole file, 1 for a damaged one, 2 when there is nothing to inspect.

#include "core/archive/Encoding.h"
#include "core/base/BlockReader.h"
#include "core/platform/ByteOrderMark.h"
#include "core/platform/CodePage.h"
#include "core/platform/FileStream.h"
#include "core/platform/WideText.h"

#include "tools/qdinspect/Inspectors.h"
#include "tools/qdinspect/Report.h"

#include <bit>
#include <cstring>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string_view>

namespace {

using platform::WideText;

enum class EKind { Unknown, Archive, Language, BinaryProfile, TextProfile };

constexpr int kWhole = 0;
constexpr int kDamaged = 1;
constexpr int kNothing = 2;

// Bytes; a text is taken into memory as a whole, other files piece by piece.
constexpr std::uint64_t kLargestText = 1u << 30;

bool BeginsWith(BlockReader& file, std::string_view bytes)
{
    const char* const start = file.Peek(bytes.size());
    return start != nullptr && std::memcmp(start, bytes.data(), bytes.size()) == 0;
}

bool IsUnicode(BlockReader& file)
{
    return BeginsWith(file, platform::kUtf16Mark);
}

// UTF-16LE with a byte-order mark, else 8-bit text. An odd last byte is dropped.
WideText ReadText(BlockReader& file)
{
    static_assert(std::endian::native == std::endian::little, "units are read as they stand");
    const std::uint64_t size = file.Size();
    const bool isUnicode = IsUnicode(file);
    const char* const bytes = size <= kLargestText ? file.Peek(size) : nullptr;
    if (size == 0 || bytes == nullptr)
        return {};
    WideText text;
    if (isUnicode) {
        text.resize(size / sizeof(WChar) - 1);
        std::memcpy(text.data(), bytes + sizeof(WChar), text.size() * sizeof(WChar));
    } else {
        text.resize(size);
        text.resize(platform::AnsiToWide(bytes, size, text.data(), text.size()));
    }
    return text;
}

// The first line that begins like an entry or like a section tells.
EKind KindOfText(const WideText& text, bool isUnicode)
{
    for (std::size_t line = 0; line < text.size();) {
        if (text[line] == '$')
            return EKind::Language;
        if (text[line] == '[')
            return EKind::TextProfile;
        const std::size_t end = text.find(WChar('\n'), line);
        line = end == WideText::npos ? text.size() : end + 1;
    }
    // A new profile is an empty text.
    return isUnicode && text.empty() ? EKind::TextProfile : EKind::Unknown;
}

// The kinds with a mark of their own come first: a text may be any bytes.
EKind KindOf(BlockReader& file)
{
    if (BeginsWith(file, "\x06LAi") || BeginsWith(file, "\x05LAY"))
        return EKind::BinaryProfile;
    if (NArchive::EndOfText(file, 0))
        return EKind::Archive;
    if (BeginsWith(file, std::string(platform::kUtf8Mark) + '$'))
        return EKind::Language;
    return KindOfText(ReadText(file), IsUnicode(file));
}

EKind KindNamed(std::string_view name)
{
    if (name == "archive")
        return EKind::Archive;
    if (name == "language")
        return EKind::Language;
    if (name == "binary")
        return EKind::BinaryProfile;
    return name == "text" ? EKind::TextProfile : EKind::Unknown;
}

int Nothing(const char* why)
{
    std::cout << why << '\n';
    return kNothing;
}

int Inspect(const WideText& path, std::string_view kindName)
{
    BlockReader file(platform::OpenStream(path.c_str(), QD_W("rb")));
    if (!file.IsGood())
        return Nothing("The file cannot be opened.");
    const EKind kind = kindName.empty() ? KindOf(file) : KindNamed(kindName);
    if (!file.IsGood())
        return Nothing("The file cannot be read.");
    if (kind == EKind::TextProfile && file.Size() > kLargestText)
        return Nothing("The file is too large for a text profile.");
    Report report(std::cout);
    switch (kind) {
    case EKind::Archive: InspectArchive(file, report); break;
    // By its path: the language map's own reader takes a text stream.
    case EKind::Language: InspectLanguageFile(path.c_str(), report); break;
    case EKind::BinaryProfile: InspectBinaryProfile(file, report); break;
    case EKind::TextProfile: InspectTextProfile(ReadText(file), report); break;
    case EKind::Unknown: return Nothing("The file is of no kind that is known here.");
    }
    // A cut in the middle of a unit, which the readers of texts pass over.
    const bool isText = kind == EKind::Language || (kind == EKind::TextProfile && IsUnicode(file));
    if (isText && file.Size() % sizeof(WChar) != 0)
        report.DamageAt(file.Size() - 1) << "half a character\n";
    std::cout << (report.IsWhole() ? "The file is whole.\n" : "The file is damaged.\n");
    return report.IsWhole() ? kWhole : kDamaged;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2 || argc > 3)
        return Nothing("qdinspect FILE [archive|language|binary|text]");
    // Such as missing memory: that says nothing of the file.
    try {
        return Inspect(std::filesystem::path(argv[1]).string<WChar>(), argc == 3 ? argv[2] : "");
    } catch (const std::exception& failure) {
        return Nothing(failure.what());
    }
}
