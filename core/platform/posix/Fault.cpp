#include "core/platform/Fault.h"

#include <csetjmp>
#include <csignal>

namespace platform {

namespace {

constexpr int kSignals[] = {SIGSEGV, SIGBUS, SIGILL, SIGFPE};
constexpr int kSignalCount = sizeof kSignals / sizeof *kSignals;

struct sigaction g_previous[kSignalCount]; // what handled the signals before this guard

// Where the innermost guarded call of this thread continues after a fault; null outside of any.
// In the module's static block, because a signal handler must not be the one that allocates it.
[[gnu::tls_model("initial-exec")]] constinit thread_local sigjmp_buf* t_resume = nullptr;

const struct sigaction& PreviousOf(int signal)
{
    int i = 0;
    while (kSignals[i] != signal)
        ++i;
    return g_previous[i];
}

void PassOn(int signal, siginfo_t* info, void* context)
{
    const struct sigaction& previous = PreviousOf(signal);
    const bool isFault = info->si_code > 0; // otherwise another process or thread has sent it
    if ((previous.sa_flags & SA_SIGINFO) != 0) {
        previous.sa_sigaction(signal, info, context);
        return;
    }
    if (previous.sa_handler == SIG_IGN && !isFault)
        return;
    if (previous.sa_handler != SIG_DFL && previous.sa_handler != SIG_IGN) {
        previous.sa_handler(signal);
        return;
    }
    // The system's own treatment: it comes when the faulty instruction runs again.
    struct sigaction standard {};
    standard.sa_handler = SIG_DFL;
    ::sigaction(signal, &standard, nullptr);
    if (!isFault)
        ::raise(signal);
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

bool Install()
{
    struct sigaction action {};
    action.sa_sigaction = OnSignal;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    for (int i = 0; i < kSignalCount; ++i) {
        ::sigaction(kSignals[i], nullptr, &g_previous[i]);
        ::sigaction(kSignals[i], &action, nullptr);
    }
    return true;
}

/// Puts the enclosing call's place back, also when an exception passes.
struct ResumeScope {
    explicit ResumeScope(sigjmp_buf* resume) noexcept
        : outer(t_resume)
    {
        t_resume = resume;
    }
    ~ResumeScope() { t_resume = outer; }
    ResumeScope(const ResumeScope&) = delete;
    ResumeScope& operator=(const ResumeScope&) = delete;

    sigjmp_buf* const outer;
};

} // namespace

bool RunGuarded(void (*call)(void*), void* context)
{
    [[maybe_unused]] static const bool installed = Install();
    sigjmp_buf resume;
    const ResumeScope scope(&resume);
    if (sigsetjmp(resume, 0) != 0)
        return false;
    call(context);
    return true;
}

} // namespace platform
