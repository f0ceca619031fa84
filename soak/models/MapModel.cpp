#include "core/base/BMap.h"
#include "core/base/WString.h"

#include "soak/models/Model.h"

#include <algorithm>
#include <string>
#include <utility>

namespace {

/// Texts of which some collate alike: they are one key.
WString Key(std::uint32_t number)
{
    const WChar* const endings[] = {QD_W(""),  QD_W("\u00DF"), QD_W("ss"),
                                    QD_W("A"), QD_W("a"),      QD_W("\u00C4")};
    return WString::FromInt(number / 6 % 100) + endings[number % 6];
}

struct World {
    struct Entry {
        WString key;
        int value;
        const void* place; // where the library keeps it
    };
    struct Both {
        BMap<WString, int> ours;
        std::vector<Entry> twin; // by key

        /// The entry of `key`, or where it belongs.
        auto Place(const WString& key)
        {
            return std::ranges::find_if(twin, [&](const Entry& e) { return !(e.key < key); });
        }
        bool Has(std::vector<Entry>::iterator place, const WString& key) const
        {
            return place != twin.end() && !(key < place->key);
        }
    };
    Both maps[2];

    Both& operator[](std::uint32_t number) { return maps[number % 2]; }

    void Compare(bool whole)
    {
        for (const auto& [ours, twin] : maps) {
            Same("count", ours.Count(), twin.size());
            if (!whole)
                continue;
            auto item = ours.begin();
            for (const Entry& entry : twin) {
                Same("place", static_cast<const void*>(&*item), entry.place);
                Same("key", item->key.AsView() == entry.key.AsView(), true);
                Same("value", item++->value, entry.value);
            }
            Same("end", item == ours.end(), true);
            for (auto entry = twin.rbegin(); entry != twin.rend(); ++entry)
                Same("place from the end", static_cast<const void*>(&*--item), entry->place);
        }
    }
};

const Operation<World> kTable[] = {
    {"Insert", 12,
     [](World& world, const Step& step) {
         auto& map = world[step.a];
         const WString key = Key(step.b);
         const int value = static_cast<int>(step.c);
         const auto place = map.Place(key);
         const bool isPresent = map.Has(place, key);
         Same("inserted", map.ours.Insert(key, value), !isPresent);
         if (isPresent)
             place->value = value;
         else
             map.twin.insert(place, {key, value, map.ours.Find(key)});
     }},
    {"Find", 6,
     [](World& world, const Step& step) {
         auto& map = world[step.a];
         const WString key = Key(step.b);
         const auto place = map.Place(key);
         Same("found", static_cast<const void*>(map.ours.Find(key)),
              map.Has(place, key) ? place->place : nullptr);
     }},
    {"Remove", 8,
     [](World& world, const Step& step) {
         auto& map = world[step.a];
         const WString key = Key(step.b);
         const auto place = map.Place(key);
         const bool isPresent = map.Has(place, key);
         auto* const item = map.ours.Find(key);
         Same("removed", map.ours.Remove(item != nullptr && step.c % 2 == 0 ? item->key : key),
              isPresent);
         if (isPresent)
             map.twin.erase(place);
     }},
    {"RemoveAll", 1,
     [](World& world, const Step& step) {
         world[step.a].ours.RemoveAll();
         world[step.a].twin.clear();
     }},
    {"copy", 1,
     [](World& world, const Step& step) {
         auto& map = world[step.a];
         map.ours = world[step.b].ours;
         map.twin = world[step.b].twin;
         auto item = map.ours.begin();
         for (World::Entry& entry : map.twin)
             entry.place = &*item++;
     }},
    {"move", 1,
     [](World& world, const Step& step) {
         auto& [ours, twin] = world[step.b];
         world[step.a].ours = std::move(ours);
         auto moved = std::exchange(twin, {});
         world[step.a].twin = std::move(moved);
     }},
};

} // namespace

Subject MapModel()
{
    return MakeSubject("map", kTable);
}
