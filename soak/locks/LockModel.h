#pragma once

#include <algorithm>
#include <array>
#include <compare>
#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

/// What the locks promise, as a machine whose every step is indivisible. A call begins, takes
/// effect in one step or two, and ends with an answer. Calls are written as
///
///     R LockR    P TryLockR    r UnlockR
///     W LockW    Q TryLockW    w UnlockW
///
/// and answered with `kNo`, `kYes` (also by what answers nothing) or `kThrown`.
struct LockModel {
    static constexpr int kThreads = 3;
    static constexpr int kNobody = -1;
    enum Answer : signed char { kNothing, kNo, kYes, kThrown };

    struct Thread {
        enum Place : signed char {
            Outside,
            Asking,   // nothing has happened so far
            Waiting,  // the first reader, counted, beside a writer
            Answered, // about to return
        };
        char call = 0;
        Place place = Outside;
        Answer answer = kNothing;

        auto operator<=>(const Thread&) const = default;
    };

    bool isObject = false; // a BSyncableSmartObj, else a BLockRW: they differ in their tries
    bool hasCopy = false;  // whose readers may make a try fail
    signed char owner = kNobody;
    signed char readers = 0;     // on other threads than the owner's
    signed char writerReads = 0; // on the owner's
    signed char writes = 0;
    std::array<Thread, kThreads> threads = {};

    auto operator<=>(const LockModel&) const = default;

    [[nodiscard]] bool IsFree() const { return owner == kNobody && readers == 0; }

    void Begin(int thread, char call) { threads[At(thread)] = {call, Thread::Asking, kNothing}; }
    void End(int thread) { threads[At(thread)] = {}; }

    /// What the next step of `thread` can lead to; nothing while it has to wait.
    [[nodiscard]] std::vector<LockModel> Steps(int thread) const
    {
        const Thread& self = threads[At(thread)];
        const bool isOwner = owner == thread;
        if (self.place == Thread::Waiting)
            return owner == kNobody ? Also({}, *this, thread, kYes) : std::vector<LockModel>();
        if (self.place != Thread::Asking)
            return {};
        switch (self.call) {
        case 'R': return Read(thread);
        case 'W': return isOwner || IsFree() ? Write(thread) : std::vector<LockModel>();
        case 'r': return GiveBackRead(thread);
        case 'w': return GiveBackWrite(thread);
        case 'P':
            return isOwner || (isObject && owner == kNobody) ? Tried(thread, Read(thread), "WQw")
                                                             : Tried(thread, {}, "");
        default:
            return (isOwner && isObject) || IsFree() ? Tried(thread, Write(thread), "WQwP")
                                                     : Tried(thread, {}, "");
        }
    }

private:
    static std::size_t At(int thread) { return static_cast<std::size_t>(thread); }

    /// `states` with `state` too, in which `thread` got its answer.
    static std::vector<LockModel> Also(std::vector<LockModel> states, LockModel state, int thread,
                                       Answer answer)
    {
        state.threads[At(thread)].place = Thread::Answered;
        state.threads[At(thread)].answer = answer;
        states.push_back(state);
        return states;
    }

    /// What a try may lead to that could take what it asks for, if it does in `taken`. Another
    /// thread that is in the midst of one of `calls` may be in its way.
    [[nodiscard]] std::vector<LockModel> Tried(int thread, std::vector<LockModel> taken,
                                               std::string_view calls) const
    {
        bool mayFail = taken.empty() || hasCopy;
        for (int other = 0; other < kThreads; ++other) {
            const Thread& it = threads[At(other)];
            mayFail |= owner != thread && other != thread && it.place != Thread::Outside &&
                       calls.find(it.call) != std::string_view::npos;
        }
        return mayFail ? Also(std::move(taken), *this, thread, kNo) : taken;
    }

    [[nodiscard]] std::vector<LockModel> Read(int thread) const
    {
        LockModel next = *this;
        if (owner == thread) {
            ++next.writerReads;
        } else if (++next.readers == 1 && owner != kNobody) {
            next.threads[At(thread)].place = Thread::Waiting;
            return {next};
        }
        return Also({}, next, thread, kYes);
    }

    [[nodiscard]] std::vector<LockModel> Write(int thread) const
    {
        LockModel next = *this;
        next.owner = static_cast<signed char>(thread);
        ++next.writes;
        return Also({}, next, thread, kYes);
    }

    [[nodiscard]] std::vector<LockModel> GiveBackRead(int thread) const
    {
        LockModel next = *this;
        --(owner == thread ? next.writerReads : next.readers);
        return Also({}, next, thread, kYes);
    }

    [[nodiscard]] std::vector<LockModel> GiveBackWrite(int thread) const
    {
        LockModel next = *this;
        if (--next.writes != 0)
            return Also({}, next, thread, kYes);
        if (writerReads > 0) {
            ++next.writerReads;
            return Also({}, next, thread, kThrown);
        }
        next.owner = kNobody;
        return Also({}, next, thread, kYes);
    }
};

/// All states in which the lock may be after what was seen of it from outside.
class PossibleStates {
public:
    explicit PossibleStates(const LockModel& start)
        : m_states{start}
    {}

    void Begin(int thread, char call)
    {
        for (LockModel& state : m_states)
            state.Begin(thread, call);
        Complete();
    }
    /// False when no promise allows that answer now.
    [[nodiscard]] bool End(int thread, LockModel::Answer answer)
    {
        std::erase_if(m_states, [&](const LockModel& state) {
            const LockModel::Thread& self = state.threads[static_cast<std::size_t>(thread)];
            return self.place != LockModel::Thread::Answered || self.answer != answer;
        });
        for (LockModel& state : m_states)
            state.End(thread);
        std::ranges::sort(m_states);
        return !m_states.empty();
    }
    /// Whether all threads that are within a call may wait there for ever.
    [[nodiscard]] bool MayRest() const
    {
        return std::ranges::any_of(m_states, [](const LockModel& state) {
            for (int thread = 0; thread < LockModel::kThreads; ++thread) {
                const auto& self = state.threads[static_cast<std::size_t>(thread)];
                if (self.place == LockModel::Thread::Answered || !state.Steps(thread).empty())
                    return false;
            }
            return true;
        });
    }
    [[nodiscard]] const std::vector<LockModel>& States() const { return m_states; }

private:
    /// Adds what calls that are under way may have done already.
    void Complete()
    {
        for (std::size_t i = 0; i < m_states.size(); ++i) {
            for (int thread = 0; thread < LockModel::kThreads; ++thread) {
                for (const LockModel& next : m_states[i].Steps(thread)) {
                    if (std::ranges::find(m_states, next) == m_states.end())
                        m_states.push_back(next);
                }
            }
        }
        std::ranges::sort(m_states);
    }

    std::vector<LockModel> m_states; // sorted, without doubles
};
