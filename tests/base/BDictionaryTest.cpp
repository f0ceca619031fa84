#include "core/base/BDictionary.h"

#include "tests/LifeCount.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <map>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace {

/// A key that falls into one of three buckets and counts how often keys are compared.
struct Crowded {
    static inline std::uint64_t comparisons = 0;
    int number = 0;
};

std::vector<std::string> Keys(const BDictionary<BString, int>& dictionary)
{
    std::vector<std::string> keys;
    for (const auto& item : dictionary)
        keys.emplace_back(item.key.CStr());
    return keys;
}

} // namespace

template <>
struct BKeyTraits<Crowded> {
    static std::uint64_t Hash(const Crowded& key)
    {
        return static_cast<std::uint64_t>(key.number % 3);
    }
    static std::uint64_t Seeded(const Crowded& key)
    {
        return QDSeededHash(&key.number, sizeof key.number);
    }
    static bool Equal(const Crowded& a, const Crowded& b)
    {
        ++Crowded::comparisons;
        return a.number == b.number;
    }
};

/// A key of bytes that say nothing of its value, as padding and -0.0 are.
struct Untold {
    char letter;
    double number;
};

template <class K>
concept HasTraits = requires
{
    sizeof(BKeyTraits<K>);
};
static_assert(HasTraits<char> && HasTraits<std::byte> && HasTraits<const int*>);
static_assert(HasTraits<WString> && HasTraits<SP<BSmartObj>> && HasTraits<Crowded>);
static_assert(!HasTraits<Untold> && !HasTraits<double> && !HasTraits<std::string>);

TEST(MItem, HashesABoundedPrefixOfTexts)
{
    const auto hash = [](const auto& key) {
        return MItem<std::remove_cvref_t<decltype(key)>, int>(key, 0).Hash();
    };
    EXPECT_EQ(hash(BString()), 0u);
    EXPECT_EQ(hash(BString("abc")), 108966u);
    EXPECT_EQ(hash(BString("\xE9")), 18446744073709551593u) << "a byte is signed";
    for (const char* key : {"abcdeX", "abcdeY"})
        EXPECT_EQ(hash(BString(key)), 118667375u);
    EXPECT_EQ(hash(WString()), 0u);
    EXPECT_EQ(hash(WString(QD_W("\uFFFF\u20AC"))), 336039u) << "a unit is unsigned";
    for (const WChar* key : {QD_W("abcdefghX"), QD_W("abcdefghY")})
        EXPECT_EQ(hash(WString(key)), 9497044u);
    const SP<BSmartObj> object = new BSmartObj;
    EXPECT_EQ(hash(object), reinterpret_cast<std::uintptr_t>(object.Get()));
}

TEST(BDictionary, KeepsOneEntryForEachKey)
{
    BDictionary<BString, int> dictionary;
    EXPECT_EQ(dictionary.BucketCount(), 9277u);
    EXPECT_EQ(dictionary.Find("a"), nullptr);
    EXPECT_FALSE(dictionary.Remove("a"));

    EXPECT_TRUE(dictionary.Insert("a", 1));
    EXPECT_TRUE(dictionary.Insert("A", 2)) << "keys compare byte for byte";
    EXPECT_FALSE(dictionary.Insert(MItem<BString, int>("a", 3)));
    EXPECT_EQ(dictionary.Count(), 2u);
    ASSERT_NE(dictionary.Find("a"), nullptr);
    EXPECT_EQ(dictionary.Find("a")->value, 3);

    EXPECT_TRUE(dictionary.Insert(BString(), 4));
    EXPECT_FALSE(dictionary.Insert("", 5)) << "no text is the empty text";
    EXPECT_TRUE(dictionary.Remove("a"));
    EXPECT_EQ(Keys(dictionary), (std::vector<std::string>{"", "A"}));
    dictionary.RemoveAll();
    EXPECT_EQ(dictionary.Count(), 0u);
    EXPECT_EQ(dictionary.begin(), dictionary.end());
    EXPECT_TRUE(dictionary.Insert("a", 6));

    BDictionary<WString, int> wide; // compares units, without collation
    for (const WChar* key : {QD_W("Stra\u00DFe"), QD_W("Strasse"), QD_W("\u00AD"), QD_W("")})
        EXPECT_TRUE(wide.Insert(key, 1));
}

TEST(BDictionary, IteratesByBucketAndThenByInsertion)
{
    const std::string high = std::string("\xE9") + "a";
    BDictionary<BString, int> dictionary;
    for (const char* key : {"abc", "abcdeZ", high.c_str(), "b", "abcdeX", "a", "abcdeY"})
        dictionary.Insert(key, 0);
    // Buckets 97, 98, 1902, 5268, 6919.
    EXPECT_EQ(Keys(dictionary),
              (std::vector<std::string>{"a", "b", high, "abcdeZ", "abcdeX", "abcdeY", "abc"}));
    dictionary.Insert("abcdeZ", 1); // a new value is no new entry
    dictionary.Remove("abcdeX");
    dictionary.Insert("abcdeX", 0);
    const BDictionary<BString, int> copy(dictionary);
    EXPECT_EQ(Keys(copy),
              (std::vector<std::string>{"a", "b", high, "abcdeZ", "abcdeY", "abcdeX", "abc"}));
    auto place = copy.begin();
    EXPECT_STREQ((place++)->key, "a");
    EXPECT_STREQ(place->key, "b");
}

TEST(BDictionary, HoldsWhatARandomHistoryLeavesWithOneComparisonACall)
{
    std::mt19937 random(1);
    BDictionary<Crowded, int> dictionary; // all in three buckets
    std::map<int, int> expected, iterated;
    Crowded::comparisons = 0;
    for (int step = 0; step < 20000; ++step) {
        const int key = static_cast<int>(random() % 3000);
        if (random() % 2 == 0) {
            EXPECT_EQ(dictionary.Insert({key}, step), !expected.contains(key));
            expected[key] = step;
        } else {
            EXPECT_EQ(dictionary.Remove({key}), expected.erase(key) == 1);
        }
    }
    EXPECT_LE(Crowded::comparisons, 20000u);
    ASSERT_EQ(dictionary.Count(), expected.size());
    for (const auto& item : dictionary)
        iterated.emplace(item.key.number, item.value);
    EXPECT_EQ(iterated, expected);
    for (const auto& [key, value] : expected)
        ASSERT_EQ(dictionary.Find({key})->value, value);
}

TEST(BDictionary, KeepsEntriesInTheirPlaceAndReleasesThem)
{
    int lives = 0;
    {
        BDictionary<BString, SP<Counted>> dictionary;
        dictionary.Insert("kept", new Counted(lives));
        const auto* const kept = dictionary.Find("kept");
        for (int i = 0; i < 1000; ++i)
            dictionary.Insert(BSmartObj::Id(static_cast<std::uint64_t>(i)), new Counted(lives));
        EXPECT_EQ(dictionary.Find("kept"), kept);
        dictionary.Insert("kept", nullptr);
        dictionary.Remove("3e7");
        EXPECT_EQ(lives, 999);

        BDictionary<BString, SP<Counted>> moved(std::move(dictionary));
        EXPECT_EQ(moved.Find("kept"), kept);
        EXPECT_EQ(dictionary.Count(), 0u);
        EXPECT_EQ(dictionary.Find("kept"), nullptr);
        dictionary = moved;
        moved.RemoveAll();
        EXPECT_EQ(lives, 999);
        EXPECT_EQ(dictionary.Count(), 1000u);
    }
    EXPECT_EQ(lives, 0);
}
