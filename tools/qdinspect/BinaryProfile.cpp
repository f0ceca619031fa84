#include "tools/qdinspect/BinaryProfile.h"

#include "core/base/BlockReader.h"
#include "core/profile/VariantBytes.h"

#include "tools/qdinspect/Inspectors.h"
#include "tools/qdinspect/NewFile.h"
#include "tools/qdinspect/Report.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <map>
#include <nlohmann/json.hpp>
#include <ostream>
#include <set>
#include <string>

// A binary profile's file, value by value.
//
// The values are read by the library's own functions, so that what is told is what a program gets.
// These make the best of a value that is cut short, as an empty text; so each value is written
// again and compared with its bytes in the file, and where they differ the file is damaged.

namespace {

constexpr std::uint32_t kAnsiFormatId = 0x59414C05;
constexpr std::uint32_t kUnicodeFormatId = 0x69414C06;

// The first `size` bytes of a block.
std::string Hex(const BVarMemBlock& block, std::uint32_t size, const char* separator)
{
    constexpr char digits[] = "0123456789abcdef";
    const auto* const bytes = static_cast<const unsigned char*>(block.Data());
    std::string text;
    for (std::uint32_t i = 0; i < size; ++i) {
        text += i == 0 ? "" : separator;
        text += digits[bytes[i] >> 4];
        text += digits[bytes[i] & 15];
    }
    return text;
}

// The first bytes stand for a block.
std::string BlockText(const BVarMemBlock& block)
{
    constexpr std::uint32_t most = 16;
    std::string text = std::to_string(block.Size());
    text += block.Size() == 0 ? " bytes" : " bytes: ";
    text += Hex(block, std::min(block.Size(), most), " ");
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
    const auto& wide = dynamic_cast<const TVariant<WString>&>(value);
    return "text " + Quoted(platform::WideView(wide.Value().CStr()));
}

Json ValueEntry(const BVariant& value)
{
    if (const auto* number = dynamic_cast<const TVariant<int>*>(&value))
        return {{"type", "int"}, {"value", number->Value()}};
    if (const auto* narrow = dynamic_cast<const TVariant<BString>*>(&value))
        return {{"type", "narrow text"}, {"value", Utf8(narrow->Value().CStr())}};
    if (const auto* real = dynamic_cast<const TVariant<double>*>(&value))
        return {{"type", "double"}, {"value", real->Value()}}; // null for what JSON has no number
    if (const auto* block = dynamic_cast<const BVarMemBlock*>(&value))
        return {{"type", "block"}, {"value", Hex(*block, block->Size(), "")}};
    if (const auto* truth = dynamic_cast<const TVariant<bool>*>(&value))
        return {{"type", "bool"}, {"value", truth->Value()}};
    const auto& wide = dynamic_cast<const TVariant<WString>&>(value);
    return {{"type", "text"}, {"value", Utf8(platform::WideView(wide.Value().CStr()))}};
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

} // namespace

std::string NumberText(double value)
{
    char text[32];
    return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

// A key without a section is one as it is.
std::pair<platform::WideView, platform::WideView> SplitKey(platform::WideView mapped)
{
    const std::size_t end = mapped.find(WChar(']'));
    const bool hasSection = mapped.starts_with(WChar('[')) && end != platform::WideView::npos;
    const std::size_t key = hasSection ? end + 1 : 0;
    return {mapped.substr(0, key), mapped.substr(key)};
}

BinaryRecords::BinaryRecords(BlockReader& file)
    : m_file(file)
{
    std::uint32_t formatId = 0;
    const bool isRead = file.Read(&formatId, sizeof formatId);
    m_hasNarrowKeys = formatId == kAnsiFormatId;
    m_isProfile = isRead && (m_hasNarrowKeys || formatId == kUnicodeFormatId);
}

bool BinaryRecords::Next(BinaryRecord& record)
{
    record.position = m_file.Position();
    VariantSource source(m_file);
    BString narrowKey;
    const bool isKey = m_file.Left() != 0 &&
                       (m_hasNarrowKeys ? source.ReadText(narrowKey) : source.ReadText(record.key));
    if (m_hasNarrowKeys)
        record.key = WString(narrowKey);
    if (!isKey || record.key.IsEmpty())
        return false;
    const std::uint64_t start = m_file.Position();
    record.value = LoadVariant(source);
    record.isWhole = record.value && IsWhole(*record.value, start, m_file);
    return static_cast<bool>(record.value);
}

namespace {

class BinaryProfileInspector {
public:
    BinaryProfileInspector(BlockReader& file, Report& report)
        : m_file(file)
        , m_report(report)
        , m_values(report.NewCut())
    {}

    // False where the profile's own reader stops.
    template <class Text>
    bool InspectRecord();

    void End()
    {
        m_values.End("  ", "values");
        m_report.Line() << m_sections.size() << " sections, " << m_count << " values\n";
    }

private:
    // Gives the key in it.
    WString EnterSection(const WString& mappedKey);
    [[nodiscard]] platform::WideView SectionName() const
    {
        const platform::WideView name(m_section.CStr()); // with its brackets
        return name.empty() ? name : name.substr(1, name.size() - 2);
    }

    BlockReader& m_file;
    Report& m_report;
    Cut m_values; // of the section at hand
    WString m_section;
    std::set<platform::WideText> m_sections;
    std::set<platform::WideText> m_keys; // with their sections
    std::uint64_t m_count = 0;
};

// A key in the file is "[section]key". Those of a section mostly stand together; where one comes
// back, so does its heading.
WString BinaryProfileInspector::EnterSection(const WString& mappedKey)
{
    const auto [section, key] = SplitKey(platform::WideView(mappedKey.CStr()));
    if (m_sections.empty() || section != platform::WideView(m_section.CStr())) {
        m_values.End("  ", "values");
        m_values = m_report.NewCut();
        m_section = platform::WideText(section).c_str();
        m_sections.insert(platform::WideText(section));
        m_report.Line() << "section " << Quoted(SectionName()) << '\n';
    }
    return platform::WideText(key).c_str();
}

template <class Text>
bool BinaryProfileInspector::InspectRecord()
{
    const std::uint64_t start = m_file.Position();
    m_report.TellProgress(start, m_file.Size());
    VariantSource source(m_file);
    Text key;
    if (!source.ReadText(key)) {
        m_report.DamageAt(start) << "no whole key; what follows is not read\n";
        return false;
    }
    if (key.IsEmpty()) {
        m_report.DamageAt(start) << "an empty key; what follows is not read\n";
        return false;
    }
    const std::uint64_t valueStart = m_file.Position();
    const SP<BVariant> value = LoadVariant(source);
    const WString shownKey = EnterSection(WString(key));
    if (m_values.Shows() || !value)
        m_report.Line() << "  at " << start << ": " << Quoted(platform::WideView(shownKey.CStr()))
                        << ' ' << (value ? ValueText(*value) : "?") << '\n';
    if (EntrySink* const entries = value ? m_report.NextEntry() : nullptr) {
        Json entry = {{"at", start},
                      {"section", Utf8(SectionName())},
                      {"key", Utf8(platform::WideView(shownKey.CStr()))}};
        entry.update(ValueEntry(*value));
        entries->Entry(entry, m_file.Position());
    }
    if (!value) {
        m_report.DamageAt(valueStart) << "no value of a known type; the whole profile reads as "
                                         "empty\n";
        return false;
    }
    ++m_count;
    if (!m_keys.insert(WString(key).CStr()).second)
        m_report.DamageAt(start) << "the key is there already; the last counts\n";
    if (!IsWhole(*value, valueStart, m_file))
        m_report.DamageAt(valueStart) << "the value is not as it was written\n";
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
    if (EntrySink* const entries = report.Export())
        entries->Property("keys", isAnsi ? "narrow" : "wide");
    report.Line() << "binary profile with " << (isAnsi ? "narrow" : "wide") << " keys\n";
    BinaryProfileInspector inspector(file, report);
    while (file.Left() != 0 &&
           (isAnsi ? inspector.InspectRecord<BString>() : inspector.InspectRecord<WString>())) {
    }
    inspector.End();
}

namespace {

// Where the last record of each key begins, which is the one that programs read.
std::map<platform::WideText, std::uint64_t> LastRecords(BlockReader& file)
{
    std::map<platform::WideText, std::uint64_t> last;
    BinaryRecords records(file);
    for (BinaryRecord record; records.Next(record);)
        last[record.key.CStr()] = record.position;
    file.MoveTo(0);
    return last;
}

} // namespace

// As the profile writes them, so with wide keys. Values that are not as they were written are left
// out, and what is behind the first record that cannot be read.
EOutcome RecoverBinaryProfile(BlockReader& file, const platform::WideText& newPath,
                              std::ostream& out, std::ostream& losses)
{
    const std::map<platform::WideText, std::uint64_t> last = LastRecords(file);
    BinaryRecords records(file);
    NewFile newFile(newPath);
    newFile.WriteNumber(kUnicodeFormatId);
    std::uint64_t count = 0;
    std::uint64_t lost = 0;
    BinaryRecord record;
    while (records.Next(record)) {
        const bool isLast = last.at(record.key.CStr()) == record.position;
        if (!record.isWhole || !isLast) {
            losses << (isLast ? "" : "the first ") << Quoted(platform::WideView(record.key.CStr()))
                   << " is lost\n";
            ++lost;
            continue;
        }
        VariantBytes bytes;
        bytes.AppendText(record.key);
        bytes.Append(record.value->Type());
        record.value->AppendValue(bytes);
        newFile.Write({bytes.Data(), bytes.Size()});
        ++count;
    }
    if (record.position < file.Size()) {
        losses << "bytes " << record.position << " to " << file.Size() << " are lost\n";
        ++lost;
    }
    out << count << " values\n";
    if (!records.IsProfile() || !file.IsGood())
        return EOutcome::NothingThere;
    if (!newFile.Close())
        return EOutcome::Unwritten;
    newFile.Keep();
    return lost == 0 ? EOutcome::Whole : EOutcome::Lossy;
}
