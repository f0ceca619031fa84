#include "core/operation/BSyncOperationInterface.h"

#include "core/operation/BDispatcher.h"
#include "core/operation/BProgressManager.h"
#include "core/operation/Messages.h"

BSyncOperationInterface::~BSyncOperationInterface() = default;

bool BSyncOperationInterface::IsStopping()
{
    return QDCurrentThreadIsDispatcherThread() &&
           BProgressManager::InstanceBreakLongOperation(false);
}

bool BSyncOperationInterface::IsStoppingWeak()
{
    return BSyncOperationInterface::IsStopping();
}

// Sent and not posted: the receiver reads the characters before the caller's text goes.
void BSyncOperationInterface::StatusInfo(const WString& text)
{
    if (QDCurrentThreadIsDispatcherThread())
        QDSend(kMessageSyncStatus, reinterpret_cast<std::uint64_t>(text.CStr()), 0);
}

void BSyncOperationInterface::ProgressInfo(unsigned int percent)
{
    if (QDCurrentThreadIsDispatcherThread())
        QDSend(kMessageSyncProgress, percent, 0);
}

void BSyncOperationInterface::ErrorInfo(const BError& error)
{
    if (QDCurrentThreadIsDispatcherThread())
        error.Throw();
}

WString BSyncOperationInterface::FetchStatusMessage(int, bool)
{
    return {};
}
