#pragma once

#include "core/platform/Export.h" // asks for C++20

#include <atomic>
#include <cstdint>
#if __has_include(<sys/single_threaded.h>)
# include <sys/single_threaded.h>
# define QD_TELLS_OF_SECOND_THREAD 1
#else
# define QD_TELLS_OF_SECOND_THREAD 0
#endif

/// Counts of owners that may share an object or a text on different threads, and of holders of a
/// lock.
///
/// A locked instruction costs as much as some twenty others, and most programs that build or load a
/// document have one thread. So it is left out while there is no second thread, as
/// `std::shared_ptr` does, where the system tells: glibc from 2.32 on. What a thread has counted
/// before it starts another one is seen by that, for starting a thread orders memory. Windows tells
/// of no such thing, and the locked instruction stands there always.
namespace platform {

/// Whether this is surely the only thread of the process. Asked anew for each count, as any call in
/// between may start a thread.
[[nodiscard]] inline bool IsOnlyThread() noexcept
{
#if QD_TELLS_OF_SECOND_THREAD
    return __libc_single_threaded != 0;
#else
    return false;
#endif
}

/// Adds `change` to a count that other threads change, too, and gives what it was: a locked
/// instruction in the one order of all such steps, none while there is no second thread.
inline std::int64_t AddTo(std::atomic<std::int64_t>& count, std::int64_t change) noexcept
{
    if (!IsOnlyThread())
        return count.fetch_add(change);
    const std::int64_t before = count.load(std::memory_order_relaxed);
    count.store(before + change, std::memory_order_relaxed);
    return before;
}

inline void AddOwner(std::int32_t& count) noexcept
{
    if (IsOnlyThread())
        ++count;
    else
        std::atomic_ref(count).fetch_add(1);
}

/// True when it was the last owner, for one thread only.
[[nodiscard]] inline bool DropOwner(std::int32_t& count) noexcept
{
    if (IsOnlyThread())
        return --count == 0;
    return std::atomic_ref(count).fetch_sub(1) == 1;
}

} // namespace platform
