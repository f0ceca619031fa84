// The locks against what they promise, in every order of steps:
//
//     locks_soak SECONDS SEED
//     locks_soak lock|object SCRIPT SCRIPT SCRIPT
//
// The promises are a small machine (LockModel.h), which is explored completely first: three
// threads, any call that is legal at any time. Then three threads call the real code, compiled so
// that each step that others could notice is a switch (Scheduled.h): from each state each thread is
// let go on, until no new state comes. What calls answer, when they return, and that nobody sleeps
// who could go on, has to be what the machine can do; where no call is under way the counts have to
// be the machine's. The seed chooses what the threads call; 0 seconds are for a small choice that
// is always the same. Scripts are written in the letters of LockModel.h and `Program`.

#include "soak/locks/LockModel.h"
#include "soak/locks/LockUnderTest.h"

#include <array>
#include <chrono>
#include <compare>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

using scheduled::g_world;

namespace {

constexpr int kThreads = LockModel::kThreads;
static_assert(kThreads == scheduled::kThreads);

/// What the threads do: the calls of LockModel.h, and 'p' and 'q' that give back what the last try
/// took, if it did. What stands before a '|' is done while there is no other thread; from a '2' on
/// it is done with a copy of the lock, which is made before, and from a '1' on with the lock again.
struct Program {
    bool isObject;
    std::array<std::string, kThreads> scripts;
};

struct Counts {
    unsigned long long situations = 0, programs = 0, states = 0, steps = 0, schedules = 0;
};

Program g_program;
LockState* g_locks[2];                          // the second one a copy, or null
std::chrono::steady_clock::time_point g_end;    // the epoch: never
using Possible = std::array<PossibleStates, 2>; // of each lock
Possible g_possible{PossibleStates({}), PossibleStates({})};
Counts g_counts;
std::unordered_set<std::uint64_t> g_known; // states
std::string g_schedule;                    // which threads made a step, in lower case when too late

bool IsLate()
{
    return g_end.time_since_epoch().count() != 0 && std::chrono::steady_clock::now() >= g_end;
}

[[noreturn]] void Fail(const char* what)
{
    std::fprintf(stderr, "%s: %s; threads that do \"%s\", \"%s\", \"%s\", in the order %s\n",
                 g_program.isObject ? "BSyncableSmartObj" : "BLockRW", what,
                 g_program.scripts[0].c_str(), g_program.scripts[1].c_str(),
                 g_program.scripts[2].c_str(), g_schedule.c_str());
    std::exit(1);
}

/// Makes a call of the real lock.
LockModel::Answer Call(LockState& lock, char call)
{
    bool answer = true;
    try {
        switch (call) {
        case 'R': lock.LockR(); break;
        case 'W': lock.LockW(); break;
        case 'r': lock.UnlockR(); break;
        case 'w': lock.UnlockW(); break;
        case 'P': answer = lock.TryNestR() || (g_program.isObject && lock.TryEnterR()); break;
        default: answer = (g_program.isObject && lock.TryNestW()) || lock.TryEnterW();
        }
    } catch (int) {
        return LockModel::kThrown;
    }
    return answer ? LockModel::kYes : LockModel::kNo;
}

void SetAlone(bool isAlone)
{
    scheduled::g_isAlone = isAlone;
#if !defined(QD_SLIM_LOCKS) // Windows does not tell
    g_isOnlyThread = isAlone;
#endif
}

/// What a thread does.
void Work(int self)
{
    bool isAlone = scheduled::g_isAlone;
    char lock = 0;
    std::uint32_t tries = 0; // what those brought that were not given back, the last one lowest
    for (const char step : g_program.scripts[static_cast<std::size_t>(self)]) {
        char call = step;
        if (step == '|') {
            isAlone = false;
            SetAlone(false);
            continue;
        }
        if (step == '1' || step == '2') {
            lock = static_cast<char>(step - '1');
            continue;
        }
        if (step == 'p' || step == 'q') {
            if ((std::exchange(tries, tries >> 1) & 1) == 0)
                continue;
            call = step == 'p' ? 'r' : 'w';
        }
        scheduled::Self().asks = call;
        scheduled::Self().asksOf = lock;
        if (isAlone)
            scheduled::Pause();
        const LockModel::Answer answer = Call(*g_locks[static_cast<int>(lock)], call);
        scheduled::Self().answers = static_cast<char>(answer);
        if (step == 'P' || step == 'Q')
            tries = tries << 1 | (answer == LockModel::kYes ? 1 : 0);
    }
    scheduled::Self().isDone = true;
}

/// When no call is under way on it, a lock has the counts that it should have.
void CompareCounts(const PossibleStates& possible, LockState& lock)
{
    const LockModel& model = possible.States().front();
    for (const LockModel::Thread& thread : model.threads) {
        if (thread.place != LockModel::Thread::Outside)
            return;
    }
    if (possible.States().size() != 1)
        Fail("more than one state is possible");
    const bool isOwned = lock.HasOwner();
    if (lock.m_readers != model.readers || lock.m_writerReads != model.writerReads ||
        lock.m_writes != model.writes || isOwned != (model.owner >= 0) ||
        (isOwned && lock.m_owner != static_cast<std::uint32_t>(model.owner + 1)) ||
        lock.m_slimLock.IsExclusive() != isOwned ||
        (!model.hasCopy && lock.m_noReaders.m_state->waiters != 0))
        Fail("the counts are wrong");
}

/// Lets a thread make a step, and looks whether it may.
void Step(int thread)
{
    scheduled::Thread& self = g_world.threads[thread];
    self.answers = LockModel::kNothing;
    if (const char call = std::exchange(self.asks, 0); call != 0) {
        self.isIn = self.asksOf;
        g_possible[static_cast<std::size_t>(self.isIn)].Begin(thread, call);
    }
    const auto lock = static_cast<std::size_t>(self.isIn);
    Go(thread);
    if (self.answers == LockModel::kNothing)
        return;
    const auto answer = static_cast<LockModel::Answer>(self.answers);
    if (!g_possible[lock].End(thread, answer))
        Fail(answer == LockModel::kNo ? "a try failed" : "a call came to its end");
    CompareCounts(g_possible[lock], *g_locks[lock]);
}

/// The threads before their first steps but for what the first of them does alone.
void Start()
{
    std::memset(&g_world, 0, sizeof g_world);
    const bool hasCopy = std::ranges::any_of(g_program.scripts, [](const std::string& script) {
        return script.find('2') != script.npos;
    });
    g_possible.fill(PossibleStates(LockModel{.isObject = g_program.isObject, .hasCopy = hasCopy}));
    g_world.isBuilding = true;
    g_locks[0] = new LockState(g_program.isObject ? 0 : 0xFFFFFFFF);
    g_locks[1] = hasCopy ? new LockState(*g_locks[0]) : nullptr;
    g_world.isBuilding = false;
    for (int i = 0; i < kThreads; ++i) {
        // The first one is yet to ask for its id, which leads a writer a longer way.
        g_world.threads[i].local = i == 0 ? 0 : static_cast<std::uint32_t>(i + 1);
        ucontext_t& context = g_world.threads[i].context;
        getcontext(&context);
        context.uc_stack.ss_sp = scheduled::g_stacks[i];
        context.uc_stack.ss_size = scheduled::kStackSize;
        context.uc_link = &scheduled::g_scheduler;
        makecontext(&context, reinterpret_cast<void (*)()>(&Work), 1, i);
    }
    SetAlone(g_program.scripts[0].find('|') != std::string::npos);
    for (int i = 0; i < kThreads; ++i) {
        Go(i); // to its first step
        while (scheduled::g_isAlone)
            Step(i);
    }
}

/// Whoever still sleeps now sleeps for ever.
void CheckEnd()
{
    ++g_counts.schedules;
    bool mayRest = true, isRead = false;
    for (const PossibleStates& possible : g_possible) {
        mayRest = mayRest && possible.MayRest();
        isRead = isRead || possible.States().front().readers != 0;
    }
    // The event that copies share keeps writers waiting for the readers of either.
    if (!mayRest && !(g_locks[1] != nullptr && isRead))
        Fail("a thread sleeps that could go on");
}

std::uint64_t HashOfPossible()
{
    static_assert(std::has_unique_object_representations_v<LockModel>);
    std::uint64_t hash = 0;
    for (const PossibleStates& possible : g_possible) {
        const std::vector<LockModel>& states = possible.States();
        hash = scheduled::Hash(states.data(), states.size() * sizeof states.front(), hash);
    }
    return hash;
}

/// Goes on from here in each possible way.
void Explore()
{
    if (IsLate() || !g_known.insert(scheduled::HashOfState(HashOfPossible())).second) {
        ++g_counts.schedules;
        return;
    }
    ++g_counts.states;
    const auto state = std::make_unique<scheduled::State>();
    state->Keep();
    const Possible possible = g_possible;
    bool isEnd = true;
    for (int i = 0; i < kThreads; ++i) {
        scheduled::Thread& thread = g_world.threads[i];
        const bool isAsleep = thread.sleepsOn != nullptr;
        if (thread.isDone || (isAsleep && !thread.hasTimeLimit))
            continue;
        isEnd = false;
        thread.isLate = isAsleep;
        thread.sleepsOn = nullptr;
        g_schedule.push_back(static_cast<char>((isAsleep ? 'a' : 'A') + i));
        ++g_counts.steps;
        Step(i);
        Explore();
        g_schedule.pop_back();
        state->ComeBack();
        g_possible = possible;
    }
    if (isEnd)
        CheckEnd();
}

void Run(const Program& program)
{
    g_program = program;
    g_known.clear();
    Start();
    Explore();
    ++g_counts.programs;
}

void RunBoth(std::array<std::string, kThreads> scripts)
{
    for (const bool isObject : {false, true})
        Run({isObject, scripts});
}

/// The machine, and what each thread has to give back.
struct Situation {
    struct Held {
        int reads = 0, writes = 0;

