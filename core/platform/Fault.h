#pragma once

/// Marks a function that calls what may be no object at all, so that a build with sanitizers leaves
/// the answer to the guard.
#if defined(__GNUC__)
# define QD_CALLS_ANYTHING __attribute__((no_sanitize("undefined")))
#else
# define QD_CALLS_ANYTHING
#endif

/// A guard against processor faults.
namespace platform {

/// Runs `call(context)` and tells whether it came to its end: false when the processor refused what
/// it did, as when it read, wrote or jumped to memory that is not there, met no instruction or
/// divided by zero. What the call held at the fault (locks, memory) stays as it was; destructors do
/// not run. An exception that `call` throws passes through.
///
/// Calls may nest and run on any threads at once. The guard stands before all handlers that the
/// process has when the outermost call begins, and only while one is under way: a fault outside of
/// it goes where it would have gone without. A handler that is set during a call stays, and gets
/// that call's faults. If it hands on to the one that it replaced, that is the guard: after a later
/// call, such a handler may be called twice for a fault outside of any, which then ends in the
/// system's own treatment and no longer in the handler from before. Running out of stack is no
/// fault that it catches on every system.
///
/// A process that is forked has the guard of the thread that forked it.
[[nodiscard]] bool RunGuarded(void (*call)(void*), void* context);

} // namespace platform
