#include "core/platform/Event.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

namespace platform {

/// Nobody takes the mutex before somebody has to sleep: who sets announces that before looking for
/// waiters, and who waits announces that before looking whether it was set.
class Event::Shared {
public:
    void Ref() noexcept { m_references.fetch_add(1, std::memory_order_relaxed); }
    void Unref() noexcept
    {
        if (m_references.fetch_sub(1, std::memory_order_acq_rel) == 1)
            delete this;
    }

    void Set() noexcept
    {
        m_signalled.store(true, std::memory_order_release);
        m_sets.fetch_add(1);
        if (m_waiters.load() == 0)
            return;
        const std::scoped_lock lock(m_mutex);
        m_set.notify_all();
    }
    void Reset() noexcept { m_signalled.store(false, std::memory_order_release); }

    [[nodiscard]] bool IsSignalled() const noexcept
    {
        return m_signalled.load(std::memory_order_acquire);
    }
    /// `sleep` gets the condition variable, the held lock and what to wait for; its answer is ours.
    template <class F>
    bool Wait(F sleep)
    {
        std::unique_lock lock(m_mutex);
        m_waiters.fetch_add(1);
        const std::uint32_t seen = m_sets.load();
        const bool result =
            sleep(m_set, lock, [&] { return IsSignalled() || m_sets.load() != seen; });
        m_waiters.fetch_sub(1);
        return result;
    }

private:
    std::atomic<std::uint32_t> m_references = 1;
    std::atomic<bool> m_signalled = true;
    std::atomic<std::uint32_t> m_sets = 0; // how often it was set; begins again at 0
    std::atomic<std::uint32_t> m_waiters = 0;
    std::mutex m_mutex;
    std::condition_variable m_set;
};

Event::Event()
    : m_shared(new Shared)
{}

Event::Event(const Event& other) noexcept
    : m_shared(other.m_shared)
{
    m_shared->Ref();
}

Event& Event::operator=(const Event& other) noexcept
{
    other.m_shared->Ref();
    m_shared->Unref();
    m_shared = other.m_shared;
    return *this;
}

Event::~Event()
{
    m_shared->Unref();
}

void Event::Set() noexcept
{
    m_shared->Set();
}

void Event::Reset() noexcept
{
    m_shared->Reset();
}

void Event::Wait() const
{
    if (m_shared->IsSignalled())
        return;
    const Event kept = *this; // this one may end meanwhile
    kept.m_shared->Wait([](auto& set, auto& lock, auto isSet) {
        set.wait(lock, isSet);
        return true;
    });
}

bool Event::WaitFor(std::uint32_t timeoutMs) const
{
    if (m_shared->IsSignalled())
        return true;
    const Event kept = *this; // this one may end meanwhile
    return kept.m_shared->Wait([timeoutMs](auto& set, auto& lock, auto isSet) {
        return set.wait_for(lock, std::chrono::milliseconds(timeoutMs), isSet);
    });
}

} // namespace platform
