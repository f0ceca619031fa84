#include "core/base/DList.h"

#include "soak/models/Model.h"

#include <algorithm>
#include <utility>

namespace {

using List = DList<int>;

/// Of the twin: the number and the place in the list of the library, which it must keep.
struct Element {
    int value;
    List::Iterator place;
};

struct World {
    struct Both {
        List ours;
        std::vector<Element> twin;

        /// Takes the places of the last `count` elements from the library, for elements that it
        /// made.
        void LearnTail(std::size_t count)
        {
            List::Iterator place = ours.Tail();
            for (auto element = twin.rbegin(); count > 0; --count, ++element, --place)
                element->place = place;
        }
    };
    Both lists[3];

    Both& operator[](std::uint32_t number) { return lists[number % 3]; }

    void Compare(bool whole)
    {
        for (auto& [ours, twin] : lists) {
            Same("count", ours.Count(), static_cast<int>(twin.size()));
            Same("first", ours.begin() == (twin.empty() ? List::Iterator() : twin.front().place),
                 true);
            Same("last", ours.Tail() == (twin.empty() ? List::Iterator() : twin.back().place),
                 true);
            if (!whole && twin.size() >= 16)
                continue;
            List::Iterator place = ours.begin();
            for (const Element& element : twin) {
                Same("place", place == element.place, true);
                Same("element", *place++, element.value);
            }
            Same("end", place == ours.end(), true);
            place = ours.Tail();
            for (auto element = twin.rbegin(); element != twin.rend(); ++element)
                Same("place from the end", place-- == element->place, true);
            Same("end before the first", static_cast<bool>(place), false);
        }
    }
};

const Operation<World> kTable[] = {
    {"AddTail", 8,
     [](World& world, const Step& step) {
         auto& list = world[step.a];
         list.ours.AddTail(static_cast<int>(step.b));
         list.twin.push_back({static_cast<int>(step.b), list.ours.Tail()});
     }},
    {"AddHead", 4,
     [](World& world, const Step& step) {
         auto& [ours, twin] = world[step.a];
         ours.AddHead(static_cast<int>(step.b));
         twin.insert(twin.begin(), {static_cast<int>(step.b), ours.begin()});
     }},
    {"InsertAfter", 8,
     [](World& world, const Step& step) {
         auto& [ours, twin] = world[step.a];
         const std::size_t place = step.c % (twin.size() + 1); // 0: before the first
         const auto before = place == 0 ? List::Iterator() : twin[place - 1].place;
         const auto made = ours.InsertAfter(before, static_cast<int>(step.b));
         twin.insert(twin.begin() + static_cast<std::ptrdiff_t>(place),
                     {static_cast<int>(step.b), made});
     }},
    {"Erase", 14,
     [](World& world, const Step& step) {
         auto& [ours, twin] = world[step.a];
         if (twin.empty())
             return;
         const auto place = static_cast<std::ptrdiff_t>(step.b % twin.size());
         const auto followed = ours.Erase((twin.begin() + place)->place);
         const auto expected = twin.erase(twin.begin() + place);
         Same("what followed",
              followed == (expected == twin.end() ? List::Iterator() : expected->place), true);
     }},
    {"change an element", 2,
     [](World& world, const Step& step) {
         auto& twin = world[step.a].twin;
         if (!twin.empty()) {
             Element& element = twin[step.b % twin.size()];
             *element.place = element.value = static_cast<int>(step.c);
         }
     }},
    {"Append", 1,
     [](World& world, const Step& step) {
         const auto added = world[step.b].twin; // perhaps the list itself
         auto& list = world[step.a];
         if (list.twin.size() + added.size() > 2000)
             return;
         list.ours.Append(world[step.b].ours);
         list.twin.insert(list.twin.end(), added.begin(), added.end());
         list.LearnTail(added.size());
     }},
    {"RemoveAll", 1,
     [](World& world, const Step& step) {
         world[step.a].ours.RemoveAll();
         world[step.a].twin.clear();
     }},
    {"copy", 1,
     [](World& world, const Step& step) {
         auto& list = world[step.a];
         list.ours = world[step.b].ours;
         list.twin = world[step.b].twin;
         list.LearnTail(list.twin.size());
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

Subject ListModel()
{
    return MakeSubject("list", kTable);
}
