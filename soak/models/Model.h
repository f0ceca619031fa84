#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <rapidcheck.h>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

/// What the models share. A model is a *world*: objects of the library and their twins, which keep
/// what the headers promise in the plainest way, and a table of operations. An operation does the
/// same to both and compares what they answer.

/// One operation to be done: its number in the table, and three numbers that it reads as it likes.
/// Small ones mean simple things, as a fault is told with the smallest that show it.
struct Step {
    std::uint32_t operation;
    std::uint32_t a;
    std::uint32_t b;
    std::uint32_t c;
};

template <class World>
struct Operation {
    const char* name;
    int weight; // how often it comes, beside the others
    void (*run)(World& world, const Step& step);
};

/// A model as the driver sees it: names of operations, each as often as its weight says, and what
/// runs steps in a new world, tells which one it has reached, and throws where the twins differ.
struct Subject {
    const char* name;
    std::vector<const char*> operations;
    std::function<void(const std::vector<Step>& steps, std::size_t& reached)> run;
};

template <class Value>
std::string Shown(const Value& value)
{
    if constexpr (std::is_pointer_v<Value>)
        return rc::toString(reinterpret_cast<std::uintptr_t>(value));
    else if constexpr (std::is_same_v<Value, std::u16string>)
        return rc::toString(std::vector<unsigned>(value.begin(), value.end()));
    else
        return rc::toString(value);
}

/// Throws unless both are equal.
template <class Ours, class Twins>
void Same(const char* what, const Ours& ours, const Twins& twins)
{
    if (!(ours == twins))
        throw std::logic_error(std::string(what) + ": the library has " + Shown(ours) +
                               ", the twin " + Shown(twins));
}

/// `World` has `Compare(bool whole)`: after each step it looks at what is cheap to compare, at the
/// end and now and then at everything.
template <class World, std::size_t count>
Subject MakeSubject(const char* name, const Operation<World> (&table)[count])
{
    constexpr std::size_t wholeEach = 64;
    Subject subject{name, {}, {}};
    std::vector<void (*)(World&, const Step&)> runs;
    for (const Operation<World>& operation : table) {
        subject.operations.insert(subject.operations.end(),
                                  static_cast<std::size_t>(operation.weight), operation.name);
        runs.insert(runs.end(), static_cast<std::size_t>(operation.weight), operation.run);
    }
    subject.run = [runs](const std::vector<Step>& steps, std::size_t& reached) {
        World world;
        for (reached = 0; reached < steps.size(); ++reached) {
            runs[steps[reached].operation](world, steps[reached]);
            world.Compare(reached % wholeEach == 0);
        }
        world.Compare(true);
    };
    return subject;
}

Subject ArrayModel();
Subject ListModel();
Subject NarrowDictionaryModel();
Subject WideDictionaryModel();
Subject NumberDictionaryModel();
Subject MapModel();
Subject NarrowTextModel();
Subject WideTextModel();
Subject TreeModel();
Subject BankModel();
Subject MemoryModel();
Subject ScratchModel();
Subject BitArrayModel();
Subject ProgressModel();
Subject BreakingProgressModel();
Subject ParallelProgressModel();
Subject OperationModel();
