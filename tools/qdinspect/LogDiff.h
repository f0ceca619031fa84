#pragma once

#include "tools/qdinspect/Report.h"

#include <cstdint>
#include <iosfwd>
#include <string>
#include <unordered_map>
#include <vector>

/// The runs of a profiler's log with the time before each step.
class LoggedRuns : public EntrySink {
public:
    void Property(const char*, const Json&) override {}
    void Entry(const Json& entry, std::uint64_t end) override;

    /// Prints the steps that came, went or took another time, a line each: "-" was there before,
    /// "+" is there now. Runs are compared in their order, whenever they began. False when nothing
    /// differs.
    [[nodiscard]] bool TellDifferences(const LoggedRuns& now, std::ostream& out) const;

private:
    struct Step {
        std::string name; // quoted; with a number where the run has had the text before
        std::string time; // since the step before
    };
    struct Run {
        std::string text;
        std::vector<Step> steps;
        std::unordered_map<std::string, std::uint64_t> seen; // texts of steps
        std::int64_t lastMs = 0;
    };

    [[nodiscard]] static bool TellSteps(const Run& before, const Run& now, const std::string& place,
                                        std::ostream& out);

    std::vector<Run> m_runs;
};
