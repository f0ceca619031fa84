#include "tools/qdinspect/Html.h"
#include "tools/qdinspect/PageParts.h"

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <ostream>
#include <sstream>

// A profiler's log: for each run a timeline, whose pieces are the times between the steps, and a
// table of the steps. Places in a timeline are percents, so that it is as wide as the window and
// its texts stay readable. A run is written at its end, when its length is known.

namespace {

constexpr double kSeen = 0.02;   // percent of the run; a shorter piece is not drawn
constexpr double kLabelled = 12; // percent; a shorter piece has no room for its time

struct Step {
    double ms;
    double between;    // the step before and this one
    std::string begin; // of the row
    std::string text;  // HTML with the notes
};

// Whole numbers in doubles, as those of a damaged log may be too far apart for their difference.
std::string Number(double ms)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.0f", ms);
    return text;
}

double Share(double part, double whole)
{
    return whole > 0 ? 100 * part / whole : 0;
}

std::string Percent(double share)
{
    char text[32];
    std::snprintf(text, sizeof text, "\"%.2f%%\"", share);
    return text;
}

// A round one that divides the time into at most five.
double TickDistance(double total)
{
    double distance = 1; // 1, 2, 5, 10, 20, ...
    for (int i = 0; total > 5 * distance; ++i)
        distance *= i % 3 == 1 ? 2.5 : 2;
    return distance;
}

class LogPart : public PagePart {
public:
    explicit LogPart(std::ostream& out)
        : m_out(out)
    {}

    void Entry(const Json& entry, const Findings& findings) override
    {
        if (entry.contains("ms"))
            AddStep(entry, findings);
        else
            BeginRun(entry);
    }

    void EndEntries(std::uint64_t leftOut) override
    {
        EndRun();
        WriteLeftOut(m_out, leftOut, "lines");
    }

private:
    void BeginRun(const Json& entry);
    void AddStep(const Json& entry, const Findings& findings);
    void EndRun();
    void WriteTimeline(double total, double longest);
    void WriteTicks(double total);
    void WriteSteps(double longest);

    std::ostream& m_out;
    std::vector<Step> m_steps; // of the run at hand
    bool m_isRun = false;
};

void LogPart::BeginRun(const Json& entry)
{
    EndRun();
    m_isRun = true;
    m_out << "<section>\n<h2>" << HtmlOf(entry["start"]) << " &nbsp;"
          << QuotedHtml(entry["text"].get<std::string>()) << "</h2>\n";
}

void LogPart::AddStep(const Json& entry, const Findings& findings)
{
    std::ostringstream begin;
    std::ostringstream text;
    BeginRow(begin, findings);
    text << QuotedHtml(entry["text"].get<std::string>());
    WriteNotes(text, findings);
    const auto ms = entry["ms"].get<double>();
    const double last = m_steps.empty() ? 0 : m_steps.back().ms;
    m_steps.push_back({ms, ms - last, begin.str(), text.str()});
}

void LogPart::EndRun()
{
    double total = 0;
    double longest = 0;
    for (const Step& step : m_steps) {
        total = std::max(total, step.ms);
        longest = std::max(longest, step.between);
    }
    if (!m_steps.empty()) {
        m_out << "<p class=\"quiet\">" << m_steps.size() << " steps in " << Number(total)
              << " ms, at most " << Number(longest) << " ms between two</p>\n";
        WriteTimeline(total, longest);
        WriteSteps(longest);
    }
    m_out << (m_isRun ? "</section>\n" : "");
    m_steps.clear();
    m_isRun = false;
}

void LogPart::WriteTimeline(double total, double longest)
{
    m_out << "<svg class=\"timeline\" role=\"img\" aria-label=\"Timeline of " << m_steps.size()
          << " steps in " << Number(total) << " ms; the table tells the same\">\n";
    WriteTicks(total);
    std::size_t number = 0;
    for (const Step& step : m_steps) {
        ++number;
        const double share = Share(step.between, total);
        if (share < kSeen)
            continue;
        const std::string start = Percent(Share(step.ms - step.between, total));
        const std::string time = '+' + Number(step.between) + " ms";
        const std::string mark = step.between == longest ? " longest" : "";
        m_out << "<rect class=\"piece" << mark << "\" x=" << start
              << " y=\"24\" width=" << Percent(share) << " height=\"34\"><title>step " << number
              << ": " << time << "</title></rect>\n";
        if (share >= kLabelled)
            m_out << "<text class=\"inside" << mark << "\" x=" << start << " dx=\"6\" y=\"45\">"
                  << time << "</text>\n";
    }
    m_out << "</svg>\n";
}

void LogPart::WriteTicks(double total)
{
    const double distance = TickDistance(total);
    for (int number = 0; number * distance <= total; ++number) {
        const double tick = number * distance;
        const double share = Share(tick, total);
        const std::string x = Percent(share);
        m_out << "<line x1=" << x << " x2=" << x << " y1=\"16\" y2=\"66\"/><text x=" << x
              << " y=\"12\"" << (share > 90 ? " text-anchor=\"end\">" : ">") << Number(tick)
              << (tick == 0 ? "" : " ms") << "</text>\n";
    }
}

void LogPart::WriteSteps(double longest)
{
    m_out << "<div class=\"scroll\">\n<table class=\"steps\">\n<thead><tr><th scope=\"col\" "
             "class=\"number\">ms</th>"
             "<th scope=\"col\" class=\"number\">Between</th>"
             "<th scope=\"col\" class=\"between optional\"><span class=\"quiet\">Share</span></th>"
             "<th scope=\"col\">Step</th></tr></thead>\n<tbody>\n";
    for (const Step& step : m_steps) {
        m_out << step.begin << "<td class=\"number\">" << Number(step.ms)
              << "</td><td class=\"number\">" << (step.between < 0 ? "" : "+")
              << Number(step.between) << "</td><td class=\"between optional\">"
              << "<svg aria-hidden=\"true\"><rect"
              << (step.between == longest ? " class=\"longest\"" : "")
              << " height=\"100%\" width=" << Percent(std::max(Share(step.between, longest), 0.0))
              << "/></svg></td><td>" << step.text << "</td></tr>\n";
    }
    m_out << "</tbody>\n</table>\n</div>\n";
}

} // namespace

std::unique_ptr<PagePart> NewLogPart(std::ostream& out)
{
    return std::make_unique<LogPart>(out);
}
