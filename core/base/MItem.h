#pragma once

#include "core/base/BKeyTraits.h"

#include <cstdint>
#include <utility>

/// An entry of a dictionary or a map. The key of an entry that is in one must not change.
template <class K, class V>
class MItem {
public:
    MItem() = default;
    MItem(K itemKey, V itemValue)
        : key(std::move(itemKey))
        , value(std::move(itemValue))
    {}
    MItem(const MItem&) = default;
    // NOLINTBEGIN(performance-noexcept-move-constructor): as far as those of `K` and `V` are
    MItem(MItem&&) = default;
    MItem& operator=(MItem&&) = default;
    // NOLINTEND(performance-noexcept-move-constructor)
    MItem& operator=(const MItem&) = default;

    // The order of the virtual functions is part of the interface.

    /// Hash of the key; 0 for keys that only an ordered map can hold.
    [[nodiscard]] virtual std::uint64_t Hash() const
    {
        if constexpr (requires { BKeyTraits<K>::Hash(key); })
            return BKeyTraits<K>::Hash(key);
        else
            return 0;
    }
    virtual ~MItem() = default;

    K key{};
    V value{};
};
