#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

/// Memory for what a document has millions of: nodes, lists of children, attributes, short texts. A
/// block is found and given back in a few instructions and takes its size alone, rounded up to 8
/// bytes, where the C library's heap takes 8 bytes more and rounds up to 16.
///
/// Any thread may take blocks and give them back, also those that another one took. Memory goes
/// back to the system by 1 MiB in which no block is left, but for some megabytes, which a module
/// that is unloaded leaves behind.
namespace platform {

inline constexpr std::size_t kLargestSmallBlock = 256;

/// A block of `size` bytes, aligned for whatever has that size. Null when it is 0 or too large, or
/// there is none: the caller then asks the heap, which decides whether memory has run out.
[[nodiscard]] void* TakeSmallBlock(std::size_t size) noexcept;

/// Gives a block back; what did not come from here, also null, goes to `heap`. This is mostly the
/// last that a caller does: so it needs not ask, and nothing is left to do there.
void GiveSmallBlock(void* block, void (*heap)(void* block)) noexcept;

/// The bytes of a block, at least those that were asked for; 0 for what did not come from here.
[[nodiscard]] std::size_t SmallBlockSize(const void* block) noexcept;

/// Whether further blocks are handed out: not at first where a sanitizer watches the heap, or the
/// environment has `QD_SMALL_BLOCKS=0`. Returns whether they were.
bool UseSmallBlocks(bool on) noexcept;

} // namespace platform
