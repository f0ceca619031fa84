#include "core/operation/BCommandExecutionInterface.h"

#include "core/base/ErrorCodes.h"

#include <utility>

namespace {

// Holds one reference. A plain pointer, so that no object of an application is destroyed among the
// static objects of this library.
constinit BCommandExecutionInterface* g_instance = nullptr;

} // namespace

BCommandExecutionInterface::~BCommandExecutionInterface() = default;

void RegisterCommandExecution(BCommandExecutionInterface* instance)
{
    BSmartObj::Ref(instance);
    BSmartObj::Unref(std::exchange(g_instance, instance));
}

SP<BCommandExecutionInterface> CommandExecutionInstance()
{
    return g_instance;
}

int ExecuteCommand(WString command, bool flag, unsigned long number, void* context)
{
    const SP<BCommandExecutionInterface> instance = CommandExecutionInstance();
    return instance ? instance->Execute(std::move(command), flag, number, context)
                    : kErrorNoCommandExecution;
}
