#pragma once

#include <cstdint>

/// Lets allocations of this program fail while it lives: that number `first`, counted from 0, and
/// all behind it or none. Whatever the program links statically is meant: `new` and the C
/// functions.
class FailingAllocations {
public:
    enum class ERange { One, All };

    FailingAllocations(std::uint64_t first, ERange range) noexcept;
    ~FailingAllocations() { Stop(); }
    FailingAllocations(const FailingAllocations&) = delete;
    FailingAllocations& operator=(const FailingAllocations&) = delete;

    /// From here on there is memory again.
    void Stop() noexcept;
    /// Whether an allocation failed.
    [[nodiscard]] bool HaveFailed() const noexcept;

private:
    bool m_hadSmallBlocks; // while it lives, each allocation is one of the heap
};
