#include "tools/qdinspect/TextProfile.h"

#include "core/platform/CharClass.h"

#include "tools/qdinspect/FileKind.h"
#include "tools/qdinspect/Inspectors.h"
#include "tools/qdinspect/Report.h"

#include <charconv>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <ostream>
#include <set>
#include <string>
#include <string_view>

// A text profile's file, line by line.
//
// The functions that profiles read such files with find a value by section and key, and say nothing
// of lines that they pass over. Here every line is looked at, by the same rules as far as they tell
// what a line is.

namespace {

using platform::WideText;
using platform::WideView;

WideView Trimmed(WideView text)
{
    const auto isBlank = [](WChar unit) { return unit == ' ' || unit == '\t' || unit == '\r'; };
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

// Bytes as `ProfileUpdate::SetBlock` writes them: two digits each, and their sum as a last one.
bool IsBlock(std::string_view digits)
{
    unsigned int sum = 0;
    unsigned int last = 0;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        const auto end = digits.data() + i + 2;
        if (std::from_chars(digits.data() + i, end, last, 16).ptr != end)
            return false;
        sum += last;
    }
    return digits.size() > 2 && digits.size() % 2 == 0 && (sum - last) % 256 == last;
}

// Digits as of a block, in a text of them that nobody types: its sum is wrong then.
bool IsBrokenBlock(std::string_view digits)
{
    constexpr std::size_t least = 20; // more than a number has
    return digits.size() >= least && digits.size() % 2 == 0 && !IsBlock(digits) &&
           digits.find_first_not_of("0123456789ABCDEF") == std::string_view::npos;
}

template <class Number>
bool IsNumber(std::string_view text)
{
    Number number;
    const char* const end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, number);
    return read.ec == std::errc() && read.ptr == end;
}

} // namespace

TextLine ParseLine(WideView line)
{
    line = Trimmed(line);
    if (line.empty())
        return {};
    if (line.front() == ';')
        return {TextLine::Comment, line, {}, true};
    if (line.front() == '[') {
        const std::size_t end = line.rfind(']');
        const bool isClosed = end != WideView::npos;
        const WideView name = Trimmed(line.substr(1, isClosed ? end - 1 : end));
        return {TextLine::Section, name, {}, isClosed};
    }
    const std::size_t equals = line.find(WChar('='));
    const WideView key = Trimmed(line.substr(0, equals));
    if (equals == WideView::npos || key.empty())
        return {TextLine::Other, line, {}, true};
    return {TextLine::Key, key, Trimmed(line.substr(equals + 1)), true};
}

WideText Folded(WideView name)
{
    WideText folded(name);
    for (WChar& unit : folded)
        unit = platform::ToLower(unit);
    return folded;
}

const char* TypeOf(std::string_view value)
{
    if (IsNumber<std::int32_t>(value))
        return "int";
    if (IsBlock(value))
        return "block";
    if (IsNumber<double>(value))
        return "double";
    return value == "TRUE" || value == "FALSE" ? "bool" : "text";
}

namespace {

class TextProfileInspector {
public:
    explicit TextProfileInspector(Report& report)
        : m_report(report)
        , m_shown(report.NewCut())
    {}

    void InspectLine(WideView line)
    {
        ++m_line;
        if (line.find(WChar(0)) != WideView::npos)
            m_report.DamageInLine(m_line) << "a zero in the text\n";
        const TextLine parsed = ParseLine(line);
        switch (parsed.kind) {
        case TextLine::Section: InspectSection(parsed); break;
        case TextLine::Key: InspectKey(parsed); break;
        case TextLine::Other:
            m_report.DamageInLine(m_line) << Quoted(parsed.name) << " is no key with a value\n";
            break;
        default: break;
        }
    }

    void End()
    {
        m_shown.End("  ", "keys");
        m_report.Line() << m_sections.size() << " sections, " << m_keyCount << " keys\n";
    }

private:
    void InspectSection(const TextLine& line)
    {
        m_keys.clear();
        m_shown.End("  ", "keys");
        m_shown = m_report.NewCut();
        m_section = line.name;
        m_report.Line() << "line " << m_line << ": section " << Quoted(line.name) << '\n';
        if (!line.isClosed)
            m_report.DamageInLine(m_line) << "no bracket ends the name of the section\n";
        m_sectionCounts = m_sections.insert(Folded(line.name)).second;
        if (!m_sectionCounts)
            m_report.DamageInLine(m_line) << "the section is there already; the first counts\n";
    }

    void InspectKey(const TextLine& line)
    {
        ++m_keyCount;
        const bool isFirst = m_keys.insert(Folded(line.name)).second;
        ShowValue(line.name, line.value, isFirst && m_sectionCounts);
        if (!isFirst)
            m_report.DamageInLine(m_line) << "the key is there already; the first counts\n";
        if (m_sections.empty())
            m_report.SuspicionInLine(m_line)
                << "no section is above the key: programs do not find it\n";
    }

    void ShowValue(WideView key, WideView value, bool counts)
    {
        const std::string text = Utf8(value);
        const std::string_view type = TypeOf(text);
        if (m_shown.Shows())
            m_report.Line() << "  line " << m_line << ": " << Quoted(key) << " = " << type << ' '
                            << (type == "text" ? Quoted(value) : text) << '\n';
        if (IsBrokenBlock(text))
            m_report.SuspicionInLine(m_line)
                << "it reads like a block, but programs take none whose sum is wrong\n";
        if (EntrySink* const entries = m_report.NextEntry()) {
            entries->Entry({{"line", m_line},
                            {"section", Utf8(m_section)},
                            {"key", Utf8(key)},
                            {"type", type},
                            {"value", text},
                            {"counts", counts}},
                           m_line + 1);
        }
    }

    Report& m_report;
    Cut m_shown; // keys of the section at hand
    std::set<WideText> m_sections;
    WideText m_section;
    bool m_sectionCounts = true; // it is the first of its name
    std::set<WideText> m_keys;   // of the section at hand
    std::uint64_t m_line = 0;
    std::uint64_t m_keyCount = 0;
};

} // namespace

void InspectTextProfile(const WideText& text, Report& report)
{
    report.Line() << "text profile\n";
    TextProfileInspector inspector(report);
    for (WideView rest = text; !rest.empty();) {
        report.TellProgress(text.size() - rest.size(), text.size());
        inspector.InspectLine(TakeLine(rest));
    }
    inspector.End();
}
