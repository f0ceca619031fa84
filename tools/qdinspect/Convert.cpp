#include "tools/qdinspect/Convert.h"

#include "core/base/BlockReader.h"
#include "core/file/StdPath.h"
#include "core/profile/BBinProfile.h"
#include "core/profile/BProfile.h"

#include "tools/qdinspect/BinaryProfile.h"
#include "tools/qdinspect/NewFile.h"
#include "tools/qdinspect/Report.h"
#include "tools/qdinspect/TextProfile.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <map>
#include <ostream>
#include <set>
#include <string>
#include <system_error>
#include <vector>

// Files in another format.
//
// Values are written by the profile classes, so that a program finds them as it would have written
// them itself, and read back by the same: what a format cannot hold, a line break in a text
// profile, say, shows as a value that is another one then.

namespace {

using platform::WideText;
using platform::WideView;

std::string Shown(WideView section, WideView key)
{
    std::string shown("[");
    return shown.append(Utf8(section)).append("] ").append(Quoted(key));
}

WString Text(WideView text)
{
    return WideText(text).c_str();
}

// A profile that is removed again unless it is kept.
class NewProfile {
public:
    explicit NewProfile(const WideText& path)
        : m_path(QDToStdPath(path.c_str()))
    {}
    ~NewProfile()
    {
        std::error_code ignored;
        if (!m_isKept)
            std::filesystem::remove(m_path, ignored);
    }
    NewProfile(const NewProfile&) = delete;
    NewProfile& operator=(const NewProfile&) = delete;

    [[nodiscard]] EOutcome Keep(std::uint64_t lost)
    {
        m_isKept = true;
        return lost == 0 ? EOutcome::Whole : EOutcome::Lossy;
    }

private:
    std::filesystem::path m_path; // made at once, as that takes memory
    bool m_isKept = false;
};

// Writes a value of any type, and reads it back. Where that gives another one, a text and a number
// have a second spelling to try.
class TextProfileWriter {
public:
    explicit TextProfileWriter(const WideText& path)
        : m_path(path.c_str())
        , m_profile(m_path, ProfileNew)
    {}

    [[nodiscard]] bool IsGood() const { return m_profile.IsValid(); }
    /// Whether the value is found again; otherwise it is left out.
    [[nodiscard]] bool Write(WideView section, const WString& key, const BVariant& value);

private:
    [[nodiscard]] bool WriteValue(const WString& key, const BVariant& value);
    [[nodiscard]] bool WriteDouble(const WString& key, double value);
    [[nodiscard]] bool WriteText(const WString& key, const WString& value);
    [[nodiscard]] bool WriteBlock(const WString& key, const BVarMemBlock& block);

    WString m_path;
    BProfile m_profile;
};

// Whether a line is still one with that in it.
bool IsInLine(WideView text)
{
    return text.find_first_of(WideView(QD_W("\r\n\0"), 3)) == WideView::npos;
}

bool TextProfileWriter::Write(WideView section, const WString& key, const BVariant& value)
{
    const WideView name(key.CStr());
    const WideText heading = WideText(QD_W("[")).append(section).append(QD_W("]"));
    const WideText line = WideText(name).append(QD_W("="));
    const TextLine parsed = ParseLine(line);
    if (!IsInLine(heading) || ParseLine(heading).name != section || !IsInLine(name) ||
        parsed.kind != TextLine::Key || parsed.name != name)
        return false;
    m_profile.SetSection(Text(section));
    if (WriteValue(key, value))
        return true;
    m_profile.DeleteKey(key);
    return false;
}

bool TextProfileWriter::WriteValue(const WString& key, const BVariant& value)
{
    if (const auto* number = dynamic_cast<const TVariant<int>*>(&value))
        return m_profile.WriteInt(key, number->Value()) &&
               m_profile.ReadInt(key, ~number->Value()) == number->Value();
    if (const auto* real = dynamic_cast<const TVariant<double>*>(&value))
        return WriteDouble(key, real->Value());
    if (const auto* truth = dynamic_cast<const TVariant<bool>*>(&value))
        return m_profile.WriteBoolean(key, truth->Value()) &&
               m_profile.ReadBoolean(key, !truth->Value()) == truth->Value();
    if (const auto* block = dynamic_cast<const BVarMemBlock*>(&value))
        return WriteBlock(key, *block);
    if (const auto* narrow = dynamic_cast<const TVariant<BString>*>(&value))
        return WriteText(key, WString(narrow->Value()));
    return WriteText(key, dynamic_cast<const TVariant<WString>&>(value).Value());
}

// With a point or an exponent, so that it is not taken for an int; with all digits that it needs.
bool TextProfileWriter::WriteDouble(const WString& key, double value)
{
    std::string text = NumberText(value);
    if (text.find_first_not_of("-0123456789") == std::string::npos)
        text += ".0";
    return m_profile.WriteString(key, WString(text.c_str())) &&
           m_profile.ReadDouble(key, std::nan("")) == value;
}

bool TextProfileWriter::WriteText(const WString& key, const WString& value)
{
    if (!IsInLine(WideView(value.CStr())) || !m_profile.WriteString(key, value))
        return false;
    const auto isKept = [&] {
        return WideView(m_profile.ReadString(key, WString()).CStr()) == WideView(value.CStr());
    };
    if (isKept())
        return true;
    // A reader drops blanks at the ends and a pair of quotes, unless they stand in quotes.
    const WString quoted = QD_W("\"") + value + QD_W("\"");
    return m_profile.WriteString(key, quoted) && isKept();
}

bool TextProfileWriter::WriteBlock(const WString& key, const BVarMemBlock& block)
{
    std::vector<char> bytes(block.Size());
    std::vector<char> readBack(block.Size());
    if (block.Size() == 0)
        return false; // reads like no block
    std::memcpy(bytes.data(), block.Data(), bytes.size());
    return m_profile.WriteMem(key, bytes.data(), block.Size()) &&
           m_profile.ReadMem(key, readBack.data(), block.Size()) && readBack == bytes;
}

// The records section by section, the sections in the order of the file: a value that comes into
// the middle of a text profile has all of it written anew.
std::vector<BinaryRecord> RecordsBySection(BinaryRecords& records)
{
    std::map<WideText, std::size_t> sections;
    std::vector<std::pair<std::size_t, BinaryRecord>> ordered;
    for (BinaryRecord record; records.Next(record);) {
        const WideText section(SplitKey(record.key.CStr()).first);
        ordered.emplace_back(sections.try_emplace(section, sections.size()).first->second, record);
    }
    std::ranges::stable_sort(ordered, {}, [](const auto& entry) { return entry.first; });
    std::vector<BinaryRecord> sorted;
    sorted.reserve(ordered.size());
    for (auto& [section, record] : ordered)
        sorted.push_back(std::move(record));
    return sorted;
}

} // namespace

