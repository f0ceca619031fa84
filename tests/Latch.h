#pragma once

#include <atomic>
#include <thread>

/// Lets threads wait a moment for each other. They ask again and again: std::latch does not wake
/// reliably where the runtime library has no system call to wait on an address.
class Latch {
public:
    explicit Latch(int count)
        : m_count(count)
    {}

    void CountDown() { --m_count; }
    void Wait() const
    {
        while (m_count > 0)
            std::this_thread::yield();
    }
    void ArriveAndWait()
    {
        CountDown();
        Wait();
    }

private:
    std::atomic<int> m_count;
};
