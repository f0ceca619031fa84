#include "core/memory/BStdMemoryFrame.h"

#include "core/base/BError.h"
#include "core/base/ErrorCodes.h"
#include "core/base/WString.h"
#include "core/memory/CMemoryBlockManager.h"
#include "core/platform/VirtualMemory.h"

BStdMemoryFrame::BStdMemoryFrame(CStdMemoryManager* manager, std::uint64_t size)
    : m_manager(manager)
    , m_start(platform::CommitMemory(size, platform::MemoryPlacement::Anywhere))
    , m_size(size)
{
    if (m_start == nullptr)
        throw BError(kErrorMemory, GetLastErrorMessage(), WString(), WString(), WString());
}

BStdMemoryFrame::~BStdMemoryFrame()
{
    if (m_keepMemory == 0)
        platform::ReleaseMemory(m_start, m_size);
}
