#pragma once

#include <benchmark/benchmark.h>

#include <thread>

/// With 1 as the argument `index`, starts a thread and waits for its end: from then on the process
/// counts as one with threads, and what is shared is changed by locked instructions.
inline void StartThread(const benchmark::State& state, std::size_t index = 0)
{
    if (state.range(index) != 0)
        std::thread([] {}).join();
}
