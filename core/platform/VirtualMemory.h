#pragma once

#include <cstdint>

/// Pages of the process's address space.
namespace platform {

/// Bytes of a page, a power of two; the same for the life of the process.
[[nodiscard]] std::uint64_t PageSize() noexcept;

enum class MemoryPlacement { Anywhere, FromTheTop };

/// Reserves and commits `size` bytes, rounded up to pages: zeroed, readable and writable. Null when
/// the system refuses, as it does for size 0; `LastErrorText` then says why. Where the system
/// always places from the top of the address space, `placement` changes nothing. The system puts
/// memory behind the range where it is touched, a page or, off Windows, up to some megabytes at
/// once.
[[nodiscard]] void* CommitMemory(std::uint64_t size, MemoryPlacement placement) noexcept;

/// The same for a range that starts at a multiple of its size, a power of two from 64 KiB on. Its
/// pages are small ones.
[[nodiscard]] void* CommitAligned(std::uint64_t size) noexcept;

/// Gives back a whole range of either, with the size that was asked for.
void ReleaseMemory(void* start, std::uint64_t size) noexcept;

} // namespace platform
