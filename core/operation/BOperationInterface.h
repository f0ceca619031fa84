#pragma once

#include "core/base/BError.h"
#include "core/base/BSmartObj.h"
#include "core/base/WString.h"
#include "core/platform/Export.h"

/// What a long computation reports to, and asks whether it shall stop. It runs as it is on the
/// dispatcher's thread with a BSyncOperationInterface and on a worker with a
/// BAsyncOperationInterface.
class QD_CORE_API BOperationInterface : public virtual BSmartObj {
public:
    ~BOperationInterface() override;

    // The order of the virtual functions is part of the interface.

    [[nodiscard]] virtual bool IsStopping() = 0;
    [[nodiscard]] virtual bool IsStoppingWeak() = 0;
    virtual void StatusInfo(const WString& text) = 0;
    virtual void ProgressInfo(unsigned int percent) = 0;
    virtual void ErrorInfo(const BError& error) = 0;
    /// The status text that was reported under `key`, which goes unless `keep`; empty when there is
    /// none.
    virtual WString FetchStatusMessage(int key, bool keep) = 0;
    /// Asks the computation to stop. Nothing here.
    virtual void Stop();
};
