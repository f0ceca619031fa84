#include "core/platform/CharClass.h"
#include "core/platform/WideText.h"

#include "tools/qdinspect/Inspectors.h"
#include "tools/qdinspect/Report.h"

#include <cstdint>
#include <ostream>
#include <set>

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

// Names go without regard to case: of ASCII here, which is that of nearly all of them.
WideText Folded(WideView name)
{
    WideText folded(name);
    for (WChar& unit : folded)
        unit = platform::ToLower(unit);
    return folded;
}

class TextProfileInspector {
public:
    explicit TextProfileInspector(Report& report)
        : m_report(report)
    {}

    void InspectLine(WideView line)
    {
        ++m_line;
        line = Trimmed(line);
        if (line.find(WChar(0)) != WideView::npos)
            m_report.DamageInLine(m_line) << "a zero in the text\n";
        if (line.empty() || line.front() == ';')
            return;
        if (line.front() == '[')
            InspectSection(line);
        else
            InspectKey(line);
    }

    void End() { m_report.Line() << m_sections.size() << " sections, " << m_keyCount << " keys\n"; }

private:
    void InspectSection(WideView line)
    {
        m_keys.clear();
        const std::size_t end = line.rfind(']');
        const WideView name = Trimmed(line.substr(1, end == WideView::npos ? end : end - 1));
        m_report.Line() << "line " << m_line << ": section " << Quoted(name) << '\n';
        if (end == WideView::npos)
            m_report.DamageInLine(m_line) << "no bracket ends the name of the section\n";
        if (!m_sections.insert(Folded(name)).second)
            m_report.DamageInLine(m_line) << "the section is there already; the first counts\n";
    }

    void InspectKey(WideView line)
    {
        const std::size_t equals = line.find(WChar('='));
        const WideView key = Trimmed(line.substr(0, equals));
        if (equals == WideView::npos || key.empty()) {
            m_report.DamageInLine(m_line) << Quoted(line) << " is no key with a value\n";
            return;
        }
        ++m_keyCount;
        m_report.Line() << "line " << m_line << ": " << Quoted(key) << " = "
                        << Quoted(Trimmed(line.substr(equals + 1))) << '\n';
        if (!m_keys.insert(Folded(key)).second)
            m_report.DamageInLine(m_line) << "the key is there already; the first counts\n";
    }

    Report& m_report;
    std::set<WideText> m_sections;
    std::set<WideText> m_keys; // of the section at hand
    std::uint64_t m_line = 0;
    std::uint64_t m_keyCount = 0;
};

} // namespace

void InspectTextProfile(const WideText& text, Report& report)
{
    report.Line() << "text profile\n";
    TextProfileInspector inspector(report);
    for (WideView rest = text; !rest.empty();) {
        const std::size_t end = rest.find(WChar('\n'));
        inspector.InspectLine(rest.substr(0, end));
        rest.remove_prefix(end == WideView::npos ? rest.size() : end + 1);
    }
    inspector.End();
}
