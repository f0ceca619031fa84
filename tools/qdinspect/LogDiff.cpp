#include "tools/qdinspect/LogDiff.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <ostream>
#include <unordered_map>

namespace {

// Of two numbers that a damaged log may have anywhere.
std::string Difference(std::int64_t before, std::int64_t now)
{
    const auto between = static_cast<std::int64_t>(static_cast<std::uint64_t>(now) -
                                                   static_cast<std::uint64_t>(before));
    std::string text = between < 0 ? "" : "+";
    return text.append(std::to_string(between)).append(" ms");
}

} // namespace

void LoggedRuns::Entry(const Json& entry, std::uint64_t)
{
    const std::string text = entry["text"].dump();
    if (m_runs.empty() || !entry.contains("ms"))
        m_runs.push_back({entry.contains("ms") ? "\"\"" : text, {}, {}, 0});
    if (!entry.contains("ms"))
        return;
    Run& run = m_runs.back();
    const auto ms = entry["ms"].get<std::int64_t>();
    const std::uint64_t number = ++run.seen[text];
    run.steps.push_back(
        {number == 1 ? text : text + " #" + std::to_string(number), Difference(run.lastMs, ms)});
    run.lastMs = ms;
}

bool LoggedRuns::TellSteps(const Run& before, const Run& now, const std::string& place,
                           std::ostream& out)
{
    bool differs = false;
    const auto tell = [&](char sign, const Step& step) {
        out << sign << ' ' << place << " step " << step.name << ' ' << step.time << '\n';
        differs = true;
    };
    std::unordered_map<std::string, const Step*> others;
    for (const Step& step : now.steps)
        others.emplace(step.name, &step);
    for (const Step& step : before.steps) {
        const auto other = others.find(step.name);
        if (other == others.end() || other->second->time != step.time)
            tell('-', step);
        if (other != others.end() && other->second->time != step.time)
            tell('+', *other->second);
        if (other != others.end())
            others.erase(other);
    }
    for (const Step& step : now.steps) {
        if (others.contains(step.name))
            tell('+', step);
    }
    return differs;
}

bool LoggedRuns::TellDifferences(const LoggedRuns& now, std::ostream& out) const
{
    bool differs = false;
    for (std::size_t i = 0; i < std::max(m_runs.size(), now.m_runs.size()); ++i) {
        const std::string place = "run " + std::to_string(i + 1);
        const Run* const before = i < m_runs.size() ? &m_runs[i] : nullptr;
        const Run* const after = i < now.m_runs.size() ? &now.m_runs[i] : nullptr;
        const bool isSame = before != nullptr && after != nullptr && before->text == after->text;
        differs = differs || !isSame;
        if (!isSame && before != nullptr)
            out << "- " << place << ' ' << before->text << '\n';
        if (!isSame && after != nullptr)
            out << "+ " << place << ' ' << after->text << '\n';
        const Run none;
        differs |= TellSteps(before == nullptr ? none : *before, after == nullptr ? none : *after,
                             place, out);
    }
    return differs;
}
