#pragma once

#include "core/base/BArray.h"
#include "core/base/BProblem.h"
#include "core/base/WString.h"
#include "core/diag/BStopWatch.h"
#include "core/platform/Export.h"

/// A log of how long the steps of a run take, one text file a day:
///
///     BProfiler::SetLogfilePath(QD_W("C:\\logs\\"));
///     BProfiler::Start(QD_W("fit plane"));  // 14:05:09 <tab> Start <tab> fit plane
///     BProfiler::Step(QD_W("points read")); // 1203 <tab> points read
///     BProfiler::Stop(QD_W("fit plane"));   // appends the run to the file
///
/// The file is UTF-16 with a byte-order mark. Several processes may write to one day's file: their
/// runs follow one another. Within the process, one thread at a time.
///
/// Nothing throws but for want of memory. When not all can be written, on a full disk, say, nothing
/// is: the file stays as it was, and the lines are kept in memory for the next `Stop`. Only where
/// the system cannot cut the file off again either, a part of them stands in it twice. Lines that
/// were written are the system's: they are not synchronised with the disk.
class QD_CORE_API BProfiler {
public:
    enum State : int { StateStart = 0, StateStep = 1, StateStop = 2 };

    /// Makes the directory when it is missing, with its parents, and logs to YMD.log in it: the
    /// text of `directory`, which must end with a separator, directly followed by year, month and
    /// day without zeros (201837.log). A relative one is made in the current folder, and looked for
    /// there by each `Stop`. An empty text ends the writing.
    static void SetLogfilePath(WString directory);

    /// Begins a run; one that is open is stopped first.
    static void Start(WString text);
    /// Logs the milliseconds since the start, under "Step" when `text` is empty. Begins a run with
    /// an empty text when none is open.
    static void Step(WString text);
    /// Ends the run and writes it to the file. Nothing happens when none is open.
    static void Stop(WString text);

    /// Why the last `Stop` could not write, or the last `SetLogfilePath` not make its directory;
    /// the next that can clears it.
    [[nodiscard]] static BProblem Problem();

protected:
    BProfiler() = default;

    static void Initialize();
    static void Uninitialize();
    static void Log(State state, WString text);

    static BStopWatch m_swatch;
    static BArray<WString> m_logEntries; // lines that are not written yet
    static WString m_logfilePath;        // empty: nothing is written
    static BProblem m_problem;
    static bool m_running; // a run is open
    static bool m_initialized;
};