        auto operator<=>(const Held&) const = default;
        void Change(const LockModel::Thread& by)
        {
            const bool isThrown = by.answer == LockModel::kThrown;
            const int taken = by.answer == LockModel::kYes ? 1 : 0;
            switch (by.call) {
            case 'R':
            case 'P': reads += taken; break;
            case 'W':
            case 'Q': writes += taken; break;
            case 'r': --reads; break;
            default: --writes, reads += isThrown ? 1 : 0;
            }
        }
    };
    LockModel lock;
    std::array<Held, kThreads> held = {};

    auto operator<=>(const Situation&) const = default;
};

/// A reader that asks for the write lock waits for itself.
bool IsHopeless(const Situation& situation)
{
    for (std::size_t i = 0; i < kThreads; ++i) {
        const LockModel::Thread& self = situation.lock.threads[i];
        if (self.call == 'W' && self.place == LockModel::Thread::Asking &&
            situation.lock.owner != static_cast<int>(i) && situation.held[i].reads > 0)
            return true;
    }
    return false;
}

/// All are counted, and nobody reads beside the writer unless the first reader waits.
bool IsSound(const Situation& situation)
{
    const LockModel& lock = situation.lock;
    int readers = 0, waiting = 0;
    Situation::Held writer;
    for (std::size_t i = 0; i < kThreads; ++i) {
        Situation::Held held = situation.held[i];
        if (lock.threads[i].place == LockModel::Thread::Answered)
            held.Change(lock.threads[i]);
        waiting += lock.threads[i].place == LockModel::Thread::Waiting ? 1 : 0;
        if (lock.owner == static_cast<int>(i))
            writer = held;
        else
            readers += held.reads;
        if (lock.owner != static_cast<int>(i) && held.writes != 0)
            return false;
    }
    return lock.readers == readers + waiting && lock.writerReads == writer.reads &&
           lock.writes == writer.writes && waiting <= 1 &&
           (readers == 0 || lock.owner == LockModel::kNobody || waiting == 1);
}

/// All that a thread may do next, when none holds more than two locks of a kind.
std::vector<Situation> Next(const Situation& from, int thread)
{
    const auto at = static_cast<std::size_t>(thread);
    const Situation::Held& held = from.held[at];
    std::vector<Situation> next;
    if (from.lock.threads[at].place == LockModel::Thread::Outside) {
        for (const auto& [call, isLegal] : {std::pair{'R', held.reads < 2},
                                            {'P', held.reads < 2},
                                            {'W', held.writes < 2},
                                            {'Q', held.writes < 2},
                                            {'r', held.reads > 0},
                                            {'w', held.writes > 0 && held.reads < 2}}) {
            if (isLegal)
                next.emplace_back(from).lock.Begin(thread, call);
        }
    } else if (from.lock.threads[at].place == LockModel::Thread::Answered) {
        next.push_back(from);
        next.back().held[at].Change(from.lock.threads[at]);
        next.back().lock.End(thread);
    } else {
        for (const LockModel& lock : from.lock.Steps(thread))
            next.push_back({lock, from.held});
    }
    return next;
}

/// Each situation is sound, and from each the lock can become free.
void ExploreMachine(bool isObject)
{
    std::map<Situation, std::size_t> known = {{{{.isObject = isObject}}, 0}};
    std::vector<const Situation*> all = {&known.begin()->first};
    std::vector<std::vector<std::size_t>> before(1);
    for (std::size_t i = 0; i < all.size(); ++i) {
        for (int thread = 0; thread < kThreads; ++thread) {
            for (const Situation& next : Next(*all[i], thread)) {
                const auto [place, isNew] = known.try_emplace(next, all.size());
                if (isNew) {
                    all.push_back(&place->first);
                    before.emplace_back();
                }
                before[place->second].push_back(i);
            }
        }
    }
    std::vector<bool> comesFree(all.size());
    std::vector<std::size_t> open;
    const auto add = [&](std::size_t i) {
        if (!comesFree[i])
            open.push_back(i);
        comesFree[i] = true;
    };
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (all[i]->lock.IsFree())
            add(i);
    }
    while (!open.empty()) {
        const std::size_t i = open.back();
        open.pop_back();
        std::ranges::for_each(before[i], add);
    }
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (!IsSound(*all[i]) || comesFree[i] == IsHopeless(*all[i])) {
            std::fprintf(stderr, "the machine itself is wrong\n");
            std::exit(1);
        }
    }
    g_counts.situations += all.size();
}

