#include "core/base/BDictionary.h"

#include "core/base/BSmartObj.h"
#include "core/base/SP.h"

#include "tests/LifeCount.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <new>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace {

std::vector<std::string> Keys(const BDictionary<BString, int>& dictionary)
{
    std::vector<std::string> keys;
    for (const auto& item : dictionary)
        keys.emplace_back(item.key.CStr());
    return keys;
}

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
static_assert(HasTraits<WString> && HasTraits<SP<BSmartObj>>);
static_assert(!HasTraits<Untold> && !HasTraits<double> && !HasTraits<std::string>);

} // namespace

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
    EXPECT_EQ(hash(0.5), 0u) << "a key of maps alone";
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
    EXPECT_LT(dictionary.Find("A"), dictionary.Find("a") + 4) << "not on a page of its own";

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
    BDictionary<BString, int> copy(dictionary);
    EXPECT_EQ(Keys(copy),
              (std::vector<std::string>{"a", "b", high, "abcdeZ", "abcdeY", "abcdeX", "abc"}));
    copy.Remove("abcdeZ"); // the first of its bucket
    copy.Remove("abcdeX"); // the last
    copy.Insert("abcdeW", 0);
    EXPECT_EQ(Keys(copy), (std::vector<std::string>{"a", "b", high, "abcdeY", "abcdeW", "abc"}));
    auto place = copy.begin();
    EXPECT_STREQ((place++)->key, "a");
    EXPECT_STREQ(place->key, "b");
}

// Keys of three buckets come and go, in the end nearly all.
TEST(BDictionary, EntriesKeepTheirPlaceAndOrderThroughARandomHistory)
{
    std::mt19937 random(1);
    BDictionary<int, int> dictionary;
    std::map<int, std::vector<const MItem<int, int>*>> expected; // by bucket
    const auto check = [&] {
        auto place = dictionary.begin();
        for (const auto& [bucket, entries] : expected) {
            for (const auto* entry : entries) {
                ASSERT_TRUE(place != dictionary.end() && &*place == entry);
                ASSERT_TRUE(entry->key % 9277 == bucket && dictionary.Find(entry->key) == entry);
                ++place;
            }
        }
        ASSERT_EQ(place, dictionary.end());
    };
    for (int step = 0; step < 4000; ++step) {
        const int bucket = static_cast<int>(random() % 3) * 4638; // one of them the last
        const int key = static_cast<int>(random() % 50) * 9277 + bucket;
        auto& entries = expected[bucket];
        const auto* const entry = dictionary.Find(key);
        if (step >= 3000 || random() % 3 == 0) {
            ASSERT_EQ(dictionary.Remove(key), entry != nullptr);
            std::erase(entries, entry);
        } else if (entry == nullptr) {
            EXPECT_TRUE(dictionary.Insert(key, step));
            entries.push_back(dictionary.Find(key));
        }
        check();
    }
    EXPECT_LT(dictionary.Count(), 10u);
}

TEST(BDictionary, StaysWholeWhenAnEntryCannotBeMadeOrReplacesIt)
{
    static int copiesLeft;
    copiesLeft = 1000;
    struct Copied {
        Copied() = default;
        Copied(const Copied& other)
            : text(other.text)
        {
            if (--copiesLeft < 0)
                throw std::bad_alloc();
        }
        Copied& operator=(const Copied&) = default;
        ~Copied() = default;
        std::string text = "as long as a text that needs memory of its own";
    };
    BDictionary<int, Copied> dictionary;
    const Copied value;
    for (int key = 0; key < 3; ++key)
        dictionary.Insert(key, value);
    dictionary.Remove(1);
    bool isMade = false;
    for (int copies = 0; !isMade; ++copies) {
        copiesLeft = copies;
        try {
            isMade = dictionary.Insert(4, value);
        } catch (const std::bad_alloc&) {
            EXPECT_EQ(dictionary.Find(4), nullptr);
        }
    }
    copiesLeft = 1000;
    for (int key = 5; key < 9; ++key)
        dictionary.Insert(key, value);
    for (const auto& entry : dictionary)
        EXPECT_EQ(entry.value.text, value.text);
    EXPECT_EQ(dictionary.Count(), 7u);

    using Objects = BDictionary<int, SP<BSmartObj>>;
    Objects objects;
    objects.Insert(1, new Curious([&] { objects = Objects(); }));
    objects.Insert(2, nullptr);
    objects.Remove(1);
    EXPECT_EQ(objects.Count(), 0u);
}
