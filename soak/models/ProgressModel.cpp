#include "core/operation/BProgressManager.h"
#include "core/operation/BProgressMapping.h"
#include "core/operation/Messages.h"

#include "soak/models/Model.h"
#include "tests/operation/RecordingDispatcher.h"

#include <algorithm>
#include <type_traits>

namespace {

/// The user, who wants to break off or not.
class User final : public BProgressManager {
public:
    bool isBreaking = false;

private:
    void BeginLongOperation(std::uint64_t) override {}
    bool BreakLongOperation(bool) override { return isBreaking; }
    void EndLongOperation() override {}
    void TestUserBreak() override
    {
        if (isBreaking)
            throw 1;
    }
};

/// Whether and when a step brings an update is the clock's; what an update sends is modelled.
template <class Mapping>
struct World {
    RecordingDispatcher dispatcher;
    SP<User> user = new User;
    Mapping ours{1000, 100};
    std::uint64_t steps = 1000;
    std::uint64_t units = 100;
    std::uint64_t step = 0;
    std::uint64_t sent = 0;
    bool isStopping = false;

    World() { BProgressManager::RegisterInstance(user); }
    ~World() { BProgressManager::RegisterInstance(nullptr); }

    std::uint64_t Reached() const
    {
        if (steps != 0 && step >= steps)
            return units;
        const double scale =
            steps == 0 ? 1.0 : static_cast<double>(units) / static_cast<double>(steps);
        return std::min(units, static_cast<std::uint64_t>(static_cast<double>(step) * scale));
    }

    void Compare(bool)
    {
        Same("step", ours.Step(), step);
        Same("steps", ours.GetSteps(), steps);
        Same("units", ours.ProgressMessageNum(), units);
        if constexpr (requires { ours.IsStopping(); })
            Same("stopping", ours.IsStopping(), isStopping);
    }

    void Advance(std::uint64_t count, bool byStep)
    {
        const bool reachesEnd = step < steps && step + count >= steps;
        step += count;
        bool isUpdated = false;
        try {
            isUpdated = byStep ? ours.StepTo(step) : ours.Next(count);
            if constexpr (std::is_same_v<Mapping, BProgressMappingAndBreak>)
                Same("went on", isUpdated && user->isBreaking, false);
        } catch (int) {
            Same("breaking", user->isBreaking, true);
            isUpdated = true;
        }
        if (reachesEnd)
            Same("updated at the end", isUpdated, true);
        if (count == 0)
            Same("updated without a step", isUpdated, false);
        const auto messages = dispatcher.Sent();
        const std::uint64_t reached = isUpdated ? std::max(sent, Reached()) : sent;
        Same("messages", messages.size(), std::size_t{reached > sent ? 1u : 0u});
        if (reached > sent) {
            Same("message", messages[0].number, kMessageProgressIncrement);
            Same("increment", messages[0].first, reached - sent);
        }
        sent = reached;
        isStopping = isStopping || (isUpdated && user->isBreaking);
    }
};

template <class Mapping>
Subject Model(const char* name)
{
    using W = World<Mapping>;
    static const Operation<W> table[] = {
        {"Next", 20, [](W& world, const Step& step) { world.Advance(step.a % 100, false); }},
        {"StepTo", 4, [](W& world, const Step& step) { world.Advance(step.a % 100 + 1, true); }},
        {"StepTo behind", 1,
         [](W& world, const Step& step) {
             Same("advanced", world.ours.StepTo(step.a % (world.step + 1)), false);
             Same("messages", world.dispatcher.Sent().size(), std::size_t{0});
         }},
        {"SetSteps", 1,
         [](W& world, const Step& step) {
             world.steps = step.a % 10 == 0 ? 0 : step.a % 5000 + world.step * (step.b % 2);
             world.ours.SetSteps(world.steps);
         }},
        {"new one", 1,
         [](W& world, const Step& step) {
             world.steps = step.a % 4 == 0 ? step.a % 3 : step.a;
             world.units = step.b % 4 == 0 ? step.b % 3 : step.b;
             world.ours = Mapping(world.steps, world.units);
             world.step = world.sent = 0;
             world.isStopping = false;
         }},
        {"copy", 1, [](W& world, const Step&) { world.ours = Mapping(world.ours); }},
        {"break", 1, [](W& world, const Step& step) { world.user->isBreaking = step.a % 2 == 1; }},
    };
    return MakeSubject(name, table);
}

} // namespace

Subject ProgressModel()
{
    return Model<BProgressMapping>("progress");
}

Subject BreakingProgressModel()
{
    return Model<BProgressMappingAndBreak>("progress and break");
}

Subject ParallelProgressModel()
{
    return Model<BProgressMappingOMP>("progress of a parallel loop");
}
