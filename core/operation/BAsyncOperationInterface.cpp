#include "core/operation/BAsyncOperationInterface.h"

#include "core/base/ErrorCodes.h"
#include "core/operation/BDispatcher.h"
#include "core/operation/Messages.h"
#include "core/platform/WindowMessage.h"
#include "core/sync/BAutoLock.h"

#include <algorithm>

// Two locks guard the fields. The object's own one belongs to the interface: an application may
// hold it over several calls. But it lets a second reader in while the first still waits for a
// writer to leave, and a text that is read while it is written would be torn; so each access also
// takes the section, which lets in one.
//
// Messages go out when both are given back. A receiver on the dispatcher's thread gets them inside
// the call, and may stop the operation or fetch a text, also from another thread that it waits for.

namespace {

/// Holds the lock of an operation and its section besides. No counted guard: each would use up an
/// object number of the process, and workers ask all the time whether to stop.
template <class AutoLock>
class Guard {
public:
    Guard(const BSyncableInterface& lock, const platform::CriticalSection& section)
        : m_lock(lock)
        , m_section(section.Get())
    {}

private:
    const AutoLock m_lock;
    const platform::SectionGuard m_section;
};
using ReadGuard = Guard<BAutoLockR>;
using WriteGuard = Guard<BAutoLockW>;

} // namespace

BAsyncOperationInterface::BAsyncOperationInterface()
    : m_error(kErrorNone)
{}

BAsyncOperationInterface::BAsyncOperationInterface(const BAsyncOperationInterface& other) = default;

BAsyncOperationInterface& BAsyncOperationInterface::operator=(
    const BAsyncOperationInterface& other) = default;

BAsyncOperationInterface::~BAsyncOperationInterface() = default;

BError BAsyncOperationInterface::GetError()
{
    const ReadGuard guard(*this, m_section);
    return m_error;
}

void BAsyncOperationInterface::SetError(const BError& error)
{
    const WriteGuard guard(*this, m_section);
    m_error = error;
}

void BAsyncOperationInterface::SetMessageSink(HWND window)
{
    const WriteGuard guard(*this, m_section);
    m_sink = window;
}

HWND BAsyncOperationInterface::GetMessageSink()
{
    const ReadGuard guard(*this, m_section);
    return m_sink;
}

void BAsyncOperationInterface::ActivateBreak(bool) {}

bool BAsyncOperationInterface::BreakLongOperation(bool)
{
    return WasStopped();
}

void BAsyncOperationInterface::TestUserBreak() const
{
    if (WasStopped())
        throw BError(kErrorUserBreak);
}

bool BAsyncOperationInterface::IsStopping()
{
    return WasStopped();
}

bool BAsyncOperationInterface::IsStoppingWeak()
{
    return WasStopped();
}

void BAsyncOperationInterface::StatusInfo(const WString& text)
{
    HWND sink = nullptr;
    std::uint32_t key = 0;
    {
        const WriteGuard guard(*this, m_section);
        // Counted only once the text is kept, which may fail for want of memory.
        key = m_statusCounter + 1;
        m_statusTexts.AddTail({static_cast<std::int32_t>(key), text});
        m_statusCounter = key;
        sink = m_sink;
    }
    if (sink != nullptr)
        platform::PostToWindow(sink, kMessageWindowStatus, key, 0);
    else
        Deliver(kMessageAsyncStatus, key);
}

void BAsyncOperationInterface::ProgressInfo(unsigned int percent)
{
    // Intended: windows show 100 only when the operation says that it is done.
    constexpr unsigned int kWindowLimit = 99;
    if (const HWND sink = GetMessageSink(); sink != nullptr)
        platform::PostToWindow(sink, kMessageWindowProgress, std::min(percent, kWindowLimit), 0);
    else
        Deliver(kMessageAsyncProgress, percent);
}

void BAsyncOperationInterface::ErrorInfo(const BError& error)
{
    SetError(error);
    Deliver(kMessageAsyncError, 0);
}

WString BAsyncOperationInterface::FetchStatusMessage(int key, bool keep)
{
    const WriteGuard guard(*this, m_section);
    // Few wait, and the one that is asked for is mostly the first.
    const auto found = std::ranges::find(m_statusTexts, key, &StatusText::key);
    if (found == m_statusTexts.end())
        return {};
    WString text = found->text;
    if (!keep)
        m_statusTexts.Erase(found);
    return text;
}

void BAsyncOperationInterface::Stop()
{
    const WriteGuard guard(*this, m_section);
    m_stopped = true;
}

bool BAsyncOperationInterface::WasStopped() const
{
    const ReadGuard guard(*this, m_section);
    return m_stopped;
}

void BAsyncOperationInterface::Deliver(unsigned int message, std::uint64_t second) const
{
    // Asked for once: what `ThreadId` says must be true of the one that sends.
    const SP<BDispatcher> dispatcher = BDispatcher::Instance();
    if (!dispatcher)
        return;
    const auto operation = reinterpret_cast<std::uint64_t>(this);
    if (dispatcher->ThreadId() == QDCurrentThreadId())
        dispatcher->Send(message, operation, second);
    else
        dispatcher->Post(message, operation, second);
}