/// Threads that take and give back each kind of lock, and those who nest, in all ways; what a
/// thread does alone; a read lock that another thread gives back; a reader who waits for itself.
void RunSmallOnes()
{
    const std::string kinds[] = {"Rr", "Ww", "Pp", "Qq", ""};
    for (std::size_t i = 0; i < 4; ++i) {
        for (std::size_t j = i; j < 5; ++j) {
            for (std::size_t k = j; k < 5; ++k)
                RunBoth({kinds[i], kinds[j], kinds[k]});
        }
    }
    for (const char* nested : {"RRrr", "WWww", "WRrw", "WRwrrWw", "WPpQqw", "RPpQqr"})
        RunBoth({nested, "Ww", "Pp"});
    for (const char* first : {"R|r", "W|w", "WR|rw", "P|p", "Q|q", "Rr|", "Ww|"})
        RunBoth({first, "Rr", "Ww"});
    RunBoth({"R|", "rWw", "Qq"});
    for (const char* ofCopy : {"2Rr", "2Ww", "2Pp", "2Qq"}) {
        for (const char* other : {"Rr", "Ww", "Pp"})
            RunBoth({ofCopy, other, "Ww"});
    }
    RunBoth({"RWwr", "Rr", "Ww"});
}

/// What a thread may do: takes locks, in one another or one after the other, and gives them back.
std::string RandomScript(std::minstd_rand& random, bool hasCopy)
{
    std::string script;
    std::string open; // to give back, the last one first
    for (std::size_t left = 1 + random() % 3; left != 0 || !open.empty();) {
        if (hasCopy && open.empty())
            script += random() % 2 == 0 ? '1' : '2';
        if (left != 0 && (open.empty() || random() % 2 == 0)) {
            const std::size_t kind = random() % 4;
            // A reader that asks for the write lock would wait for itself.
            const bool mayWrite = open.find_first_of("rp") == open.npos || random() % 16 == 0;
            script += kind == 1 && !mayWrite ? 'Q' : "RWPQ"[kind];
            open += kind == 1 && !mayWrite ? 'q' : "rwpq"[kind];
            --left;
        } else {
            script += open.back();
            open.pop_back();
        }
    }
    return script;
}

