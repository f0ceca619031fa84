#pragma once

#include <condition_variable>
#include <mutex>

/// Lets threads wait for each other, as std::latch does, which does not wake reliably where the
/// runtime library has no system call to wait on an address.
class Latch {
public:
    explicit Latch(int count)
        : m_count(count)
    {}

    void CountDown()
    {
        const std::scoped_lock lock(m_mutex);
        if (--m_count == 0)
            m_done.notify_all();
    }
    void Wait()
    {
        std::unique_lock lock(m_mutex);
        m_done.wait(lock, [this] { return m_count == 0; });
    }
    void ArriveAndWait()
    {
        CountDown();
        Wait();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_done;
    int m_count; // guarded by m_mutex
};
