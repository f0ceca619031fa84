#pragma once

#include "core/base/SP.h"
#include "core/base/WString.h"
#include "core/platform/Export.h"
#include "core/sync/BSyncableInterface.h"

/// The hook through which a process executes commands. The application derives it and registers it;
/// what text, flag, number and context mean is its business.
class QD_CORE_API BCommandExecutionInterface : public BSyncableInterface {
public:
    ~BCommandExecutionInterface() override;

    // The order of the virtual functions is part of the interface.

    virtual int Execute(WString command, bool flag, unsigned long number, void* context) = 0;
};

/// Replaces the process's instance, takes a reference on it and releases the one before; null
/// unregisters. For start-up and shut-down: it must not run beside the functions below. One that is
/// still registered when the process ends is not destroyed.
QD_CORE_API void RegisterCommandExecution(BCommandExecutionInterface* instance);
/// The registered instance; empty when there is none.
[[nodiscard]] QD_CORE_API SP<BCommandExecutionInterface> CommandExecutionInstance();
/// The instance's answer; `kErrorNoCommandExecution` without an instance.
QD_CORE_API int ExecuteCommand(WString command, bool flag, unsigned long number, void* context);
