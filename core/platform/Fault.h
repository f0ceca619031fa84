#pragma once

/// A guard against processor faults.
namespace platform {

/// Runs `call(context)` and tells whether it came to its end: false when it read, wrote or jumped to
/// memory that is not there. What the call held at the fault (locks, memory) stays as it was. An
/// exception that `call` throws passes through. Calls may nest and run on any threads at once; a
/// fault outside a guarded call goes where it would have gone without this guard.
[[nodiscard]] bool RunGuarded(void (*call)(void*), void* context);

} // namespace platform
