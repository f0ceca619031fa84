#include "core/platform/ProbeTable.h"

#include "core/platform/SeededHash.h"

#include "tests/FailingAllocations.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <memory>
#include <new>
#include <random>
#include <utility>

namespace {

using Memory = FailingAllocations;

/// A number and what it stands for. The value has an owner, so that a slot that is lost or copied
/// is seen.
struct Slot {
    static inline std::uint64_t looks = 0;
    static inline std::uint64_t needless = 0; // comparisons of keys whose hashes differ

    std::uint64_t hash = 0;
    int key = 0;
    std::unique_ptr<int> value;

    bool IsFree() const { return value == nullptr; }
    bool HasHash(std::uint64_t other) const
    {
        ++looks;
        return hash == other;
    }
    std::uint64_t Hash() const { return hash; }
};

/// Whether a slot is that of a key.
struct Is {
    std::uint64_t hash;
    int key;
    bool operator()(const Slot& slot) const
    {
        Slot::needless += slot.hash != hash ? 1 : 0;
        return slot.key == key;
    }
};

std::uint64_t Scattered(int key)
{
    return platform::SeededHash(static_cast<std::uint64_t>(key));
}

void Put(platform::ProbeTable<Slot>& table, std::uint64_t hash, int key, int value)
{
    auto made = std::make_unique<int>(value);
    Slot& slot = table.FindOrFree(hash, Is{hash, key});
    if (slot.IsFree())
        table.Fill(slot, {hash, key, std::move(made)});
    else
        slot.value = std::move(made);
}

} // namespace

TEST(ProbeTable, HoldsWhatARandomHistoryLeavesWhateverTheHashes)
{
    using Hash = std::uint64_t (*)(int key);
    const Hash hashes[] = {
        &Scattered,
        [](int key) { return static_cast<std::uint64_t>(key / 4) * 3; },    // in rows
        [](int key) { return ~static_cast<std::uint64_t>(key % 5); },       // round the end
        [](int) { return std::uint64_t{0x123456789}; },                     // all at one place
        [](int key) { return static_cast<std::uint64_t>(key % 3) << 40u; }, // beyond the mask
    };
    for (const Hash hash : hashes) {
        SCOPED_TRACE(testing::Message() << "hash " << &hash - hashes);
        std::mt19937 random(1);
        platform::ProbeTable<Slot> table;
        std::map<int, int> expected;
        bool hasFailed = false;
        for (int step = 0; step < 6000; ++step) {
            const int key = static_cast<int>(random() % 200);
            const bool grows = step / 1000 % 2 == 0; // then it falls to a few
            if (random() % 4 == 0 ? !grows : grows) {
                // Half of the time there is memory for the value alone.
                Memory memory(1 + random() % 2, Memory::ERange::All);
                try {
                    Put(table, hash(key), key, step);
                    memory.Stop();
                    expected[key] = step;
                } catch (const std::bad_alloc&) {
                    hasFailed = true;
                }
            } else {
                Slot* const slot = table.Find(hash(key), Is{hash(key), key});
                ASSERT_EQ(slot != nullptr, expected.erase(key) == 1) << "step " << step;
                if (slot != nullptr)
                    table.Vacate(*slot);
            }
            ASSERT_EQ(table.Count(), expected.size());
            for (int i = 0; i < (step % 20 == 0 ? 200 : 0); ++i) {
                const Slot* const slot = table.Find(hash(i), Is{hash(i), i});
                const auto value = expected.find(i);
                ASSERT_EQ(slot != nullptr, value != expected.end()) << "step " << step << ", " << i;
                ASSERT_TRUE(slot == nullptr || *slot->value == value->second) << "step " << step;
            }
        }
        EXPECT_TRUE(hasFailed);
    }
    EXPECT_EQ(Slot::needless, 0u);
}

TEST(ProbeTable, LooksAtFewSlotsAndAllocatesOnlyToGrow)
{
    constexpr int kCount = 10922; // two thirds of 16,384: the table is full
    platform::ProbeTable<Slot> table;
    const auto looksFor = [&table](int from, int to) { // how often it looks at a slot
        Slot::looks = 0;
        for (int key = from; key < to; ++key)
            EXPECT_EQ(table.Find(Scattered(key), Is{Scattered(key), key}) != nullptr, key < kCount);
        return Slot::looks;
    };
    table.Reserve(kCount);
    {
        const Memory valuesAlone(kCount, Memory::ERange::All);
        for (int key = 0; key < kCount; ++key)
            Put(table, Scattered(key), key, key);
        EXPECT_FALSE(valuesAlone.HaveFailed());
    }
    EXPECT_EQ(table.Count(), std::uint64_t{kCount});
    EXPECT_LE(looksFor(0, kCount), 3u * kCount);
    EXPECT_LE(looksFor(kCount, 2 * kCount), 6u * kCount);
    table.Clear();
    EXPECT_EQ(table.Count(), 0u);
}
