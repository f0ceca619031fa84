#include "tools/qdinspect/Report.h"

#include "core/platform/CodePage.h"

#include <charconv>
#include <limits>
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

void AppendEscape(std::string& out, char32_t character)
{
    switch (character) {
    case U'\n': out += "\\n"; return;
    case U'\r': out += "\\r"; return;
    case U'\t': out += "\\t"; return;
    default: break;
    }
    char digits[8];
    const auto value = static_cast<std::uint32_t>(character);
    out += "\\x{";
    out.append(digits, std::to_chars(digits, digits + sizeof digits, value, 16).ptr);
    out += '}';
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

// Entries of a list that are shown.
constexpr std::uint64_t kShownEntries = 20;

} // namespace

void Cut::End(const char* indent, const char* entries)
{
    if (m_count > m_most)
        m_report->Line() << indent << "... " << m_count - m_most << " more " << entries
                         << " (--all shows them)\n";
}

Cut Report::NewCut()
{
    return {*this, m_showsAll ? (std::numeric_limits<std::uint64_t>::max)() : kShownEntries};
}

bool Report::IsShown() const
{
    return m_out.good();
}

std::ostream& Report::DamageAt(std::uint64_t position)
{
    m_isWhole = false;
    return m_damage << "DAMAGED at byte " << position << ": ";
}

std::ostream& Report::DamageInLine(std::uint64_t number)
{
    m_isWhole = false;
    return m_damage << "DAMAGED in line " << number << ": ";
}

std::ostream& Report::SuspicionInLine(std::uint64_t number)
{
    m_isSuspicious = true;
    return m_suspicion << "SUSPICIOUS in line " << number << ": ";
}

std::string Quoted(platform::WideView text)
{
    std::string out = "\"";
    for (std::size_t i = 0; i < text.size(); ++i) {
        // A pair is one character; half of one stays by itself, and is escaped.
        char32_t character = static_cast<char32_t>(text[i]);
        if (IsLead(character) && i + 1 < text.size() && IsTrail(static_cast<char32_t>(text[i + 1])))
            character = 0x10000 + ((character - 0xD800) << 10) +
                        (static_cast<char32_t>(text[++i]) - 0xDC00);
        if (IsEscaped(character)) {
            AppendEscape(out, character);
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
    platform::WideText units(text.size(), 0);
    units.resize(platform::AnsiToWide(text.data(), text.size(), units.data(), units.size()));
    return Quoted(platform::WideView(units));
}
