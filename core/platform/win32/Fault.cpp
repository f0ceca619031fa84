#include "core/platform/Fault.h"

#include <windows.h>

#if !defined(_MSC_VER)
# include <csetjmp>
# include <cstdint>
#endif

// Microsoft's compiler has `__try` for this. With others a vectored handler is asked before all
// handlers of frames, and sends the thread back to its guarded call. It is added for each call and
// removed after it, so that it stands before those that the application has by then and is gone in
// between. `longjmp` from inside the handler would leave the system in the midst of an exception,
// so the thread is made to go on in a function that jumps.
namespace platform {

namespace {

bool IsFault(DWORD code)
{
    switch (code) {
    case EXCEPTION_ACCESS_VIOLATION:
    case EXCEPTION_IN_PAGE_ERROR:
    case EXCEPTION_DATATYPE_MISALIGNMENT:
    case EXCEPTION_ILLEGAL_INSTRUCTION:
    case EXCEPTION_PRIV_INSTRUCTION:
    case EXCEPTION_INT_DIVIDE_BY_ZERO:
    case EXCEPTION_INT_OVERFLOW: return true;
    default: return false;
    }
}

} // namespace

#if defined(_MSC_VER)

bool RunGuarded(void (*call)(void*), void* context)
{
    __try {
        call(context);
        return true;
    } __except (IsFault(GetExceptionCode()) ? EXCEPTION_EXECUTE_HANDLER
                                            : EXCEPTION_CONTINUE_SEARCH) {
        return false;
    }
}

#else

namespace {

// Holds where the innermost guarded call of a thread continues after a fault. A slot of the
// system's own, because a `thread_local` would be allocated on first use, in the middle of a fault.
DWORD g_resumeSlot;

[[noreturn]] void Resume(std::jmp_buf* resume)
{
    std::longjmp(*resume, 1);
}

LONG CALLBACK OnException(EXCEPTION_POINTERS* exception)
{
    if (!IsFault(exception->ExceptionRecord->ExceptionCode))
        return EXCEPTION_CONTINUE_SEARCH;
    void* const resume = ::TlsGetValue(g_resumeSlot);
    if (resume == nullptr)
        return EXCEPTION_CONTINUE_SEARCH;
    // The thread goes on in `Resume` once the system is done with the exception: jumping from here
    // would leave it half handled. Below the faulty frame a call is laid out as the ABI has it:
    // room for four arguments and a return address, 16-byte aligned before the latter.
    CONTEXT& context = *exception->ContextRecord;
    context.Rsp = (context.Rsp & ~DWORD64{15}) - 64 - sizeof(void*);
    context.Rip = reinterpret_cast<std::uintptr_t>(&Resume);
    context.Rcx = reinterpret_cast<std::uintptr_t>(resume);
    return EXCEPTION_CONTINUE_EXECUTION;
}

bool AllocateSlot()
{
    g_resumeSlot = ::TlsAlloc();
    return true;
}

/// The guard for one call, also when an exception passes. Each call puts it before the handlers
/// that the process has by then.
class CallScope {
public:
    explicit CallScope(std::jmp_buf* resume)
        : m_outer(::TlsGetValue(g_resumeSlot))
        , m_handler(::AddVectoredExceptionHandler(1, OnException))
    {
        ::TlsSetValue(g_resumeSlot, resume);
    }
    ~CallScope()
    {
        ::TlsSetValue(g_resumeSlot, m_outer);
        ::RemoveVectoredExceptionHandler(m_handler);
    }
    CallScope(const CallScope&) = delete;
    CallScope& operator=(const CallScope&) = delete;

private:
    void* const m_outer;
    void* const m_handler;
};

} // namespace

bool RunGuarded(void (*call)(void*), void* context)
{
    [[maybe_unused]] static const bool hasSlot = AllocateSlot();
    std::jmp_buf resume;
    const CallScope scope(&resume);
    // Without a frame to unwind to, the jump restores the registers and runs no handlers.
    if (_setjmp(resume, nullptr) != 0)
        return false;
    call(context);
    return true;
}

#endif

} // namespace platform
