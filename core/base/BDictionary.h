#pragma once

#include "core/base/BHashTable.h"
#include "core/base/MItem.h"

#include <cstdint>
#include <utility>

/// Values by key, in the fixed order of a hash table with 9277 buckets; see BHashTable.
///
///     BDictionary<BString, std::int64_t> positions;
///     positions.Insert("root", 42);
///     for (const auto& item : positions)
///         Show(item.key, item.value);
template <class K, class V>
class BDictionary : public BHashTable<MItem<K, V>> {
public:
    BDictionary() noexcept
        : BHashTable<MItem<K, V>>(kBucketCount)
    {}
    BDictionary(const BDictionary& other) = default;
    BDictionary(BDictionary&& other) noexcept = default;
    BDictionary& operator=(const BDictionary& other) = default;
    BDictionary& operator=(BDictionary&& other) noexcept = default;
    // To the destructors of its entries this is a dictionary to the last.
    ~BDictionary() override { this->DestroyEntries(); }

    using BHashTable<MItem<K, V>>::Insert;
    /// False when the key is there already: its entry then takes the new value.
    bool Insert(const K& key, const V& value) { return Insert(MItem<K, V>(key, value)); }

private:
    /// The least prime that is not below `candidate`.
    static constexpr std::uint64_t NextPrime(std::uint64_t candidate)
    {
        if (candidate < 3)
            return 2;
        for (candidate |= 1;; candidate += 2) {
            std::uint64_t divisor = 3;
            while (divisor * divisor <= candidate && candidate % divisor != 0)
                divisor += 2;
            if (divisor * divisor > candidate)
                return candidate;
        }
    }

    static constexpr float kExpectedCount = 250000;
    static constexpr float kBucketSize = 30;
    static constexpr float kFillFactor = 0.9f;
    static constexpr std::uint64_t kBucketCount =
        NextPrime(static_cast<std::uint64_t>(kExpectedCount / (kBucketSize * kFillFactor)));
    static_assert(kBucketCount == 9277);
};
