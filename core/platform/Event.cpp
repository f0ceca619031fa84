#include "core/platform/Event.h"

#include <atomic>
#include <cassert>
#include <chrono>
#include <condition_variable>
#include <mutex>

// It is looked at by each writer and told of each last reader, mostly with nobody waiting. A kernel
// event would cost each of them a system call. Here the reader who counts himself out looks whether
// anybody waits, and nothing else; the event proper is put only where copies of a lock have to see
// it. A mutex and a condition variable are the same on both platforms, so the locks behave alike.
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
            references.fetch_add(1, std::memory_order_relaxed);
        assert(before > 0);
    }
    void Unref() noexcept
    {
        const std::uint32_t before = references.fetch_sub(1, std::memory_order_acq_rel);
        assert(before > 0);
        if (before == 1)
            delete this;
    }

    // Sequentially consistent, as is what `Wait` does, so that one sees the other's.
    void CountSet() noexcept { m_sets.fetch_add(1); }
    void Wake() noexcept
    {
        const std::scoped_lock lock(m_mutex);
        m_woken.notify_all();
    }

    /// `sleep` gets the condition variable, the held lock and what to wait for; its answer is ours.
    template <class F>
    bool Wait(const Count& readers, F sleep)
    {
        std::unique_lock lock(m_mutex);
        waiters.fetch_add(1);
        const std::uint32_t seen = m_sets.load();
        const bool result = sleep(m_woken, lock, [&] {
            return (IsOpen() || m_sets.load() != seen) && readers.load() <= 0;
        });
        waiters.fetch_sub(1);
        return result;
    }

private:
    std::atomic<std::uint32_t> m_sets = 0; // how often it was set; begins again at 0
    std::mutex m_mutex;
    std::condition_variable m_woken;
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
    m_state->isSignalled.store(true, std::memory_order_release);
    Own().CountSet();
    Stir();
}

void Event::Reset() noexcept
{
    m_state->isSignalled.store(false, std::memory_order_release);
}

Event::Shared& Event::Own() const noexcept
{
    return static_cast<Shared&>(*m_state);
}

void Event::Wake() noexcept
{
    Own().Wake();
}

void Event::Sleep(const Count& readers) const
{
    Own().Wait(readers, [](auto& woken, auto& lock, auto isOver) {
        woken.wait(lock, isOver);
        return true;
    });
}

bool Event::WaitFor(std::uint32_t timeoutMs, const Count& readers) const
{
    if (IsOver(readers))
        return true;
    return Own().Wait(readers, [timeoutMs](auto& woken, auto& lock, auto isOver) {
        return woken.wait_for(lock, std::chrono::milliseconds(timeoutMs), isOver);
    });
}

} // namespace platform
