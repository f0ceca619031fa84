#include "core/operation/BDispatcher.h"

#include "core/operation/Registered.h"
#include "core/platform/Thread.h"

#include <utility>

// Holds one reference. A plain pointer, so that no dispatcher of an application is destroyed among
// the static objects of this library, when the threads that it waits for are gone already.
constinit BDispatcher* NOperation::g_dispatcher = nullptr;

BDispatcher::~BDispatcher() = default;

void BDispatcher::RegisterDispatcher(SP<BDispatcher> dispatcher)
{
    BSmartObj::Ref(dispatcher.Get());
    BSmartObj::Unref(std::exchange(NOperation::g_dispatcher, dispatcher.Get()));
}

SP<BDispatcher> BDispatcher::Instance()
{
    return NOperation::g_dispatcher;
}

bool BDispatcher::DispatcherSend(unsigned int message, std::uint64_t first, std::uint64_t second)
{
    const SP<BDispatcher> instance = Instance();
    return instance && instance->Send(message, first, second);
}

bool BDispatcher::DispatcherPost(unsigned int message, std::uint64_t first, std::uint64_t second)
{
    const SP<BDispatcher> instance = Instance();
    return instance && instance->Post(message, first, second);
}

unsigned long BDispatcher::DispatcherThreadId()
{
    const SP<BDispatcher> instance = Instance();
    return instance ? instance->ThreadId() : kNoDispatcherThread;
}

bool BDispatcher::CurrentThreadIsDispatcherThread()
{
    const SP<BDispatcher> instance = Instance();
    return instance && instance->ThreadId() == QDCurrentThreadId();
}

void QDSend(unsigned int message, std::uint64_t first, std::uint64_t second)
{
    BDispatcher::DispatcherSend(message, first, second);
}

void QDPost(unsigned int message, std::uint64_t first, std::uint64_t second)
{
    BDispatcher::DispatcherPost(message, first, second);
}

bool QDCurrentThreadIsDispatcherThread()
{
    return BDispatcher::CurrentThreadIsDispatcherThread();
}

unsigned long QDCurrentThreadId() noexcept
{
    return platform::CurrentThreadId();
}
