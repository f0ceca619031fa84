#pragma once

#include "core/operation/BOperationInterface.h"
#include "core/platform/Export.h"

/// Reports to the dispatcher from its own thread. On any other thread, and without a dispatcher,
/// nothing happens and the answers are false and empty.
class QD_CORE_API BSyncOperationInterface : public BOperationInterface {
public:
    ~BSyncOperationInterface() override;

    /// The progress manager's answer; false without one.
    [[nodiscard]] bool IsStopping() override;
    [[nodiscard]] bool IsStoppingWeak() override;
    /// Sends `kMessageSyncStatus` with the address of the characters, which is good during the
    /// send.
    void StatusInfo(const WString& text) override;
    /// Sends `kMessageSyncProgress` with `percent`, whatever it is.
    void ProgressInfo(unsigned int percent) override;
    /// Throws a copy of `error`.
    void ErrorInfo(const BError& error) override;
    /// Always empty: texts are delivered at once.
    WString FetchStatusMessage(int key, bool keep) override;
};
