#pragma once

#include <array>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <numeric>
#include <string_view>
#include <utility>
#include <vector>

// What the targets share.

/// Of a property that holds whatever the input is.
inline void Require(bool isTrue)
{
    if (!isTrue)
        std::abort();
}

/// Whether bytes are others than any that it remembers. What follows from them alone is tried once:
/// most inputs give the same few files, as their readers soon give up.
inline bool IsNew(std::string_view bytes)
{
    static std::array<std::size_t, 1U << 16U> seen = {};
    const std::size_t hash = std::hash<std::string_view>()(bytes);
    return std::exchange(seen[hash % seen.size()], hash) != hash;
}

/// Which of `count` ways to try an input are its turn: one that follows from its bytes where
/// libFuzzer makes many of them, and all where files are replayed.
inline std::vector<std::size_t> Turns([[maybe_unused]] std::string_view bytes, std::size_t count)
{
#ifdef QD_FUZZ
    return {std::hash<std::string_view>()(bytes) % count};
#else
    std::vector<std::size_t> turns(count);
    std::iota(turns.begin(), turns.end(), std::size_t{0});
    return turns;
#endif
}

/// Aborts at its end when more memory than an input of that size may take was in use at once
/// meanwhile, besides what was when it began.
class HeapBound {
public:
    explicit HeapBound(std::size_t inputSize) noexcept;
    ~HeapBound();
    HeapBound(const HeapBound&) = delete;
    HeapBound& operator=(const HeapBound&) = delete;

private:
    std::size_t m_most; // bytes
};
