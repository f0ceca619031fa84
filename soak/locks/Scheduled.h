#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <ucontext.h>
#include <utility>

/// Threads that a program switches by hand, and what the standard library offers threads, made so
/// that each step of it is such a switch. Code that says `std` and is compiled with that word
/// standing for `scheduled` runs unchanged, in whatever order of steps is told.
///
/// The threads are contexts of the one real thread. All that they change lies in a `World` and at
/// the ends of their stacks, so that a state can be kept and come back to. Memory is sequentially
/// consistent here.
namespace scheduled {

using namespace std; // what has no stand-in below

constexpr int kThreads = 3;

struct Thread {
    ucontext_t context;
    const void* sleepsOn; // null: it can go on
    bool hasTimeLimit;    // it sleeps no longer than some time
    bool isLate;          // that time was over
    bool isDone;
    std::uint32_t local; // its value of a thread_local
    // What it tells of itself, as the program likes.
    char asks, asksOf, isIn, answers;
};

/// What the code under test keeps goes into `memory`, where `new` takes it from while it is built.
struct World {
    Thread threads[kThreads];
    alignas(16) std::byte memory[512];
    std::size_t used;
    bool isBuilding;
};

constexpr std::size_t kStackSize = 65536;
constexpr std::size_t kKeptStack = 4096; // what a thread needs where it is switched

inline World g_world;
inline ucontext_t g_scheduler;
inline int g_running = -1;     // a thread, or none
inline bool g_isAlone = false; // it runs on
alignas(16) inline std::byte g_stacks[kThreads][kStackSize];

/// A state of everything.
struct State {
    World world;
    std::byte stacks[kThreads][kKeptStack];

    void Keep()
    {
        world = g_world;
        for (int i = 0; i < kThreads; ++i)
            std::memcpy(stacks[i], g_stacks[i] + kStackSize - kKeptStack, kKeptStack);
    }
    void ComeBack() const
    {
        g_world = world;
        for (int i = 0; i < kThreads; ++i)
            std::memcpy(g_stacks[i] + kStackSize - kKeptStack, stacks[i], kKeptStack);
    }
};

inline std::uint64_t Hash(const void* data, std::size_t size, std::uint64_t hash)
{
    for (std::size_t i = 0; i < size; i += sizeof(std::uint64_t)) {
        std::uint64_t word = 0;
        std::memcpy(&word, static_cast<const std::byte*>(data) + i,
                    (std::min)(size - i, sizeof word));
        hash = (hash ^ word) * 0x9E3779B97F4A7C15;
        hash ^= hash >> 29;
    }
    return hash;
}

/// What all that follows depends on: the memory, and where the threads stand, by the registers and
/// the part of the stack that a call leaves alone.
inline std::uint64_t HashOfState(std::uint64_t hash)
{
    hash = Hash(g_world.memory, g_world.used, hash);
    for (int i = 0; i < kThreads; ++i) {
        const Thread& thread = g_world.threads[i];
        hash = Hash(&thread.sleepsOn, sizeof thread.sleepsOn, hash);
        hash = Hash(&thread.local, sizeof thread.local, hash);
        if (thread.isDone)
            continue;
        const greg_t* const registers = thread.context.uc_mcontext.gregs;
        for (const int kept :
             {REG_RIP, REG_RSP, REG_RBX, REG_RBP, REG_R12, REG_R13, REG_R14, REG_R15})
            hash = Hash(&registers[kept], sizeof *registers, hash);
        const auto used = reinterpret_cast<std::uintptr_t>(g_stacks[i] + kStackSize) -
                          static_cast<std::uintptr_t>(registers[REG_RSP]);
        hash = Hash(g_stacks[i] + kStackSize - used, used, hash);
    }
    return hash;
}

inline Thread& Self()
{
    return g_world.threads[g_running];
}

/// Back to who schedules.
inline void Pause()
{
    const std::byte here{};
    if (&here < g_stacks[g_running] + kStackSize - kKeptStack)
        std::abort(); // kKeptStack is too small
    Thread& self = Self();
    swapcontext(&self.context, &g_scheduler);
}

/// Lets `thread` make a step: up to the next one, the end or where it has to sleep.
inline void Resume(int thread)
{
    g_running = thread;
    swapcontext(&g_scheduler, &g_world.threads[thread].context);
    g_running = -1;
}

/// Before each step that other threads could notice.
inline void Step()
{
    if (g_running >= 0 && !g_isAlone)
        Pause();
}

/// False when it became too late.
inline bool Sleep(const void* on, bool hasTimeLimit = false)
{
    if (g_running < 0 || g_isAlone) {
        if (!hasTimeLimit)
            std::abort(); // nobody could end that
        return false;
    }
    Self().sleepsOn = on;
    Self().hasTimeLimit = hasTimeLimit;
    Self().isLate = false;
    Pause();
    return !Self().isLate;
}

inline void Wake(const void* on)
{
    for (Thread& thread : g_world.threads) {
        if (thread.sleepsOn == on)
            thread.sleepsOn = nullptr;
    }
}

template <class T>
class atomic {
public:
    atomic() = default;
    constexpr atomic(T value)
        : m_value(value)
    {}
    atomic(const atomic&) = delete;
    atomic& operator=(const atomic&) = delete;

