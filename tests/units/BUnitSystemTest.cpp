#include "core/units/BUnitSystem.h"

#include "core/operation/Messages.h"

#include "tests/operation/RecordingDispatcher.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using Wide = std::basic_string<WChar>;
using Messages = std::vector<RecordingDispatcher::Message>;

TEST(BUnitSystem, StartsWithMillimetresAndDegrees)
{
    RecordingDispatcher dispatcher;
    const BUnitSystem system;
    EXPECT_EQ(dispatcher.Posted(), (Messages{{kMessageUnitChanged, 1, 0},
                                             {kMessageUnitChanged, 2, 0},
                                             {kMessageUnitChanged, 3, 0},
                                             {kMessageUnitChanged, 4, 0},
                                             {kMessageUnitChanged, 5, 0}}));
    const struct {
        const WChar* symbol;
        int precision;
    } cases[] = {{QD_W(""), 9},         {QD_W("mm"), 3},      {QD_W("mm\u00B2"), 3},
                 {QD_W("mm\u00B3"), 3}, {QD_W("\u00B0C"), 1}, {QD_W("\u00B0"), 2}};
    for (int index = 0; index < 6; ++index) {
        SCOPED_TRACE(index);
        const BUnit& unit = system.Unit(static_cast<EUnitClass>(index));
        EXPECT_EQ(Wide(unit.Symbol()), cases[index].symbol);
        EXPECT_EQ(unit.Precision(), cases[index].precision);
        EXPECT_EQ(unit.Convert(1.0), 1.0);
    }
}

TEST(BUnitSystem, PostsEachUnitThatASettingChanges)
{
    BUnitSystem system;
    const BUnit& length = system.Unit(UnitClassLength);
    RecordingDispatcher dispatcher;
    const struct {
        int setting;
        const WChar *length, *text;
        Messages posted;
    } cases[] = {
        {UnitInch, QD_W("\""), QD_W("1.0000"), {{kMessageUnitChanged, 1, 0}}},
        {UnitThou, QD_W("Thou"), QD_W("1000.0"), {{kMessageUnitChanged, 1, 0}}},
        {UnitDegree, QD_W("Thou"), QD_W("1000.0"), {{kMessageUnitChanged, 5, 0}}},
        {4, QD_W("Thou"), QD_W("1000.0"), {}},
        {UnitMillimeter,
         QD_W("mm"),
         QD_W("25.400"),
         {{kMessageUnitChanged, 1, 0}, {kMessageUnitChanged, 2, 0}, {kMessageUnitChanged, 3, 0}}},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.setting);
        const Wide area = system.Unit(UnitClassArea).Symbol().CStr();
        system.ChangeUnit(static_cast<EUnit>(row.setting));
        EXPECT_EQ(Wide(length.Symbol()), row.length);
        EXPECT_EQ(Wide(length.Format(25.4, -1)), row.text);
        EXPECT_EQ(dispatcher.Posted(), row.posted);
        EXPECT_EQ(area, QD_W("mm\u00B2"));
    }
    system.ChangeUnit(UnitClassTemperature, QD_W("K"), 1, 2);
    EXPECT_EQ(dispatcher.Posted(), (Messages{{kMessageUnitChanged, 4, 0}}));

    const BUnitSystem copy(system);
    BUnitSystem moved(std::move(system));
    BUnitSystem assigned;
    assigned = copy;
    EXPECT_EQ(Wide(copy.Unit(UnitClassTemperature).Symbol()), QD_W("K"));
    EXPECT_EQ(Wide(moved.Unit(UnitClassTemperature).Symbol()), QD_W("K"));
    EXPECT_EQ(Wide(assigned.Unit(UnitClassTemperature).Symbol()), QD_W("K"));
}

TEST(BUnitSystem, HasOneInstanceWhicheverThreadAsksFirst)
{
    BUnitSystem::RegisterInstance(nullptr);
    std::vector<SP<BUnitSystem>> seen(4);
    std::vector<std::thread> threads;
    for (SP<BUnitSystem>& one : seen)
        threads.emplace_back([&one] { one = BUnitSystem::Instance(); });
    for (std::thread& thread : threads)
        thread.join();
    for (const SP<BUnitSystem>& one : seen)
        EXPECT_EQ(one, seen.front());
    ASSERT_TRUE(seen.front());
    EXPECT_EQ(seen.front()->RefCount(), 5);

    const SP<BUnitSystem> own = new BUnitSystem;
    BUnitSystem::RegisterInstance(own);
    EXPECT_EQ(BUnitSystem::Instance(), own);
    EXPECT_EQ(seen.front()->RefCount(), 4);
    BUnitSystem::RegisterInstance(nullptr);
    EXPECT_EQ(own->RefCount(), 1);
    EXPECT_NE(BUnitSystem::Instance(), own);
    BUnitSystem::RegisterInstance(nullptr);
}

} // namespace
