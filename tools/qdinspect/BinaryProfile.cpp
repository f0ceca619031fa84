#include "core/base/BlockReader.h"
#include "core/platform/WideText.h"
#include "core/profile/BVariant.h"
#include "core/profile/VariantBytes.h"

#include "tools/qdinspect/Inspectors.h"
#include "tools/qdinspect/Report.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <string>

// A binary profile's file, value by value.
//
// The values are read by the library's own functions, so that what is told is what a program gets.
// These make the best of a value that is cut short, as an empty text; so each value is written
// again and compared with its bytes in the file, and where they differ the file is damaged.

namespace {

constexpr std::uint32_t kAnsiFormatId = 0x59414C05;
constexpr std::uint32_t kUnicodeFormatId = 0x69414C06;

// As many digits as it takes to read the same number again.
std::string NumberText(double value)
{
    char text[32];
    return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

// The first bytes stand for a block.
std::string BlockText(const BVarMemBlock& block)
{
    constexpr std::uint32_t most = 16;
    constexpr char digits[] = "0123456789abcdef";
    const auto* const bytes = static_cast<const unsigned char*>(block.Data());
    std::string text = std::to_string(block.Size());
    text += " bytes";
    for (std::uint32_t i = 0; i < std::min(block.Size(), most); ++i) {
        text += i == 0 ? ": " : " ";
        text += digits[bytes[i] >> 4];
        text += digits[bytes[i] & 15];
    }
    if (block.Size() > most)
        text += " ...";
    return text;
}

std::string ValueText(const BVariant& value)
{
    if (const auto* number = dynamic_cast<const TVariant<int>*>(&value))
        return "int " + std::to_string(number->Value());
    if (const auto* narrow = dynamic_cast<const TVariant<BString>*>(&value))
        return "narrow text " + Quoted(std::string_view(narrow->Value().CStr()));
    if (const auto* real = dynamic_cast<const TVariant<double>*>(&value))
        return "double " + NumberText(real->Value());
    if (const auto* block = dynamic_cast<const BVarMemBlock*>(&value))
        return "block of " + BlockText(*block);
    if (const auto* truth = dynamic_cast<const TVariant<bool>*>(&value))
        return truth->Value() ? "bool true" : "bool false";
    if (const auto* wide = dynamic_cast<const TVariant<WString>*>(&value))
        return "text " + Quoted(platform::WideView(wide->Value().CStr()));
    return "value";
}

// A value is whole when the bytes from `start` to the reader's position are those that it writes.
bool IsWhole(const BVariant& value, std::uint64_t start, BlockReader& file)
{
    VariantBytes written;
    written.Append(value.Type());
    value.AppendValue(written);
    const std::uint64_t end = file.Position();
    file.MoveTo(start); // back to what was read already
    const char* const bytes = file.Peek(end - start);
    const bool isSame = bytes != nullptr && end - start == written.Size() &&
                        std::memcmp(bytes, written.Data(), written.Size()) == 0;
    file.MoveTo(end);
    return isSame;
}

// False where the profile's own reader stops.
template <class Text>
bool InspectRecord(BlockReader& file, Report& report)
{
    const std::uint64_t start = file.Position();
    VariantSource source(file);
    Text key;
    if (!source.ReadText(key)) {
        report.DamageAt(start) << "no whole key; what follows is not read\n";
        return false;
    }
    if (key.IsEmpty()) {
        report.DamageAt(start) << "an empty key; what follows is not read\n";
        return false;
    }
    const std::uint64_t valueStart = file.Position();
    const SP<BVariant> value = LoadVariant(source);
    report.Line() << "at " << start << ": " << Quoted(std::basic_string_view(key.CStr()));
    if (!value) {
        report.Line() << '\n';
        report.DamageAt(valueStart) << "no value of a known type; the whole profile reads as "
                                       "empty\n";
        return false;
    }
    report.Line() << ' ' << ValueText(*value) << '\n';
    if (!IsWhole(*value, valueStart, file))
        report.DamageAt(valueStart) << "the value is not as it was written\n";
    return true;
}

} // namespace

void InspectBinaryProfile(BlockReader& file, Report& report)
{
    std::uint32_t formatId = 0;
    const bool isRead = file.Read(&formatId, sizeof formatId);
    const bool isAnsi = formatId == kAnsiFormatId;
    if (!isRead || (!isAnsi && formatId != kUnicodeFormatId)) {
        report.DamageAt(0) << "no format id of a binary profile\n";
        return;
    }
    report.Line() << "binary profile with " << (isAnsi ? "narrow" : "wide") << " keys\n";
    std::uint64_t count = 0;
    while (file.Left() != 0 &&
           (isAnsi ? InspectRecord<BString>(file, report) : InspectRecord<WString>(file, report)))
        ++count;
    report.Line() << count << " values\n";
}
