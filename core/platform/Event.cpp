#include "core/platform/Event.h"

#include <atomic>
#include <cassert>
#include <chrono>
#include <condition_variable>
#include <mutex>

// The event of the locks: set while no reader is inside, so it is looked at by each writer and put
// by each first and last reader, mostly with nobody waiting. A kernel event would cost each of them
// a system call. This one is an atomic flag for as long as nobody waits, and one portable piece: a
// mutex and a condition variable are the same on both platforms, so the locks behave alike.
//
// `std::atomic::wait` has no time limit, which `TryLockW` needs. Sets are counted because a waiter
// may wake up after a `Reset` that followed at once, and is to go all the same.
namespace platform {

/// Nobody takes the mutex before somebody has to sleep: who sets announces that before looking for
/// waiters, and who waits announces that before looking whether it was set.
class Event::Shared : public State {
public:
    void Ref() noexcept
    {
        [[maybe_unused]] const std::uint32_t before =
            m_references.fetch_add(1, std::memory_order_relaxed);
        assert(before > 0);
    }
    void Unref() noexcept
    {
        const std::uint32_t before = m_references.fetch_sub(1, std::memory_order_acq_rel);
        assert(before > 0);
        if (before == 1)
            delete this;
    }

    void Set() noexcept
    {
        isSignalled.store(true, std::memory_order_release);
        // Both are sequentially consistent, as is what `Wait` does, so that one sees the other's.
        m_sets.fetch_add(1);
        if (m_waiters.load() == 0)
            return;
        const std::scoped_lock lock(m_mutex);
        m_set.notify_all();
    }
    void Reset() noexcept { isSignalled.store(false, std::memory_order_release); }

    /// `sleep` gets the condition variable, the held lock and what to wait for; its answer is ours.
    template <class F>
    bool Wait(F sleep)
    {
        std::unique_lock lock(m_mutex);
        m_waiters.fetch_add(1);
        const std::uint32_t seen = m_sets.load();
        const bool result =
            sleep(m_set, lock, [&] { return isSignalled.load() || m_sets.load() != seen; });
        m_waiters.fetch_sub(1);
        return result;
    }

private:
    std::atomic<std::uint32_t> m_references = 1;
    std::atomic<std::uint32_t> m_sets = 0; // how often it was set; begins again at 0
    std::atomic<std::uint32_t> m_waiters = 0;
    std::mutex m_mutex;
    std::condition_variable m_set;
};

Event::Event()
    : m_state(new Shared)
{}

Event::Event(const Event& other) noexcept
    : m_state(other.m_state)
{
    Own().Ref();
}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): counted up before it is counted down.
Event& Event::operator=(const Event& other) noexcept
{
    other.Own().Ref();
    Own().Unref();
    m_state = other.m_state;
    return *this;
}

Event::~Event()
{
    Own().Unref();
}

void Event::Set() noexcept
{
    Own().Set();
}

void Event::Reset() noexcept
{
    Own().Reset();
}

Event::Shared& Event::Own() const noexcept
{
    return static_cast<Shared&>(*m_state);
}

void Event::Sleep() const
{
    const Event kept = *this; // this one may end meanwhile
    kept.Own().Wait([](auto& set, auto& lock, auto isSet) {
        set.wait(lock, isSet);
        return true;
    });
}

bool Event::WaitFor(std::uint32_t timeoutMs) const
{
    if (IsSignalled())
        return true;
    const Event kept = *this; // this one may end meanwhile
    return kept.Own().Wait([timeoutMs](auto& set, auto& lock, auto isSet) {
        return set.wait_for(lock, std::chrono::milliseconds(timeoutMs), isSet);
    });
}

} // namespace platform
