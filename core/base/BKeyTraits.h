#pragma once

#include "core/base/BString.h"
#include "core/base/SP.h"
#include "core/base/WString.h"
#include "core/platform/Export.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <type_traits>

/// A hash of `size` bytes that differs from process to process, so that nobody can prepare keys
/// that collide. Never to be stored.
[[nodiscard]] QD_CORE_API std::uint64_t QDSeededHash(const void* bytes, std::size_t size) noexcept;
/// A faster one of a number; it has nothing to do with the hash of the number's bytes.
[[nodiscard]] QD_CORE_API std::uint64_t QDSeededHash(std::uint64_t number) noexcept;

/// What a dictionary asks of its keys. `Hash` decides the bucket and so the order of iteration, it
/// is the same in every process; `Seeded` finds entries; `Equal` tells keys apart.
///
/// Integers, enumerations and pointers hash as their value. Specialise it for keys of other types:
/// a dictionary of them does not compile without.
template <class K>
struct BKeyTraits;

template <class K>
requires std::integral<K> || std::is_enum_v<K> || std::is_pointer_v<K>
struct BKeyTraits<K> {
    static std::uint64_t Hash(K key) noexcept
    {
        if constexpr (std::is_pointer_v<K>)
            return reinterpret_cast<std::uintptr_t>(key);
        else
            return static_cast<std::uint64_t>(key);
    }
    static std::uint64_t Seeded(K key) noexcept { return QDSeededHash(Hash(key)); }
    static bool Equal(K a, K b) noexcept { return a == b; }
};

/// Intended: only the first 5 bytes count for the bucket. Keys are equal byte for byte, without the
/// collation that `operator==` of the strings goes by.
template <>
struct QD_CORE_API BKeyTraits<BString> {
    static std::uint64_t Hash(const BString& key) noexcept;
    static std::uint64_t Seeded(const BString& key) noexcept
    {
        return QDSeededHash(key.CStr(), key.Length());
    }
    static bool Equal(const BString& a, const BString& b) noexcept { return a.IsSame(b); }
};

/// Intended: only the first 8 units count for the bucket.
template <>
struct QD_CORE_API BKeyTraits<WString> {
    static std::uint64_t Hash(const WString& key) noexcept;
    static std::uint64_t Seeded(const WString& key) noexcept
    {
        return QDSeededHash(key.CStr(), key.Length() * sizeof(WChar));
    }
    static bool Equal(const WString& a, const WString& b) noexcept { return a.IsSame(b); }
};

template <class T>
struct BKeyTraits<SP<T>> {
    static std::uint64_t Hash(const SP<T>& key) noexcept { return BKeyTraits<T*>::Hash(key.Get()); }
    static std::uint64_t Seeded(const SP<T>& key) noexcept
    {
        return BKeyTraits<T*>::Seeded(key.Get());
    }
    static bool Equal(const SP<T>& a, const SP<T>& b) noexcept { return a == b; }
};