void RunRandomOnes(std::uint32_t seed)
{
    for (std::minstd_rand random(seed); !IsLate();) {
        Program program{random() % 2 == 0, {}};
        const bool hasCopy = random() % 4 == 0;
        for (std::string& script : program.scripts)
            script = RandomScript(random, hasCopy);
        std::string& first = program.scripts[0];
        if (random() % 4 == 0)
            first.insert(first.begin() + 1 + static_cast<std::ptrdiff_t>(random() % first.size()),
                         '|');
        Run(program);
    }
}

} // namespace

int main(int count, char** arguments)
{
    if (count == 2 + kThreads) {
        Run({arguments[1] == std::string_view("object"),
             {arguments[2], arguments[3], arguments[4]}});
    } else if (count == 3) {
        const double seconds = std::atof(arguments[1]);
        ExploreMachine(false);
        ExploreMachine(true);
        if (seconds == 0)
            RunSmallOnes();
        g_end = std::chrono::steady_clock::now() +
                std::chrono::milliseconds(static_cast<int>(seconds * 1000));
        RunRandomOnes(static_cast<std::uint32_t>(std::atoi(arguments[2])));
    } else {
        std::fprintf(stderr, "usage: locks_soak SECONDS SEED\n"
                             "       locks_soak lock|object SCRIPT SCRIPT SCRIPT\n");
        return 2;
    }
    std::printf("%llu situations of the machine\n%llu programs\n%llu states\n%llu steps\n"
                "%llu schedules\n",
                g_counts.situations, g_counts.programs, g_counts.states, g_counts.steps,
                g_counts.schedules);
}
