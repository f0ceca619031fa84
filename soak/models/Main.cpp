// Random operations on classes of the library and on naive twins of them:
//
//     models_soak SECONDS SEED [SUBJECT]
//
// RapidCheck makes the operations, a case at a time, and when one shows a fault looks for the
// shortest that still does. A round of some cases of a subject is a process of its own, which must
// end well: so assertions and leaks that a sanitizer finds count, too. Such a round is repeated
// with a process for each case, so that those faults are made short in the same way. The seed
// decides everything but when the time is over.

#include "soak/Processes.h"
#include "soak/models/Model.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <random>
#include <rapidcheck/detail/TestListenerAdapter.h>
#include <tuple>
#include <utility>

namespace {

constexpr int kCasesPerRound = 40;
constexpr int kLongest = 12; // a case has up to 2^12 steps

/// A case, to be shown by the names of its operations.
struct Case {
    const Subject* subject;
    std::vector<Step> steps;
};

void showValue(const Case& shown, std::ostream& out)
{
    for (const Step& step : shown.steps)
        out << "\n    " << shown.subject->operations[step.operation] << '(' << step.a << ", "
            << step.b << ", " << step.c << ')';
}

/// Half of the numbers are small.
std::uint32_t SomeNumber(std::mt19937& random)
{
    const auto number = static_cast<std::uint32_t>(random());
    return number % 2 == 0 ? number >> 1 : number >> (random() % 31 + 1);
}

Case SomeCase(const Subject& subject, const rc::Random& seed)
{
    std::mt19937 random(static_cast<std::uint32_t>(rc::Random(seed).next()));
    const std::uint32_t length = std::uint32_t{1} << random() % (kLongest + 1);
    Case made{&subject, std::vector<Step>(random() % length + 1)};
    for (Step& step : made.steps)
        step = {static_cast<std::uint32_t>(random() % subject.operations.size()),
                SomeNumber(random), SomeNumber(random), SomeNumber(random)};
    return made;
}

/// Steps of which perhaps fewer, or with smaller numbers, show the same fault. What stands behind
/// the step that was `reached` does not count. Chunks are halved, as all of them would be too many.
rc::Seq<std::vector<Step>> Shorter(const std::vector<Step>& steps, std::size_t reached)
{
    using Chunk = std::pair<std::size_t, std::size_t>; // beginning and end
    std::vector<Chunk> chunks{{std::min(reached + 1, steps.size()), steps.size()}};
    for (std::size_t size = steps.size() / 2; size > 0; size /= 2)
        for (std::size_t start = 0; start < steps.size(); start += size)
            chunks.emplace_back(start, std::min(start + size, steps.size()));
    if (chunks[0].first == chunks[0].second)
        chunks.erase(chunks.begin()); // nothing
    const auto without = [steps](const Chunk& chunk) {
        auto made = steps;
        made.erase(made.begin() + static_cast<std::ptrdiff_t>(chunk.first),
                   made.begin() + static_cast<std::ptrdiff_t>(chunk.second));
        return made;
    };
    const auto smaller = [](std::uint32_t Step::*number) {
        return [number](const Step& step) {
            return rc::seq::map(rc::shrink::integral(step.*number), [=](std::uint32_t value) {
                Step made = step;
                made.*number = value;
                return made;
            });
        };
    };
    return rc::seq::concat(rc::seq::map(rc::seq::fromContainer(chunks), without),
                           rc::shrink::eachElement(steps, smaller(&Step::a)),
                           rc::shrink::eachElement(steps, smaller(&Step::b)),
                           rc::shrink::eachElement(steps, smaller(&Step::c)));
}

/// What the processes share.
struct Shared {
    std::uint64_t count; // of steps that were done
    std::size_t reached; // step of the last case
};

constexpr int kWell = 0;
constexpr int kTold = 3; // a fault, which none of the other codes is

/// How a process that does `work`, and ends with what that returns, ended; -1 when by a signal.
template <class Work>
int EndOf(Work work, bool isSilent)
{
    std::fflush(nullptr);
    const pid_t child = ::fork();
    if (child == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (isSilent)
            std::ignore = std::freopen("/dev/null", "w", stderr);
        const auto whole = [&]() noexcept { return work(); }; // nothing goes on in this process
        std::exit(whole()); // not `_exit`: the sanitizer looks for leaks
    }
    int status = 0;
    return ::waitpid(child, &status, 0) == child && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// Does some cases, and tells what is wrong. Where `isAlone`, each has a process of its own.
int Round(const Subject& subject, std::uint64_t seed, bool isAlone, Shared& shared)
{
    const auto shorter = [&](const Case& shown) {
        return rc::seq::map(Shorter(shown.steps, shared.reached), [&](std::vector<Step> steps) {
            return Case{&subject, std::move(steps)};
        });
    };
    const rc::Gen<Case> cases([&](const rc::Random& random, int) {
        return rc::shrinkable::shrinkRecur(SomeCase(subject, random), shorter);
    });
    const auto property = rc::detail::toProperty([&] {
        const Case made = *cases;
        const auto run = [&] {
            subject.run(made.steps, shared.reached);
            return kWell;
        };
        if ((isAlone ? EndOf(run, true) : run()) != kWell)
            throw std::logic_error("a process that does this does not end well");
        shared.count += made.steps.size();
    });
    rc::detail::TestParams parameters;
    parameters.seed = seed;
    parameters.maxSuccess = kCasesPerRound;
    rc::detail::TestListenerAdapter silent;
    const auto result = rc::detail::checkProperty(property, {}, parameters, silent, {});
    if (result.is<rc::detail::SuccessResult>())
        return kWell;
    std::cerr << "fails: " << subject.name << '\n';
    rc::detail::printResultMessage(result, std::cerr);
    std::cerr << std::endl;
    return kTold;
}

/// Whether a round showed no fault.
bool Holds(const Subject& subject, std::uint64_t seed, Shared& shared)
{
    const int end = EndOf([&] { return Round(subject, seed, false, shared); }, false);
    if (end == kWell || end == kTold)
        return end == kWell;
    if (EndOf([&] { return Round(subject, seed, true, shared); }, false) == kWell)
        std::cerr << "fails: " << subject.name << ", but no case does alone\n";
    return false;
}

} // namespace

int main(int argumentCount, char** arguments)
{
    if (argumentCount < 3) {
        std::fprintf(stderr, "usage: models_soak SECONDS SEED [SUBJECT]\n");
        return 2;
    }
    std::vector<Subject> subjects = {ArrayModel(),
                                     ListModel(),
                                     NarrowDictionaryModel(),
                                     WideDictionaryModel(),
                                     NumberDictionaryModel(),
                                     MapModel(),
                                     NarrowTextModel(),
                                     WideTextModel(),
                                     TreeModel(),
                                     BankModel(),
                                     MemoryModel(),
                                     ScratchModel(),
                                     BitArrayModel(),
                                     ProgressModel(),
                                     BreakingProgressModel(),
                                     ParallelProgressModel(),
                                     OperationModel()};
    if (argumentCount > 3)
        std::erase_if(subjects, [arguments](const Subject& subject) {
            return std::strcmp(subject.name, arguments[3]) != 0;
        });
    const auto end =
        std::chrono::steady_clock::now() + std::chrono::duration<double>(std::atof(arguments[1]));
    auto& shared = *MakeShared<Shared>(1);
    std::mt19937_64 seeds(std::strtoull(arguments[2], nullptr, 10));
    bool holds = !subjects.empty();
    do {
        for (const Subject& subject : subjects)
            holds &= Holds(subject, seeds(), shared);
    } while (holds && std::chrono::steady_clock::now() < end);
    std::printf("%llu operations\n", static_cast<unsigned long long>(shared.count));
    return holds ? 0 : 1;
}
