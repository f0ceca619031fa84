#pragma once

#include "core/base/SP.h"
#include "core/platform/CriticalSection.h"
#include "core/platform/Export.h"

#include <cstdint>

/// One scratch buffer for many uses, one at a time: it only grows, and belongs to the thread that
/// asked for it until that calls `Release`, once for each `Allocate` of a size above 0.
///
///     void* buffer = memory.Allocate(size);
///     ...
///     memory.Release();
///
/// Its destruction waits until the buffer is released.
class QD_CORE_API BMemory {
public:
    BMemory();
    /// Intended: a copy and its original share one buffer, until one of them grows; each has a lock
    /// of its own, so that they must not be used at the same time.
    BMemory(const BMemory& other);
    BMemory& operator=(const BMemory& other);
    virtual ~BMemory();

    /// The buffer, with room for at least `size` bytes; waits while another thread has it. It holds
    /// what was left in it, zeros once it has grown. Null when the system has no memory, which is
    /// to be released, too. Size 0 gives null and nothing to release.
    void* Allocate(std::uint64_t size);
    /// `Allocate` and a copy of `size` bytes from `source`, which may be null and does not lie in
    /// the buffer: growing ends the old one.
    void* Duplicate(void* source, std::uint64_t size);
    /// Asserts that the thread has the buffer.
    void Release();

private:
    class Range;

    SP<Range> m_range; // guarded by m_section; empty while nothing is committed
    platform::CriticalSection m_section;
};
