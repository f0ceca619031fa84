#pragma once

#include <cstddef>
#include <cstdlib>

// What the targets share.

/// Of a property that holds whatever the input is.
inline void Require(bool isTrue)
{
    if (!isTrue)
        std::abort();
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
