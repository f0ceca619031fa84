#include "core/platform/Fault.h"

#include <atomic>
#include <cassert>
#include <csetjmp>
#include <csignal>
#include <mutex>
#include <pthread.h>
#include <ucontext.h>
#include <utility>

// A processor fault comes as a signal on the thread that made it. The handler jumps back to the
// guarded call of that thread (`siglongjmp`); without one it passes the signal on.
//
// Handlers belong to the whole process, and the application has its own: crash reporters,
// debuggers, other libraries. So the guard stands before them only while a call is under way, is
// put there anew by each call, and never takes away a handler that somebody set meanwhile.
// Installed once and for all, it would be lost to any handler that is set later.
//
// A handler must not allocate or lock: what it reads are atomics and a thread-local variable of the
// static block.
namespace platform {

namespace {

constexpr int kSignals[] = {SIGSEGV, SIGBUS, SIGILL, SIGFPE};
constexpr int kSignalCount = sizeof kSignals / sizeof *kSignals;

constinit std::mutex g_lock;
int g_threads = 0;                        // with a call under way; guarded by g_lock
struct sigaction g_actions[kSignalCount]; // what the guard stands before; guarded by g_lock

/// The handler of an action, for a signal handler, which takes no lock: the one with information
/// when there is one.
struct Handler {
    std::atomic<void (*)(int, siginfo_t*, void*)> withInfo = nullptr;
    std::atomic<void (*)(int)> plain = SIG_DFL;
};
constinit Handler g_handlers[kSignalCount]; // of g_actions

// Where the innermost guarded call of this thread continues after a fault; null outside of any.
// In the module's static block, because a signal handler must not be the one that allocates it.
[[gnu::tls_model("initial-exec")]] constinit thread_local sigjmp_buf* t_resume = nullptr;

const Handler& HandlerOf(int signal)
{
    int i = 0;
    while (kSignals[i] != signal) {
        ++i;
        assert(i < kSignalCount);
    }
    return g_handlers[i];
}

/// Leaves the signal to the system, whose treatment comes when the faulty instruction runs again.
void PassToSystem(int signal, bool isFault)
{
    struct sigaction standard {};
    standard.sa_handler = SIG_DFL;
    ::sigaction(signal, &standard, nullptr);
    if (!isFault)
        ::raise(signal);
}

/// Marks the context of a signal that was passed on, and tells whether it was marked before. The
/// system gives each signal a new context without a link and does not read it, so the mark goes
/// with the signal also when a handler jumps out of it.
bool MarkPassed(void* context)
{
    static constinit ucontext_t mark{};
    return std::exchange(static_cast<ucontext_t*>(context)->uc_link, &mark) == &mark;
}

void PassOn(int signal, siginfo_t* info, void* context)
{
    const Handler& handler = HandlerOf(signal);
    const bool isFault = info->si_code > 0; // otherwise another process or thread has sent it
    // A handler that was set during a call may hand on to the guard, which stands before it by now.
    if (MarkPassed(context)) {
        PassToSystem(signal, isFault);
        return;
    }
    if (const auto withInfo = handler.withInfo.load(); withInfo != nullptr) {
        withInfo(signal, info, context);
        return;
    }
    const auto plain = handler.plain.load();
    if (plain == SIG_IGN && !isFault)
        return;
    if (plain != SIG_DFL && plain != SIG_IGN) {
        plain(signal);
        return;
    }
    PassToSystem(signal, isFault);
}

/// The system blocks a signal while its handler runs; the jump leaves it for good.
void Unblock(int signal)
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, signal);
    ::pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

void OnSignal(int signal, siginfo_t* info, void* context)
{
    if (t_resume != nullptr && info->si_code > 0) {
        Unblock(signal);
        siglongjmp(*t_resume, 1);
    }
    PassOn(signal, info, context);
}

bool IsOurs(const struct sigaction& action)
{
    return (action.sa_flags & SA_SIGINFO) != 0 && action.sa_sigaction == OnSignal;
}

/// Notes what handled signal number `i` so far. The new handler comes before the old one goes.
void Keep(int i, const struct sigaction& action)
{
    g_actions[i] = action;
    if ((action.sa_flags & SA_SIGINFO) != 0) {
        g_handlers[i].withInfo = action.sa_sigaction;
        g_handlers[i].plain = SIG_DFL;
    } else {
        g_handlers[i].plain = action.sa_handler;
        g_handlers[i].withInfo = nullptr;
    }
}

/// Puts the guard before what handles the signals now: the application may have set its own handler
/// since the last call, even since one that is still under way.
void Raise()
{
    struct sigaction ours {};
    ours.sa_sigaction = OnSignal;
    ours.sa_flags = SA_SIGINFO | SA_ONSTACK;
    const std::scoped_lock guard(g_lock);
    if (t_resume == nullptr)
        ++g_threads;
    for (int i = 0; i < kSignalCount; ++i) {
        struct sigaction found {};
        ::sigaction(kSignals[i], nullptr, &found);
        if (IsOurs(found))
            continue;
        Keep(i, found);
        ::sigaction(kSignals[i], &ours, nullptr);
    }
}

/// Takes the guard away where nobody has replaced it meanwhile.
void TakeAway()
{
    for (int i = 0; i < kSignalCount; ++i) {
        struct sigaction found {};
        ::sigaction(kSignals[i], &g_actions[i], &found);
        if (!IsOurs(found))
            ::sigaction(kSignals[i], &found, nullptr);
    }
}

/// The guard goes with the last call.
void Lower()
{
    const std::scoped_lock guard(g_lock);
    assert(g_threads > 0);
    if (t_resume == nullptr && --g_threads == 0)
        TakeAway();
}

// A child has this thread only: nobody there would give back a lock or end a call of another.
void BeforeFork()
{
    g_lock.lock();
}

void AfterFork()
{
    g_lock.unlock();
}

void AfterForkInChild()
{
    const bool wasGuarded = g_threads != 0;
    g_threads = t_resume != nullptr ? 1 : 0;
    if (wasGuarded && g_threads == 0)
        TakeAway();
    g_lock.unlock();
}

// Before any call, so that no fork comes in between.
[[maybe_unused]] const int g_atFork = ::pthread_atfork(BeforeFork, AfterFork, AfterForkInChild);

/// The guard for one call, also when an exception passes.
class CallScope {
public:
    explicit CallScope(sigjmp_buf* resume)
        : m_outer(t_resume)
    {
        Raise();
        t_resume = resume;
    }
    ~CallScope()
    {
        t_resume = m_outer;
        Lower();
    }
    CallScope(const CallScope&) = delete;
    CallScope& operator=(const CallScope&) = delete;

private:
    sigjmp_buf* const m_outer;
};

} // namespace

bool RunGuarded(void (*call)(void*), void* context)
{
    sigjmp_buf resume;
    const CallScope scope(&resume);
    if (sigsetjmp(resume, 0) != 0)
        return false;
    call(context);
    return true;
}

} // namespace platform