EOutcome ConvertToTextProfile(BlockReader& file, const WideText& newPath, std::ostream& out,
                              std::ostream& losses)
{
    BinaryRecords records(file);
    if (!records.IsProfile())
        return EOutcome::NothingThere;
    std::uint64_t lost = 0;
    std::uint64_t kept = 0;
    const auto lose = [&](WideView section, WideView key, const char* why) {
        losses << Shown(section, key) << ' ' << why << '\n';
        ++lost;
    };
    NewProfile profile(newPath);
    TextProfileWriter writer(newPath);
    if (!writer.IsGood())
        return EOutcome::Unwritten;
    for (const BinaryRecord& record : RecordsBySection(records)) {
        auto [section, key] = SplitKey(record.key.CStr());
        if (section.empty()) {
            lose(section, key, "has no section");
            continue;
        }
        section = section.substr(1, section.size() - 2);
        if (!record.isWhole)
            lose(section, key, "is damaged");
        else if (!writer.Write(section, Text(key), *record.value))
            lose(section, key, "is left out: a text profile does not give it back");
        else
            ++kept;
    }
    if (file.Position() < file.Size()) {
        losses << "what follows cannot be read, at byte " << file.Position() << '\n';
        ++lost;
    }
    out << kept << " values\n";
    return file.IsGood() && (kept != 0 || lost == 0) ? profile.Keep(lost) : EOutcome::Unwritten;
}

namespace {

// `Save` makes no file of a profile without values, `Write` does.
class SavedProfile : public BBinProfile {
public:
    using BBinProfile::BBinProfile;
    using BBinProfile::Write;
};

class BinaryConversion {
public:
    BinaryConversion(const WideText& path, BBinProfile& binary, std::ostream& losses)
        : m_text(path.c_str(), ProfileReadOnly)
        , m_binary(binary)
        , m_losses(losses)
    {}

    void ConvertLine(WideView line);
    void TellCounts(std::ostream& out);
    [[nodiscard]] std::uint64_t Lost() const noexcept { return m_lost; }
    [[nodiscard]] bool HasValues() const noexcept { return !m_counts.empty(); }

private:
    void EnterSection(const TextLine& line);
    void ConvertKey(const TextLine& line);
    void ConvertValue(const TextLine& line);
    void Store(const WString& key, const WString& value);
    [[nodiscard]] bool StoreTyped(const WString& key, const std::string& value);
    std::ostream& Lose()
    {
        ++m_lost;
        return m_losses << "line " << m_line << ": ";
    }

