#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace platform {

/// A hash of `size` bytes that differs from process to process, so that nobody can prepare keys
/// that collide. Never to be stored, and no protection for a secret. Any thread may call it.
[[nodiscard]] std::uint64_t SeededHash(const void* bytes, std::size_t size) noexcept;
/// A faster one of a number; it has nothing to do with the hash of the number's bytes.
[[nodiscard]] std::uint64_t SeededHash(std::uint64_t number) noexcept;

template <class Unit>
[[nodiscard]] std::uint64_t SeededHash(std::basic_string_view<Unit> text) noexcept
{
    return SeededHash(text.data(), text.size() * sizeof(Unit));
}

/// For the standard library's own hash tables, which so take a view for a key, too.
struct SeededTextHash {
    using is_transparent = void;
    [[nodiscard]] std::size_t operator()(std::string_view text) const noexcept
    {
        return SeededHash(text);
    }
};

} // namespace platform
