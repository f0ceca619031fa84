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
    std::uint64_t hash = 0;
    int key = 0;
    std::unique_ptr<int> value;

    bool IsFree() const { return value == nullptr; }
    bool HasHash(std::uint64_t other) const { return hash == other; }
    std::uint64_t Hash() const { return hash; }
};

/// What a table of one kind of hash does.
class Numbers {
public:
    using Hash = std::uint64_t (*)(int key);

    struct Is {
        const Numbers& numbers;
        int key;
        bool operator()(const Slot& slot) const
        {
            numbers.m_needless += slot.hash != numbers.m_hash(key) ? 1 : 0;
            return slot.key == key;
        }
    };

    explicit Numbers(Hash hash)
        : m_hash(hash)
    {}

    const Slot* Find(int key) const { return m_table.Find(m_hash(key), Is{*this, key}); }
    void Put(int key, int value)
    {
        auto made = std::make_unique<int>(value);
        Slot& slot = m_table.FindOrFree(m_hash(key), Is{*this, key});
        if (slot.IsFree())
            m_table.Fill(slot, {m_hash(key), key, std::move(made)});
        else
            slot.value = std::move(made);
    }
    bool Remove(int key)
    {
        Slot* const slot = m_table.Find(m_hash(key), Is{*this, key});
        if (slot != nullptr)
            m_table.Vacate(*slot);
        return slot != nullptr;
    }

    platform::ProbeTable<Slot>& Table() { return m_table; }
    /// Comparisons of keys whose hashes differ.
    std::uint64_t NeedlessComparisons() const { return m_needless; }

private:
    Hash m_hash;
    platform::ProbeTable<Slot> m_table;
    mutable std::uint64_t m_needless = 0;
};

} // namespace

TEST(ProbeTable, HoldsWhatARandomHistoryLeavesWhateverTheHashes)
{
    const Numbers::Hash hashes[] = {
        [](int key) { return platform::SeededHash(static_cast<std::uint64_t>(key)); },
        [](int key) { return static_cast<std::uint64_t>(key / 4) * 3; },    // in rows
        [](int key) { return ~static_cast<std::uint64_t>(key % 5); },       // round the end
        [](int) { return std::uint64_t{0x123456789}; },                     // all at one place
        [](int key) { return static_cast<std::uint64_t>(key % 3) << 40u; }, // beyond the mask
    };
    for (const Numbers::Hash hash : hashes) {
        SCOPED_TRACE(testing::Message() << "hash " << &hash - hashes);
        std::mt19937 random(1);
        Numbers numbers(hash);
        std::map<int, int> expected;
        std::uint64_t failures = 0;
        for (int step = 0; step < 6000; ++step) {
            const int key = static_cast<int>(random() % 200);
            const bool grows = step / 1000 % 2 == 0; // then it falls to a few
            if (random() % 4 == 0 ? !grows : grows) {
                // Half of the time there is memory for the value alone.
                Memory memory(1 + random() % 2, Memory::ERange::All);
                try {
                    numbers.Put(key, step);
                    memory.Stop();
                    expected[key] = step;
                } catch (const std::bad_alloc&) {
                    memory.Stop();
                    ++failures;
                }
            } else {
                ASSERT_EQ(numbers.Remove(key), expected.erase(key) == 1) << "step " << step;
            }
            ASSERT_EQ(numbers.Table().Count(), expected.size());
            for (int i = 0; i < (step % 20 == 0 ? 200 : 0); ++i) {
                const Slot* const slot = numbers.Find(i);
                const auto value = expected.find(i);
                ASSERT_EQ(slot != nullptr, value != expected.end()) << "step " << step << ", " << i;
                ASSERT_TRUE(slot == nullptr || *slot->value == value->second) << "step " << step;
            }
        }
        EXPECT_GT(failures, 0u);
        EXPECT_EQ(numbers.NeedlessComparisons(), 0u);
    }
}

TEST(ProbeTable, LooksAtFewSlotsAndAllocatesOnlyToGrow)
{
    static std::uint64_t looks;
    struct Number {
        std::uint64_t number = 0;

        bool IsFree() const { return number == 0; }
        bool HasHash(std::uint64_t hash) const
        {
            ++looks;
            return hash == Hash();
        }
        std::uint64_t Hash() const { return platform::SeededHash(number); }
    };
    platform::ProbeTable<Number> table;
    const auto find = [&table](std::uint64_t number) {
        return table.Find(platform::SeededHash(number),
                          [number](const Number& other) { return other.number == number; });
    };
    constexpr std::uint64_t kCount = 10922; // two thirds of 16,384: the table is full
    std::uint64_t found = 0, foundLooks = 0, absentLooks = 0;
    bool isWithoutMemory = true;
    {
        const Memory none(0, Memory::ERange::All);
        found += find(1) != nullptr ? 1 : 0;
        table.Clear();
        isWithoutMemory = !none.HaveFailed();
    }
    table.Reserve(kCount);
    {
        const Memory none(0, Memory::ERange::All);
        for (std::uint64_t number = 1; number <= kCount; ++number)
            table.Fill(
                table.FindOrFree(platform::SeededHash(number), [](const Number&) { return false; }),
                {number});
        for (std::uint64_t number = 1; number <= 2 * kCount; ++number) {
            looks = 0;
            const bool isFound = find(number) != nullptr;
            found += isFound ? 1 : 0;
            (isFound ? foundLooks : absentLooks) += looks;
        }
        isWithoutMemory = isWithoutMemory && !none.HaveFailed();
    }
    EXPECT_EQ(found, kCount);
    EXPECT_LE(foundLooks, 3 * kCount);
    EXPECT_LE(absentLooks, 6 * kCount);
    EXPECT_TRUE(isWithoutMemory);
    EXPECT_EQ(table.Count(), kCount);
    table.Clear();
    EXPECT_EQ(table.Count(), 0u);
}