    BProfile m_text;
    BBinProfile& m_binary;
    std::ostream& m_losses;
    std::map<std::string, std::uint64_t> m_counts; // by type
    std::set<WideText> m_sections;
    std::set<WideText> m_keys; // of the section at hand
    bool m_isInSection = false;
    bool m_sectionCounts = true; // it is the first of its name
    std::uint64_t m_comments = 0;
    std::uint64_t m_line = 0;
    std::uint64_t m_lost = 0;
};

void BinaryConversion::ConvertLine(WideView line)
{
    ++m_line;
    const TextLine parsed = ParseLine(line);
    switch (parsed.kind) {
    case TextLine::Empty: break;
    case TextLine::Comment: ++m_comments; break;
    case TextLine::Section: EnterSection(parsed); break;
    case TextLine::Key: ConvertKey(parsed); break;
    case TextLine::Other: Lose() << Quoted(parsed.name) << " is no key with a value\n"; break;
    }
}

void BinaryConversion::EnterSection(const TextLine& line)
{
    m_isInSection = true;
    m_keys.clear();
    m_sectionCounts = m_sections.insert(Folded(line.name)).second;
    m_text.SetSection(Text(line.name));
    m_binary.SetSection(Text(line.name));
}

void BinaryConversion::ConvertKey(const TextLine& line)
{
    if (!m_isInSection) {
        Lose() << Quoted(line.name) << " has no section\n";
    } else if (!m_sectionCounts || !m_keys.insert(Folded(line.name)).second) {
        Lose() << Quoted(line.name) << " is there already; the first counts\n";
    } else {
        ConvertValue(line);
    }
}

// What a program reads counts, which may be less than what stands there.
void BinaryConversion::ConvertValue(const TextLine& line)
{
    const WString key = Text(line.name);
    const WString value = m_text.ReadString(key, WString());
    const WideView read(value.CStr());
    WideView whole = line.value;
    const bool isQuoted = whole.size() > 1 && whole.front() == whole.back() &&
                          (whole.front() == '"' || whole.front() == '\'');
    if (isQuoted)
        whole = whole.substr(1, whole.size() - 2);
    if (read.empty() && !whole.empty()) {
        Lose() << Quoted(line.name) << " is not found by programs\n";
        return;
    }
    if (read != whole)
        Lose() << Quoted(line.name) << " is read by programs as another text, which is taken\n";
    Store(key, value);
}

// A type whose text is this very one: so that nothing is lost when the profile is made a text
// again.
bool IsTextOf(double number, const std::string& text)
{
    const std::string shortest = NumberText(number);
    return std::isfinite(number) && (text == shortest || text == shortest + ".0");
}

bool BinaryConversion::StoreTyped(const WString& key, const std::string& value)
{
    const std::string_view type = TypeOf(value);
    const char* const end = value.data() + value.size();
    if (type == "int") {
        int number = 0;
        std::from_chars(value.data(), end, number);
        return std::to_string(number) == value && m_binary.WriteInt(key, number);
    }
    if (type == "double") {
        double number = 0;
        std::from_chars(value.data(), end, number);
        return IsTextOf(number, value) && m_binary.WriteDouble(key, number);
    }
    if (type == "bool")
        return m_binary.WriteBoolean(key, value == "TRUE");
    if (type != "block" || value.find_first_of("abcdef") != std::string::npos)
        return false;
    std::vector<char> block(value.size() / 2 - 1); // the last two digits are the sum
    return m_text.ReadMem(key, block.data(), static_cast<unsigned int>(block.size())) &&
           m_binary.WriteMem(key, block.data(), static_cast<unsigned int>(block.size()));
}

void BinaryConversion::Store(const WString& key, const WString& value)
{
    const std::string text = Utf8(WideView(value.CStr()));
    const bool isTyped = StoreTyped(key, text);
    if (!isTyped)
        m_binary.WriteString(key, value);
    ++m_counts[isTyped ? TypeOf(text) : "text"];
}

void BinaryConversion::TellCounts(std::ostream& out)
{
    if (m_comments != 0) {
        m_losses << m_comments << " lines of comment are left out\n";
        ++m_lost;
    }
    std::string counts;
    for (const auto& [type, count] : m_counts) {
        counts.append(counts.empty() ? "" : ", ")
            .append(std::to_string(count))
            .append(" of type ") += type;
    }
    out << (counts.empty() ? "no values" : "values: " + counts) << '\n';
}

} // namespace

EOutcome ConvertToBinaryProfile(const WideText& path, WideView text, const WideText& newPath,
                                std::ostream& out, std::ostream& losses)
{
    NewProfile profile(newPath);
    SavedProfile binary(newPath.c_str(), ProfileNew);
    BinaryConversion conversion(path, binary, losses);
    while (!text.empty())
        conversion.ConvertLine(TakeLine(text));
    conversion.TellCounts(out);
    const bool isSaved = conversion.HasValues() ? binary.Save() : binary.Write();
    return isSaved ? profile.Keep(conversion.Lost()) : EOutcome::Unwritten;
}

EOutcome ConvertToUtf16(BlockReader& file, EEncoding encoding, const WideText& newPath,
                        std::ostream& losses)
{
    const DecodedText text = Decode(file, encoding);
    if (!text.loss.empty())
        losses << text.loss << '\n';
    return WriteUtf16(text.text, newPath, text.loss.empty() ? EOutcome::Whole : EOutcome::Lossy);
}
