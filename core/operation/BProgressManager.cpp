#include "core/operation/BProgressManager.h"

#include <utility>

namespace {

// Holds one reference. A plain pointer, so that no manager of an application is destroyed among the
// static objects of this library.
constinit BProgressManager* g_instance = nullptr;

} // namespace

BProgressManager::~BProgressManager() = default;

void BProgressManager::RegisterInstance(SP<BProgressManager> manager)
{
    BSmartObj::Ref(manager.Get());
    BSmartObj::Unref(std::exchange(g_instance, manager.Get()));
}

SP<BProgressManager> BProgressManager::Instance()
{
    return g_instance;
}

bool BProgressManager::InstanceBreakLongOperation(bool ask)
{
    const SP<BProgressManager> instance = Instance();
    return instance && instance->BreakLongOperation(ask);
}

void BProgressManager::InstanceTestUserBreak()
{
    if (const SP<BProgressManager> instance = Instance())
        instance->TestUserBreak();
}
