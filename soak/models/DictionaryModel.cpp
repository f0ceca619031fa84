#include "core/base/BDictionary.h"

#include "soak/models/Model.h"

#include <algorithm>
#include <map>
#include <string>
#include <utility>

namespace {

/// What differs between the types of keys: how a number makes a key, which plain value it has, and
/// the hash that decides its bucket. Many keys share what the hash looks at.
struct Narrow {
    using Key = BString;
    using Plain = std::string;
    static Plain Make(std::uint32_t number)
    {
        const char* const beginnings[] = {"", "abcd", "abcde", "abcdefgh", "\xE4\xF6", "zzzzz"};
        const std::uint32_t rest = number / 6 % 200;
        return beginnings[number % 6] + (rest == 0 ? "" : std::to_string(rest));
    }
    static Key AsKey(const Plain& plain) { return plain.c_str(); }
    static std::uint64_t Hash(const Plain& plain)
    {
        std::uint64_t hash = 0;
        for (const char unit : plain.substr(0, 5))
            hash = hash * 33 + static_cast<std::uint64_t>(static_cast<signed char>(unit));
        return hash;
    }
};

struct Wide {
    using Key = WString;
    using Plain = std::u16string;
    static Plain Make(std::uint32_t number)
    {
        const char16_t* const beginnings[] = {u"",           u"abcdefg",          u"abcdefgh",
                                              u"ABCDEFGH12", u"\u00E4\U0001F600", u"zzzzzzzz"};
        Plain plain = beginnings[number % 6];
        for (std::uint32_t rest = number / 6 % 200; rest != 0; rest /= 10)
            plain += static_cast<char16_t>(u'0' + rest % 10);
        return plain;
    }
    static Key AsKey(const Plain& plain) { return WString::FromUtf16(plain); }
    static std::uint64_t Hash(const Plain& plain)
    {
        std::uint64_t hash = 0;
        for (const char16_t unit : plain.substr(0, 8))
            hash = hash * 5 + unit;
        return hash;
    }
};

struct Number {
    using Key = std::int64_t;
    using Plain = std::int64_t;
    static Plain Make(std::uint32_t number)
    {
        const Plain near[] = {0, -600, 9277 * 5, std::int64_t{1} << 40};
        return near[number % 4] + number / 4 % 300 * (number % 8 < 4 ? 1 : 9277);
    }
    static Key AsKey(Plain plain) { return plain; }
    static std::uint64_t Hash(Plain plain) { return static_cast<std::uint64_t>(plain); }
};

template <class Kind>
struct World {
    using Key = typename Kind::Key;
    using Plain = typename Kind::Plain;
    using Dictionary = BDictionary<Key, int>;
    struct Entry {
        Plain key;
        int value;
        const void* place; // where the library keeps it
    };
    struct Both {
        Dictionary ours;
        std::map<std::uint64_t, std::vector<Entry>> buckets;
        std::uint64_t count = 0;

        Entry* Find(const Plain& key)
        {
            auto& bucket = BucketOf(key);
            const auto found = std::ranges::find(bucket, key, &Entry::key);
            return found != bucket.end() ? &*found : nullptr;
        }
        std::vector<Entry>& BucketOf(const Plain& key) { return buckets[Kind::Hash(key) % 9277]; }
        /// Of what was copied; with them the order and all entries are compared.
        void LearnPlaces()
        {
            auto item = ours.begin();
            for (auto& [number, bucket] : buckets)
                for (Entry& entry : bucket) {
                    Same("there is one more", item == ours.end(), false);
                    entry.place = &*item++;
                }
        }
    };
    Both dictionaries[2];

    Both& operator[](std::uint32_t number) { return dictionaries[number % 2]; }

