#include "core/memory/BMemory.h"

#include "core/base/BSmartObj.h"
#include "core/platform/VirtualMemory.h"

#include <cstring>
#include <new>

/// Committed memory that copies share: it goes back to the system when the last lets go of it.
class BMemory::Range final : public BSmartObj {
public:
    explicit Range(std::uint64_t size)
        : m_start(platform::CommitMemory(size, platform::MemoryPlacement::FromTheTop))
        , m_size(m_start != nullptr ? size : 0)
    {}
    Range(const Range&) = delete;
    Range& operator=(const Range&) = delete;
    ~Range() override
    {
        if (m_start != nullptr)
            platform::ReleaseMemory(m_start, m_size);
    }

    [[nodiscard]] void* Start() const { return m_start; }
    [[nodiscard]] std::uint64_t Size() const { return m_size; }

private:
    void* m_start;
    std::uint64_t m_size;
};

BMemory::BMemory() = default;

BMemory::BMemory(const BMemory& other) = default;

BMemory& BMemory::operator=(const BMemory& other) = default;

BMemory::~BMemory()
{
    const platform::SectionGuard guard(m_section.Get());
    m_range = nullptr;
}

void* BMemory::Allocate(std::uint64_t size)
{
    if (size == 0)
        return nullptr;
    platform::EnterSection(*m_section.Get());
    if (!m_range || m_range->Size() < size) {
        m_range = nullptr; // before the larger one is committed, so that both need not fit
        m_range = new (std::nothrow) Range(size);
    }
    return m_range ? m_range->Start() : nullptr;
}

void* BMemory::Duplicate(void* source, std::uint64_t size)
{
    void* const buffer = Allocate(size);
    if (buffer != nullptr && source != nullptr)
        std::memcpy(buffer, source, size);
    return buffer;
}

void BMemory::Release()
{
    platform::LeaveSection(*m_section.Get());
}
