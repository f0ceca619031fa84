#include "core/units/BUnitSystem.h"

#include "core/operation/Messages.h"
#include "core/platform/WideText.h"

#include "tests/operation/RecordingDispatcher.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using platform::WideText;
using Messages = std::vector<RecordingDispatcher::Message>;

Messages Changed(std::initializer_list<std::uint64_t> classes)
{
    Messages messages;
    for (const std::uint64_t one : classes)
        messages.push_back({kMessageUnitChanged, one, 0});
    return messages;
}

TEST(BUnitSystem, StartsWithMillimetresAndDegrees)
{
    RecordingDispatcher dispatcher;
    const BUnitSystem system;
    EXPECT_EQ(dispatcher.Posted(), Changed({1, 2, 3, 4, 5}));
    const std::pair<const WChar*, int> cases[] = {{QD_W(""), 9},         {QD_W("mm"), 3},
                                                  {QD_W("mm\u00B2"), 3}, {QD_W("mm\u00B3"), 3},
                                                  {QD_W("\u00B0C"), 1},  {QD_W("\u00B0"), 2}};
    int index = 0;
    for (const auto& [symbol, precision] : cases) {
        const BUnit& unit = system.Unit(static_cast<EUnitClass>(index++));
        EXPECT_EQ(WideText(unit.Symbol()), symbol);
        EXPECT_EQ(unit.Precision(), precision);
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
        {UnitInch, QD_W("\""), QD_W("1.0000"), Changed({1})},
        {UnitThou, QD_W("Thou"), QD_W("1000.0"), Changed({1})},
        {UnitDegree, QD_W("Thou"), QD_W("1000.0"), Changed({5})},
        {4, QD_W("Thou"), QD_W("1000.0"), {}},
        {UnitMillimeter, QD_W("mm"), QD_W("25.400"), Changed({1, 2, 3})},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.setting);
        system.ChangeUnit(static_cast<EUnit>(row.setting));
        EXPECT_EQ(WideText(length.Symbol()), row.length);
        EXPECT_EQ(WideText(length.Format(25.4, -1)), row.text);
        EXPECT_EQ(dispatcher.Posted(), row.posted);
    }
    system.ChangeUnit(UnitClassTemperature, QD_W("K"), 1, 2);
    EXPECT_EQ(dispatcher.Posted(), Changed({4}));
    EXPECT_EQ(WideText(system.Unit(UnitClassTemperature).Symbol()), QD_W("K"));
}

TEST(BUnitSystem, HasOneInstanceWhicheverThreadAsksFirst)
{
    BUnitSystem::RegisterInstance(nullptr);
    SP<BUnitSystem> first, second;
    std::thread other([&] { second = BUnitSystem::Instance(); });
    first = BUnitSystem::Instance();
    other.join();
    ASSERT_TRUE(first);
    EXPECT_EQ(first, second);
    EXPECT_EQ(first->RefCount(), 3);

    const SP<BUnitSystem> own = new BUnitSystem;
    BUnitSystem::RegisterInstance(own);
    RecordingDispatcher dispatcher;
    EXPECT_EQ(BUnitSystem::Instance(), own);
    EXPECT_EQ(dispatcher.Posted(), Messages()) << "a second one would tell of its units";
    EXPECT_EQ(first->RefCount(), 2);
    BUnitSystem::RegisterInstance(nullptr);
    EXPECT_EQ(own->RefCount(), 1);
    EXPECT_NE(BUnitSystem::Instance(), own);
    BUnitSystem::RegisterInstance(nullptr);

    // An instance that comes while a default is made stays.
    dispatcher.OnNextPost([&] { BUnitSystem::RegisterInstance(own); });
    EXPECT_EQ(BUnitSystem::Instance(), own);
    BUnitSystem::RegisterInstance(nullptr);
}

} // namespace