    void Compare(bool whole)
    {
        for (auto& [ours, buckets, count] : dictionaries) {
            Same("count", ours.Count(), count);
            if (!whole)
                continue;
            Same("buckets", ours.BucketCount(), std::uint64_t{9277});
            auto item = ours.begin();
            for (const auto& [number, bucket] : buckets)
                for (const Entry& entry : bucket) {
                    Same("there is one more", item == ours.end(), false);
                    Same("key", BKeyTraits<Key>::Equal(item->key, Kind::AsKey(entry.key)), true);
                    Same("value", item->value, entry.value);
                    Same("place", static_cast<const void*>(&*item), entry.place);
                    Same("hash", item->Hash(), Kind::Hash(entry.key));
                    ++item;
                }
            Same("no more", item == ours.end(), true);
        }
    }

    static void Insert(World& world, const Step& step)
    {
        auto& dictionary = world[step.a];
        const Plain key = Kind::Make(step.b);
        const int value = static_cast<int>(step.c);
        Entry* const present = dictionary.Find(key);
        const bool isNew = step.c % 2 == 0 ? dictionary.ours.Insert(Kind::AsKey(key), value)
                                           : dictionary.ours.Insert({Kind::AsKey(key), value});
        Same("inserted", isNew, present == nullptr);
        if (present != nullptr) {
            present->value = value;
            return;
        }
        const auto* const item = dictionary.ours.Find(Kind::AsKey(key));
        Same("found", item != nullptr, true);
        dictionary.BucketOf(key).push_back({key, value, item});
        ++dictionary.count;
    }

    static void Find(World& world, const Step& step)
    {
        auto& dictionary = world[step.a];
        const Entry* const entry = dictionary.Find(Kind::Make(step.b));
        auto* const item = dictionary.ours.Find(Kind::AsKey(Kind::Make(step.b)));
        Same("found", static_cast<const void*>(item), entry != nullptr ? entry->place : nullptr);
        if (item != nullptr)
            Same("value", item->value, entry->value);
    }

    static void Remove(World& world, const Step& step)
    {
        auto& dictionary = world[step.a];
        const Plain key = Kind::Make(step.b);
        auto* const item = dictionary.ours.Find(Kind::AsKey(key));
        // By the key in the entry itself, now and then.
        const bool isRemoved = step.c % 4 == 0 && item != nullptr
                                   ? dictionary.ours.Remove(item->key)
                                   : dictionary.ours.Remove(Kind::AsKey(key));
        const auto removed = std::erase_if(dictionary.BucketOf(key),
                                           [&](const Entry& entry) { return entry.key == key; });
        Same("removed", isRemoved, removed == 1);
        dictionary.count -= removed;
    }

    static void RemoveAll(World& world, const Step& step)
    {
        world[step.a].ours.RemoveAll();
        world[step.a].buckets.clear();
        world[step.a].count = 0;
    }

    static void Copy(World& world, const Step& step)
    {
        world[step.a].ours = world[step.b].ours;
        world[step.a].buckets = world[step.b].buckets;
        world[step.a].count = world[step.b].count;
        world[step.a].LearnPlaces();
    }

    static void Move(World& world, const Step& step)
    {
        auto& from = world[step.b];
        world[step.a].ours = std::move(from.ours);
        auto buckets = std::exchange(from.buckets, {});
        const auto count = std::exchange(from.count, 0);
        world[step.a].buckets = std::move(buckets);
        world[step.a].count = count;
    }
};

template <class Kind>
Subject DictionaryModel(const char* name)
{
    static const Operation<World<Kind>> table[] = {
        {"Insert", 24, &World<Kind>::Insert}, {"Find", 12, &World<Kind>::Find},
        {"Remove", 16, &World<Kind>::Remove}, {"RemoveAll", 1, &World<Kind>::RemoveAll},
        {"copy", 1, &World<Kind>::Copy},      {"move", 1, &World<Kind>::Move},
    };
    return MakeSubject(name, table);
}

} // namespace

Subject NarrowDictionaryModel()
{
    return DictionaryModel<Narrow>("dictionary of narrow texts");
}

Subject WideDictionaryModel()
{
    return DictionaryModel<Wide>("dictionary of wide texts");
}

Subject NumberDictionaryModel()
{
    return DictionaryModel<Number>("dictionary of numbers");
}
