#include "core/base/BArray.h"

#include "soak/models/Model.h"

#include <algorithm>
#include <utility>

namespace {

/// A number that counts how many of its kind live.
struct Element {
    explicit Element(int number)
        : value(number)
    {
        ++alive;
    }
    Element()
        : Element(0)
    {}
    Element(const Element& other)
        : Element(other.value)
    {}
    Element& operator=(const Element&) = default;
    ~Element() { --alive; }

    int value;
    static inline std::uint64_t alive = 0;
};

struct Twin {
    std::vector<int> elements;
    std::uint64_t capacity = 0;
    std::uint64_t growStep = 16;

    void Append(int value)
    {
        if (elements.size() == capacity) {
            growStep = std::max<std::uint64_t>(growStep, elements.size() / 2 + 1);
            capacity = elements.size() + growStep;
        }
        elements.push_back(value);
    }
};

struct World {
    struct Both {
        BArray<Element> ours;
        Twin twin;
    };
    Both arrays[3];

    Both& operator[](std::uint32_t number) { return arrays[number % 3]; }

    void Compare(bool whole)
    {
        std::uint64_t capacities = 0;
        for (const auto& [ours, twin] : arrays) {
            Same("count", ours.Count(), twin.elements.size());
            Same("capacity", ours.Capacity(), twin.capacity);
            Same("grow step", ours.GrowStep(), twin.growStep);
            capacities += twin.capacity;
            if (whole || ours.Count() < 16)
                Same("elements", std::ranges::equal(ours, twin.elements, {}, &Element::value),
                     true);
        }
        Same("constructed elements", Element::alive, capacities);
    }
};

const Operation<World> kTable[] = {
    {"Append", 20,
     [](World& world, const Step& step) {
         auto& [ours, twin] = world[step.a];
         ours.Append(Element(static_cast<int>(step.b)));
         twin.Append(static_cast<int>(step.b));
     }},
    {"Append its own", 4,
     [](World& world, const Step& step) {
         auto& [ours, twin] = world[step.a];
         if (twin.elements.empty())
             return;
         const std::size_t place = step.b % twin.elements.size();
         ours.Append(ours[place]);
         twin.Append(twin.elements[place]);
     }},
    {"Reserve", 1,
     [](World& world, const Step& step) {
         auto& [ours, twin] = world[step.a];
         ours.Reserve(step.b % 3000);
         twin.capacity = std::max<std::uint64_t>(twin.capacity, step.b % 3000);
     }},
    {"RemoveAt", 8,
     [](World& world, const Step& step) {
         auto& [ours, twin] = world[step.a];
         if (twin.elements.empty())
             return;
         const std::size_t place = step.b % twin.elements.size();
         ours.RemoveAt(place);
         twin.elements.erase(twin.elements.begin() + static_cast<std::ptrdiff_t>(place));
     }},
    {"operator[]", 4,
     [](World& world, const Step& step) {
         auto& [ours, twin] = world[step.a];
         if (twin.elements.empty())
             return;
         const std::size_t place = step.b % twin.elements.size();
         Same("element", std::as_const(ours)[place].value, twin.elements[place]);
         ours[place].value = twin.elements[place] = static_cast<int>(step.c);
     }},
    {"RemoveAll", 1,
     [](World& world, const Step& step) {
         auto& [ours, twin] = world[step.a];
         step.b % 2 == 0 ? ours.RemoveAll() : ours.Reserve(BArray<Element>::kReleaseAll);
         twin.elements.clear();
         twin.capacity = 0;
     }},
    {"new one", 1,
     [](World& world, const Step& step) {
         auto& [ours, twin] = world[step.a];
         ours = BArray<Element>(step.b % 40);
         twin = Twin{{}, 0, step.b % 40};
     }},
    {"copy", 1,
     [](World& world, const Step& step) {
         world[step.a].ours = world[step.b].ours; // perhaps of itself
         world[step.a].twin = world[step.b].twin;
         world[step.a].twin.capacity = world[step.a].twin.elements.size();
     }},
    {"move", 1,
     [](World& world, const Step& step) {
         auto& [ours, twin] = world[step.b];
         world[step.a].ours = std::move(ours);
         Twin moved = std::exchange(twin, Twin{{}, 0, twin.growStep});
         world[step.a].twin = std::move(moved);
     }},
};

} // namespace

Subject ArrayModel()
{
    return MakeSubject("array", kTable);
}
