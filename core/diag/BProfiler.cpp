#include "core/diag/BProfiler.h"

#include "core/platform/Clock.h"
#include "core/platform/FileStream.h"
#include "core/platform/FileSystem.h"

#include <new>
#include <utility>

// Lines are gathered and written when the run ends, so that no step of what is measured waits for a
// disk or for another process. The file is open, and locked, only for that long.

BStopWatch BProfiler::m_swatch;
BArray<WString> BProfiler::m_logEntries;
WString BProfiler::m_logfilePath;
BProblem BProfiler::m_problem;
bool BProfiler::m_running = false;
bool BProfiler::m_initialized = false;

namespace {

// While another process writes its run.
constexpr int kLongestWaitMs = 1000;

// A text that gets no memory is empty: a line would be lost, or the log's path.
const WString& Whole(const WString& text)
{
    if (text.IsEmpty())
        throw std::bad_alloc();
    return text;
}

WString TimedEntry(const WChar* word, const WString& text)
{
    const platform::CalendarTime now = platform::LocalTime();
    WString entry;
    entry.Printf(QD_W("%02d:%02d:%02d\t%s\t%s"), now.hour, now.minute, now.second, word,
                 text.CStr());
    return Whole(entry);
}

WString StepEntry(double elapsedMs, const WString& text)
{
    WString entry;
    entry.Printf(QD_W("%d\t%s"), static_cast<int>(static_cast<std::int64_t>(elapsedMs)),
                 text.IsEmpty() ? QD_W("Step") : text.CStr());
    return Whole(entry);
}

bool AppendLines(const WString& path, const BArray<WString>& lines)
{
    std::uint64_t index = 0;
    return platform::AppendLines(path, kLongestWaitMs, [&]() -> const WChar* {
        return index < lines.Count() ? lines[index++].CStr() : nullptr;
    });
}

BProblem OfSystem(const WString& path)
{
    BProblem problem = BProblem::OfSystem();
    problem.path = path;
    return problem;
}

} // namespace

void BProfiler::SetLogfilePath(WString directory)
{
    if (directory.IsEmpty()) {
        m_logfilePath.Clear();
        m_problem = {};
        return;
    }
    m_problem = platform::PathExists(directory) ||
                        platform::MakeDirectories(platform::FullPath(directory).c_str())
                    ? BProblem()
                    : OfSystem(directory);
    // Named now and not when a run ends: a process that runs past midnight goes on with its file.
    const platform::CalendarTime today = platform::LocalTime();
    WString name;
    name.Printf(QD_W("%d%d%d.log"), today.year, today.month, today.day);
    m_logfilePath = Whole(directory + Whole(name));
}

void BProfiler::Start(WString text)
{
    if (m_running)
        Stop(text);
    Log(StateStart, std::move(text));
}

void BProfiler::Step(WString text)
{
    if (!m_running)
        Start(WString());
    Log(StateStep, std::move(text));
}

void BProfiler::Stop(WString text)
{
    if (m_running)
        Log(StateStop, std::move(text));
}

BProblem BProfiler::Problem()
{
    return m_problem;
}

void BProfiler::Initialize()
{
    m_logEntries.RemoveAll();
    m_initialized = true;
}

void BProfiler::Uninitialize()
{
    m_swatch.Stop();
    m_initialized = false;
    m_logEntries.RemoveAll();
}

void BProfiler::Log(State state, WString text)
{
    if (!m_initialized)
        Initialize();
    switch (state) {
    case StateStart:
        m_logEntries.Append(TimedEntry(QD_W("Start"), text));
        m_swatch.Reset(); // last, so that the line itself is not measured
        m_running = true;
        return;
    case StateStep: m_logEntries.Append(StepEntry(m_swatch.PeriodD(), text)); return;
    case StateStop: break;
    }
    // Intended: no line tells of the stop; readers of the log take what follows a start for its
    // steps.
    m_swatch.Stop();
    m_running = false;
    // Lines that were not written stay for the next stop.
    if (m_logfilePath.IsEmpty())
        return;
    if (!AppendLines(m_logfilePath, m_logEntries)) {
        m_problem = OfSystem(m_logfilePath);
        return;
    }
    m_problem = {};
    m_logEntries.RemoveAll();
}