    T load(memory_order = memory_order_seq_cst) const
    {
        Step();
        return m_value;
    }
    operator T() const { return load(); }
    void store(T value, memory_order = memory_order_seq_cst) { exchange(value); }
    T operator=(T value)
    {
        store(value);
        return value;
    }
    T exchange(T value, memory_order = memory_order_seq_cst)
    {
        Step();
        return std::exchange(m_value, value);
    }
    T fetch_add(T change, memory_order = memory_order_seq_cst)
    {
        Step();
        const T before = m_value;
        m_value = static_cast<T>(m_value + change);
        return before;
    }
    T fetch_sub(T change, memory_order order = memory_order_seq_cst)
    {
        return fetch_add(static_cast<T>(-change), order);
    }
    T operator++() { return static_cast<T>(fetch_add(1) + 1); }
    bool compare_exchange_strong(T& expected, T value, memory_order = memory_order_seq_cst,
                                 memory_order = memory_order_seq_cst)
    {
        Step();
        const bool isSame = m_value == expected;
        (isSame ? m_value : expected) = isSame ? value : m_value;
        return isSame;
    }
    bool compare_exchange_weak(T& expected, T value, memory_order success = memory_order_seq_cst,
                               memory_order failure = memory_order_seq_cst)
    {
        return compare_exchange_strong(expected, value, success, failure);
    }
    void wait(T old, memory_order = memory_order_seq_cst) const
    {
        Step();
        while (m_value == old)
            Sleep(this);
    }
    void notify_all()
    {
        Step();
        Wake(this);
    }

private:
    T m_value;
};

class mutex {
public:
    void lock()
    {
        Step();
        while (m_isHeld)
            Sleep(this);
        m_isHeld = true;
    }
    void unlock()
    {
        Step();
        Release();
    }
    void Release()
    {
        m_isHeld = false;
        Wake(this);
    }

private:
    bool m_isHeld = false;
};

/// Threads sleep on its address.
class condition_variable {
public:
    template <class F>
    void wait(unique_lock<mutex>& lock, F isOver)
    {
        while (!isOver())
            SleepWithout(lock, false);
    }
    template <class F>
    bool wait_for(unique_lock<mutex>& lock, chrono::milliseconds, F isOver)
    {
        while (!isOver()) {
            if (!SleepWithout(lock, true))
                return isOver();
        }
        return true;
    }
    void notify_all()
    {
        Step();
        Wake(this);
    }

private:
    bool SleepWithout(unique_lock<mutex>& lock, bool hasTimeLimit)
    {
        Step();
        lock.mutex()->Release(); // in one with going to sleep
        const bool isInTime = Sleep(this, hasTimeLimit);
        lock.mutex()->lock();
        return isInTime;
    }
};

} // namespace scheduled
