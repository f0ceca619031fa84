#pragma once

#include "core/diag/BProfiler.h"

/// Sees what the profiler keeps, and begins and ends with nothing.
class OpenProfiler : public BProfiler {
public:
    OpenProfiler() { Forget(); }
    ~OpenProfiler() { Forget(); }

    /// Writes a run of `line` alone; a start's own line has the time of the day in it.
    static void Run(const WChar* line)
    {
        Start(WString());
        m_logEntries[m_logEntries.Count() - 1] = line;
        Stop(WString());
    }

    using BProfiler::Initialize;
    using BProfiler::m_initialized;
    using BProfiler::m_logEntries;
    using BProfiler::m_logfilePath;
    using BProfiler::m_running;
    using BProfiler::m_swatch;
    using BProfiler::Uninitialize;

private:
    static void Forget()
    {
        Uninitialize();
        m_running = false;
        SetLogfilePath(WString());
    }
};
