#include "tools/qdinspect/Report.h"

#include "core/platform/CodePage.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <nlohmann/json.hpp>
#include <ostream>

// How findings and texts are printed.
//
// A damaged file may hold anything, also sequences that a terminal obeys and marks that turn the
// order of what stands beside them; those are printed as escapes. UTF-8 is made here, as
// conversions that know no half of a surrogate pair would drop it or put another character in its
// place, and it is what a reader of the report looks for.

namespace {

constexpr bool IsLead(char32_t unit)
{
    return unit >= 0xD800 && unit <= 0xDBFF;
}

constexpr bool IsTrail(char32_t unit)
{
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

// Controls, half pairs, marks, and what turns the direction of writing.
constexpr bool IsEscaped(char32_t character)
{
    return character < 0x20 || (character >= 0x7F && character < 0xA0) || IsLead(character) ||
           IsTrail(character) || (character >= 0x200B && character <= 0x200F) ||
           (character >= 0x2028 && character <= 0x202E) ||
           (character >= 0x2060 && character <= 0x206F) || character == 0xFEFF ||
           (character & 0xFFFE) == 0xFFFE;
}

void AppendUtf8(std::string& out, char32_t character)
{
    if (character < 0x80) {
        out += static_cast<char>(character);
        return;
    }
    const int trailing = character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
    const unsigned int lead = 0xFF00u >> (trailing + 1) & 0xFFu; // a one for each byte
    out += static_cast<char>(lead | character >> 6 * trailing);
    for (int i = trailing - 1; i >= 0; --i)
        out += static_cast<char>(0x80u | (character >> 6 * i & 0x3Fu));
}

// A pair is one character; half of one stays by itself.
char32_t TakeCharacter(platform::WideView text, std::size_t& i)
{
    const auto unit = static_cast<char32_t>(text[i++]);
    if (!IsLead(unit) || i == text.size() || !IsTrail(static_cast<char32_t>(text[i])))
        return unit;
    return 0x10000 + ((unit - 0xD800) << 10) + (static_cast<char32_t>(text[i++]) - 0xDC00);
}

platform::WideText Wide(std::string_view text)
{
    platform::WideText units(text.size(), 0);
    units.resize(platform::AnsiToWide(text.data(), text.size(), units.data(), units.size()));
    return units;
}

void AppendUnits(platform::WideText& out, char32_t character)
{
    if (character >= 0x10000) {
        out += static_cast<WChar>(0xD7C0 + (character >> 10));
        character = 0xDC00 | (character & 0x3FF);
    }
    out += static_cast<WChar>(character);
}

// Bold, so that they are seen on a light ground as well as on a dark one.
constexpr const char* kRed = "\x1b[1;31m";
constexpr const char* kYellow = "\x1b[1;33m";
constexpr const char* kGreen = "\x1b[1;32m";

constexpr std::uint64_t kShownEntries = 20; // of a list where not all are wanted

} // namespace

void JsonExport::Property(const char* name, const Json& value)
{
    m_out << (m_hasProperties ? ",\n" : "{\n") << Json(name).dump() << ": " << value.dump();
    m_hasProperties = true;
}

void JsonExport::BeginEntries()
{
    m_out << (m_hasProperties ? ",\n" : "{\n") << "\"entries\": [";
}

void JsonExport::Entry(const Json& entry, std::uint64_t)
{
    if (!m_hasEntries)
        BeginEntries();
    m_out << (m_hasEntries ? ",\n" : "\n") << entry.dump();
    m_hasEntries = true;
}

void JsonExport::End(const Report& report)
{
    if (!m_hasEntries)
        BeginEntries();
    Json damage = Json::array();
    Json suspicious = Json::array();
    for (const Finding& finding : report.Findings())
        (finding.isDamage ? damage : suspicious)
            .push_back({{finding.unit, finding.number}, {"what", finding.text}});
    m_out << "\n],\n\"damage\": " << damage.dump() << ",\n\"suspicious\": " << suspicious.dump()
          << ",\n\"whole\": " << (report.IsWhole() ? "true" : "false") << "\n}\n";
}

void Cut::End(const char* indent, const char* entries)
{
    if (m_count > m_most)
        m_report->TellCut(indent, m_count - m_most, entries);
}

Cut Report::NewCut()
{
    return {*this, MostShown()};
}

std::uint64_t Report::MostShown() const noexcept
{
    return m_showsAll ? (std::numeric_limits<std::uint64_t>::max)() : kShownEntries;
}

void Report::TellCut(const std::string& indent, std::uint64_t count, const char* entries)
{
    Line() << indent << "... " << count << " more " << entries << " (--all shows them)\n";
}

bool Report::IsShown() const
{
    return m_out.good();
}

std::string Report::Marked(const char* text, const char* colour) const
{
    return m_hasColours ? std::string(colour).append(text).append("\x1b[0m") : text;
}

void Report::TellWhole()
{
    if (m_progress != nullptr)
        m_progress->Hide();
    m_damage << (m_isWhole ? Marked("The file is whole.", kGreen)
                           : Marked("The file is damaged.", kRed))
             << '\n';
}

std::ostream& Report::Tell(bool isDamage, const char* unit, std::uint64_t number)
{
    (isDamage ? m_isWhole : m_isSuspicious) = !isDamage;
    if (m_progress != nullptr)
        m_progress->Hide();
    if (m_export != nullptr) {
        m_findings.push_back({unit, number, isDamage, {}});
        return m_texts;
    }
    if (!m_path.empty())
        return (isDamage ? m_damage : m_suspicion)
               << m_path << (unit[0] == 'b' ? ": byte " : ":") << number << ": ";
    return (isDamage ? m_damage << Marked("DAMAGED", kRed)
                     : m_suspicion << Marked("SUSPICIOUS", kYellow))
           << (unit[0] == 'b' ? " at " : " in ") << unit << ' ' << number << ": ";
}

std::ostream& Report::DamageAt(std::uint64_t position)
{
    return Tell(true, "byte", position);
}

std::ostream& Report::DamageInLine(std::uint64_t number)
{
    return Tell(true, "line", number);
}

std::ostream& Report::SuspicionInLine(std::uint64_t number)
{
    return Tell(false, "line", number);
}

std::ostream& Report::SuspicionIn(const std::string& path, std::uint64_t line)
{
    m_isSuspicious = true;
    return m_suspicion << path << ':' << line << ": ";
}

std::vector<Finding> Report::Findings() const
{
    std::vector<Finding> findings = m_findings;
    std::istringstream texts(m_texts.str());
    for (Finding& finding : findings)
        std::getline(texts, finding.text);
    return findings;
}

std::string EscapeOf(char32_t character)
{
    switch (character) {
    case U'\n': return "\\n";
    case U'\r': return "\\r";
    case U'\t': return "\\t";
    default: break;
    }
    if (!IsEscaped(character))
        return {};
    char digits[8];
    const auto value = static_cast<std::uint32_t>(character);
    char* const end = std::to_chars(digits, digits + sizeof digits, value, 16).ptr;
    return "\\x{" + std::string(digits, end) + '}';
}

std::string Quoted(platform::WideView text)
{
    std::string out = "\"";
    for (std::size_t i = 0; i < text.size();) {
        const char32_t character = TakeCharacter(text, i);
        if (const std::string escape = EscapeOf(character); !escape.empty()) {
            out += escape;
            continue;
        }
        // So that an escape is told from a text that reads like one.
        if (character == U'"' || character == U'\\')
            out += '\\';
        AppendUtf8(out, character);
    }
    return out += '"';
}

std::string Quoted(std::string_view text)
{
    return Quoted(platform::WideView(Wide(text)));
}

std::string Utf8(platform::WideView text)
{
    std::string out;
    for (std::size_t i = 0; i < text.size();) {
        const char32_t character = TakeCharacter(text, i);
        AppendUtf8(out, IsLead(character) || IsTrail(character) ? U'\uFFFD' : character);
    }
    return out;
}

std::string Utf8(std::string_view text)
{
    return Utf8(platform::WideView(Wide(text)));
}

platform::WideText FromUtf8(std::string_view bytes, std::uint64_t& faults)
{
    constexpr char32_t least[] = {0, 0x80, 0x800, 0x10000}; // by the count of trailing bytes
    platform::WideText text;
    text.reserve(bytes.size());
    for (std::size_t i = 0; i < bytes.size();) {
        const auto lead = static_cast<unsigned char>(bytes[i]);
        const std::size_t trailing = lead < 0xC0 ? 0 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
        const std::size_t end = i + 1 + trailing;
        char32_t character = trailing == 0 ? lead : lead & (0x3Fu >> trailing);
        std::size_t next = i + 1;
        for (; next < (std::min)(end, bytes.size()) && (bytes[next] & 0xC0) == 0x80; ++next)
            character = character << 6 | (static_cast<unsigned char>(bytes[next]) & 0x3Fu);
        const bool isWhole = next == end && character >= least[trailing] && character < 0x110000 &&
                             !IsLead(character) && !IsTrail(character) &&
                             (trailing != 0 || lead < 0x80);
        if (!isWhole) {
            ++faults;
            character = U'\uFFFD';
            next = i + 1;
        }
        AppendUnits(text, character);
        i = next;
    }
    return text;
}
