#include "core/platform/WideText.h"

#include "tools/qdinspect/FileKind.h"
#include "tools/qdinspect/Inspectors.h"
#include "tools/qdinspect/Report.h"

#include <charconv>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <ostream>

// A profiler's log as a timeline. A run is a line with the time of its start, then a line for each
// step with the milliseconds since then; what a reader wants to know is the time between steps.

namespace {

using platform::WideView;

struct LogLine {
    std::optional<std::int64_t> ms; // of a step; the line begins a run without it
    WideView time;                  // of a start
    WideView text;
};

std::optional<std::int64_t> Number(WideView digits)
{
    std::string narrow;
    for (const WChar unit : digits)
        narrow += unit < 0x80 ? static_cast<char>(unit) : '?';
    std::int64_t number = 0;
    const char* const end = narrow.data() + narrow.size();
    const auto read = std::from_chars(narrow.data(), end, number);
    return read.ec == std::errc() && read.ptr == end ? std::optional(number) : std::nullopt;
}

std::optional<LogLine> Parse(WideView line)
{
    constexpr WideView start = QD_W("Start\t");
    const std::size_t tab = line.find(WChar('\t'));
    if (tab == WideView::npos)
        return std::nullopt;
    LogLine parsed{.ms = Number(line.substr(0, tab)),
                   .time = line.substr(0, tab),
                   .text = line.substr(tab + 1)};
    if (parsed.ms)
        return parsed;
    if (!parsed.text.starts_with(start))
        return std::nullopt;
    parsed.text.remove_prefix(start.size());
    return parsed;
}

std::string Ascii(WideView text)
{
    const std::string quoted = Quoted(text);
    return quoted.substr(1, quoted.size() - 2);
}

std::string Padded(std::int64_t number)
{
    std::string text = std::to_string(number);
    return text.insert(0, text.size() < 9 ? 9 - text.size() : 0, ' ');
}

class LogInspector {
public:
    explicit LogInspector(Report& report)
        : m_report(report)
        , m_steps(report.NewCut())
    {}

    void InspectLine(WideView line)
    {
        ++m_line;
        if (line.empty())
            return;
        const std::optional<LogLine> parsed = Parse(line);
        if (!parsed) {
            m_report.SuspicionInLine(m_line)
                << Quoted(line) << " is no line of a log, or the text before it goes on\n";
        } else if (parsed->ms) {
            InspectStep(*parsed);
        } else {
            InspectStart(*parsed);
        }
    }

    // Programs write whole lines.
    void End(bool isCut)
    {
        EndRun();
        if (isCut)
            m_report.DamageInLine(m_line) << "the file ends in the middle of a line\n";
        m_report.Line() << m_runs << " runs, " << m_stepCount << " steps\n";
    }

private:
    void InspectStart(const LogLine& line)
    {
        EndRun();
        ++m_runs;
        m_last = 0;
        if (EntrySink* const entries = m_report.NextEntry()) {
            entries->Entry(
                {{"line", m_line}, {"start", Utf8(line.time)}, {"text", Utf8(line.text)}},
                m_line + 1);
        }
        m_report.Line() << Ascii(line.time) << ' ' << Quoted(line.text) << '\n';
    }

    void InspectStep(const LogLine& line)
    {
        const std::int64_t ms = *line.ms;
        ++m_stepCount;
        if (m_runs == 0)
            m_report.DamageInLine(m_line) << "a step before the first run\n";
        if (ms < m_last)
            m_report.SuspicionInLine(m_line)
                << "the step is earlier than the one before it, at " << m_last << " ms\n";
        if (m_steps.Shows())
            m_report.Line() << "  " << Padded(ms) << " ms  " << (ms < m_last ? "" : "+")
                            << ms - m_last << "  " << Quoted(line.text) << '\n';
        if (EntrySink* const entries = m_report.NextEntry())
            entries->Entry({{"line", m_line}, {"ms", ms}, {"text", Utf8(line.text)}}, m_line + 1);
        m_last = ms;
    }

    void EndRun()
    {
        m_steps.End("  ", "steps");
        m_steps = m_report.NewCut();
    }

    Report& m_report;
    Cut m_steps; // of the run at hand
    std::uint64_t m_line = 0;
    std::uint64_t m_runs = 0;
    std::uint64_t m_stepCount = 0;
    std::int64_t m_last = 0; // milliseconds at the step before
};

} // namespace

void InspectLog(WideView text, Report& report)
{
    report.Line() << "profiler's log\n";
    LogInspector inspector(report);
    for (WideView rest = text; !rest.empty();) {
        report.TellProgress(text.size() - rest.size(), text.size());
        inspector.InspectLine(TakeLine(rest));
    }
    inspector.End(!text.ends_with(WChar('\n')) && !text.empty());
}
