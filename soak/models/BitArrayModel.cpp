#include "core/geometry/BBitArray.h"

#include "soak/models/Model.h"

namespace {

struct Twin {
    int width = 0;
    int height = 0;
    int planes = 0;
    std::vector<bool> bits; // row by row, cell by cell, plane by plane

    std::size_t Place(int x, int y, int plane) const
    {
        return static_cast<std::size_t>((y * width + x) * planes + plane);
    }
};

Twin MakeTwin(int planes, int width, int height)
{
    planes = planes < 1 ? 0 : (planes + 7) / 8 * 8;
    const int count = width * height < 1 ? 0 : width * height * planes;
    return {width, height, planes, std::vector<bool>(static_cast<std::size_t>(count))};
}

int Number(std::uint32_t number, int least, int count)
{
    return least + static_cast<int>(number % static_cast<std::uint32_t>(count));
}

struct World {
    struct Both {
        BBitArray ours{3, 4, 5};
        Twin twin = MakeTwin(3, 4, 5);
    };
    Both arrays[2];

    Both& operator[](std::uint32_t number) { return arrays[number % 2]; }

    /// Calls `change` with a cell and a plane, when there is any.
    template <class Change>
    static void At(Both& array, const Step& step, Change change)
    {
        Twin& twin = array.twin;
        if (twin.bits.empty() || twin.width < 1)
            return;
        const std::size_t place = step.b % twin.bits.size();
        const int cell = static_cast<int>(place) / twin.planes;
        change(cell % twin.width, cell / twin.width, static_cast<int>(place) % twin.planes, place);
    }
    static void Unset(Twin& twin, std::size_t place)
    {
        // Only the seven others of its byte go.
        for (std::size_t other = place / 8 * 8; other < place / 8 * 8 + 8; ++other)
            twin.bits[other] = twin.bits[other] && other == place;
    }

    void Compare(bool whole)
    {
        for (const auto& [ours, twin] : arrays) {
            Same("width", ours.Width(), twin.width);
            Same("height", ours.Height(), twin.height);
            Same("planes", ours.Planes(), twin.planes);
            Same("size", ours.Size(), std::int64_t{twin.width} * twin.height);
            Same("size of the data", ours.DataSize(), twin.bits.size() / 8);
            Same("data", ours.Data() != nullptr, !twin.bits.empty());
            Same("memory", ours.AllocatedMemory(), sizeof ours + twin.bits.size() / 8);
            for (std::size_t i = 0; (whole || twin.bits.size() < 512) && i < twin.bits.size(); ++i)
                Same("bit", (ours.Data()[i / 8] >> i % 8 & 1) != 0, bool{twin.bits[i]});
        }
    }
};

const Operation<World> kTable[] = {
    {"SetBit", 8,
     [](World& world, const Step& step) {
         auto& array = world[step.a];
         World::At(array, step, [&](int x, int y, int plane, std::size_t place) {
             step.c % 2 == 0 ? array.ours.SetBit(x, y, plane)
                             : array.ours.ChangeBit(x, y, plane, true);
             array.twin.bits[place] = true;
         });
     }},
    {"UnsetBit", 4,
     [](World& world, const Step& step) {
         auto& array = world[step.a];
         World::At(array, step, [&](int x, int y, int plane, std::size_t place) {
             step.c % 2 == 0 ? array.ours.UnsetBit(x, y, plane)
                             : array.ours.ChangeBit(x, y, plane, false);
             World::Unset(array.twin, place);
         });
     }},
    {"TestBit", 4,
     [](World& world, const Step& step) {
         auto& array = world[step.a];
         World::At(array, step, [&](int x, int y, int plane, std::size_t place) {
             Same("bit", array.ours.TestBit(x, y, plane), bool{array.twin.bits[place]});
         });
     }},
    {"SetAllBits", 1,
     [](World& world, const Step& step) {
         auto& [ours, twin] = world[step.a];
         step.b % 2 == 0 ? ours.SetAllBits() : ours.UnsetAllBits();
         twin.bits.assign(twin.bits.size(), step.b % 2 == 0);
     }},
    {"ChangeExtent", 2,
     [](World& world, const Step& step) {
         auto& [ours, twin] = world[step.a];
         const int x = Number(step.b, -4, 12);
         const int y = Number(step.b / 12, -4, 12);
         const int width = Number(step.c, -1, 20);
         const int height = Number(step.c / 20, -1, 20);
         ours.ChangeExtent(x, y, width, height);
         Twin changed = MakeTwin(twin.planes, width, height);
         if (width < 1 || height < 1)
             changed.bits.clear();
         for (int row = 0; row < height && !changed.bits.empty(); ++row)
             for (int column = 0; column < width * twin.planes; ++column) {
                 const int cell = column / twin.planes;
                 const bool isOld = cell + x >= 0 && cell + x < twin.width && row + y >= 0 &&
                                    row + y < twin.height && !twin.bits.empty();
                 const int plane = column % twin.planes;
                 if (isOld)
                     changed.bits[changed.Place(cell, row, plane)] =
                         twin.bits[twin.Place(cell + x, row + y, plane)];
             }
         twin = changed;
     }},
    {"new one", 1,
     [](World& world, const Step& step) {
         const int planes = Number(step.b, -1, 20);
         const int width = Number(step.c, -2, 20);
         const int height = Number(step.c / 20, -2, 20);
         world[step.a].ours = BBitArray(planes, width, height);
         world[step.a].twin = MakeTwin(planes, width, height);
     }},
    {"copy", 1,
     [](World& world, const Step& step) {
         if (step.c % 2 == 0)
             world[step.a].ours = world[step.b].ours;
         else
             world[step.a].ours = BBitArray(world[step.b].ours);
         world[step.a].twin = world[step.b].twin;
     }},
};

} // namespace

Subject BitArrayModel()
{
    return MakeSubject("bit array", kTable);
}
