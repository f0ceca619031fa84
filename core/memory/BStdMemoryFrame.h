#pragma once

#include "core/base/BSmartObj.h"
#include "core/platform/Export.h"

#include <cstdint>

class CStdMemoryManager;

/// A range of committed pages in which a CStdMemoryManager places its blocks.
class QD_CORE_API BStdMemoryFrame : public BSmartObj {
public:
    /// Commits `size` bytes, a whole number of pages. Throws BError `kErrorMemory` with the
    /// system's text when it refuses, as it does for size 0.
    BStdMemoryFrame(CStdMemoryManager* manager, std::uint64_t size);
    BStdMemoryFrame(const BStdMemoryFrame&) = delete;
    BStdMemoryFrame& operator=(const BStdMemoryFrame&) = delete;
    /// Gives the pages back unless they are kept.
    ~BStdMemoryFrame() override;

    [[nodiscard]] void* Start() const noexcept { return m_start; }
    [[nodiscard]] std::uint64_t Size() const noexcept { return m_size; }
    /// Not counted.
    [[nodiscard]] CStdMemoryManager* Manager() const noexcept { return m_manager; }

    /// Lets the pages outlive the frame; off at first.
    void KeepMemory(bool keep) noexcept { m_keepMemory = keep ? 1 : 0; }

private:
    CStdMemoryManager* m_manager;
    void* m_start;
    std::uint64_t m_size;
    std::int32_t m_keepMemory = 0;
};
