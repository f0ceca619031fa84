#include "soak/faults/Injector.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <stdexcept>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <ucontext.h>
#include <unistd.h>
#include <vector>

// The handler may call nothing that makes a system call, so it makes them itself, from the one
// place that the filter lets through. It works on plain variables for the same reason.
//
// Which errors a call knows is the table's; a call that is in neither table is told as a fault of
// the check, so that none is overlooked.

namespace injector {

namespace {

// --- which calls, which errors -------------------------------------------------------------------

enum class EPart { Any, Lock, Duplicate, File, Memory }; // of the calls of that number

struct Kind {
    const char* name;
    long call;
    int errors[8]; // up to a 0
    EPart part = EPart::Any;
};

constexpr Kind kKinds[] = {
    {"openat", SYS_openat, {EACCES, EMFILE, ENFILE, EIO, ENOSPC, EINTR, EROFS}},
    {"open", SYS_open, {EACCES, EMFILE, ENFILE, EIO, ENOSPC, EINTR, EROFS}},
    {"close", SYS_close, {EIO, ENOSPC, EINTR}}, // it is closed all the same
    {"read", SYS_read, {EIO, EINTR, kShort}},
    {"pread64", SYS_pread64, {EIO, EINTR, kShort}},
    {"readv", SYS_readv, {EIO, EINTR, kShort}},
    {"write", SYS_write, {ENOSPC, EIO, EINTR, kShort}},
    {"pwrite64", SYS_pwrite64, {ENOSPC, EIO, EINTR, kShort}},
    {"writev", SYS_writev, {ENOSPC, EIO, EINTR, kShort}},
    {"fsync", SYS_fsync, {EIO, ENOSPC, EINTR}},
    {"fdatasync", SYS_fdatasync, {EIO, ENOSPC, EINTR}},
    {"rename", SYS_rename, {EACCES, EIO, ENOSPC, EXDEV}},
    {"renameat", SYS_renameat, {EACCES, EIO, ENOSPC, EXDEV}},
    {"renameat2", SYS_renameat2, {EACCES, EIO, ENOSPC, EXDEV}},
    {"link", SYS_link, {EACCES, EIO, ENOSPC}},
    {"symlink", SYS_symlink, {EACCES, EIO, ENOSPC}},
    {"unlink", SYS_unlink, {EACCES, EIO}},
    {"unlinkat", SYS_unlinkat, {EACCES, EIO}},
    {"rmdir", SYS_rmdir, {EACCES, EIO}},
    {"mkdir", SYS_mkdir, {EACCES, EIO, ENOSPC}},
    {"mkdirat", SYS_mkdirat, {EACCES, EIO, ENOSPC}},
    {"stat", SYS_stat, {EACCES, EIO}},
    {"lstat", SYS_lstat, {EACCES, EIO}},
    {"fstat", SYS_fstat, {EACCES, EIO}},
    {"newfstatat", SYS_newfstatat, {EACCES, EIO}},
    {"statx", SYS_statx, {EACCES, EIO}},
    {"statfs", SYS_statfs, {EACCES, EIO}},
    {"fstatfs", SYS_fstatfs, {EIO}},
    {"access", SYS_access, {EACCES, EIO}},
    {"faccessat", SYS_faccessat, {EACCES, EIO}},
    {"faccessat2", SYS_faccessat2, {EACCES, EIO}},
    {"readlink", SYS_readlink, {EACCES, EIO}},
    {"readlinkat", SYS_readlinkat, {EACCES, EIO}},
    {"getxattr", SYS_getxattr, {EACCES, EIO}},
    {"fgetxattr", SYS_fgetxattr, {EACCES, EIO}},
    {"fsetxattr", SYS_fsetxattr, {EPERM, EIO, ENOSPC}},
    {"fremovexattr", SYS_fremovexattr, {EPERM, EIO, ENOSPC}},
    {"chmod", SYS_chmod, {EPERM, EIO}},
    {"fchmod", SYS_fchmod, {EPERM, EIO}},
    {"fchown", SYS_fchown, {EPERM, EIO}},
    {"utimensat", SYS_utimensat, {EACCES, EPERM, EIO}},
    {"getdents64", SYS_getdents64, {EIO}},
    {"lseek", SYS_lseek, {EIO}},
    {"ftruncate", SYS_ftruncate, {EIO, ENOSPC, EINTR}},
    {"fallocate", SYS_fallocate, {ENOSPC, EIO, EOPNOTSUPP, EINTR}},
    {"flock", SYS_flock, {ENOLCK, EINTR}},
    {"fcntl-lock", SYS_fcntl, {ENOLCK, EIO, EINTR}, EPart::Lock},
    {"fcntl-duplicate", SYS_fcntl, {EMFILE}, EPart::Duplicate},
    {"dup", SYS_dup, {EMFILE}},
    {"mmap-file", SYS_mmap, {ENOMEM, EACCES, ENFILE}, EPart::File},
    {"mmap", SYS_mmap, {ENOMEM}, EPart::Memory},
    {"mremap", SYS_mremap, {ENOMEM}},
    {"msync", SYS_msync, {EIO}},
    {"getcwd", SYS_getcwd, {EACCES}},
    {"chdir", SYS_chdir, {EACCES, EIO}},
};

// What never fails but by a fault of the program, or has nothing to do with files.
constexpr long kHarmless[] = {SYS_rt_sigreturn,
                              SYS_rt_sigaction,
                              SYS_rt_sigprocmask,
                              SYS_sigaltstack,
                              SYS_munmap,
                              SYS_mprotect,
                              SYS_madvise,
                              SYS_futex,
                              SYS_clone,
                              SYS_clone3,
                              SYS_fork,
                              SYS_vfork,
                              SYS_execve,
                              SYS_exit,
                              SYS_exit_group,
                              SYS_wait4,
                              SYS_getpid,
                              SYS_gettid,
                              SYS_getppid,
                              SYS_getuid,
                              SYS_geteuid,
                              SYS_getgid,
                              SYS_getegid,
                              SYS_umask,
                              SYS_uname,
                              SYS_sysinfo,
                              SYS_clock_gettime,
                              SYS_clock_nanosleep,
                              SYS_nanosleep,
                              SYS_gettimeofday,
                              SYS_time,
                              SYS_sched_yield,
                              SYS_sched_getaffinity,
                              SYS_getrandom,
                              SYS_set_robust_list,
                              SYS_set_tid_address,
                              SYS_rseq,
                              SYS_prctl,
                              SYS_arch_prctl,
                              SYS_prlimit64,
                              SYS_getrlimit,
                              SYS_setrlimit,
                              SYS_getrusage,
                              SYS_kill,
                              SYS_tgkill,
                              SYS_poll,
                              SYS_ioctl,
                              SYS_brk};

bool IsFileMapping(const long* arguments)
{
    return (arguments[3] & MAP_ANONYMOUS) == 0;
}

// Whether a call of `kind.call` is of this kind. To give a lock back cannot fail.
bool Is(const Kind& kind, const long* arguments)
{
    const long command = arguments[1];
    switch (kind.part) {
    case EPart::Lock:
        return (command == F_SETLK || command == F_SETLKW || command == F_OFD_SETLK ||
                command == F_OFD_SETLKW) &&
               reinterpret_cast<const struct flock*>(arguments[2])->l_type != F_UNLCK;
    case EPart::Duplicate: return command == F_DUPFD || command == F_DUPFD_CLOEXEC;
    case EPart::File: return IsFileMapping(arguments);
    case EPart::Memory: return !IsFileMapping(arguments);
    case EPart::Any: break;
    }
    return kind.call != SYS_flock || (command & LOCK_UN) == 0;
}

// --- the calls -----------------------------------------------------------------------------------

extern "C" long qd_call(long number, long a, long b, long c, long d, long e, long f);
extern "C" const char qd_call_made[];

asm(".text\n"
    "qd_call:\n"
    "    mov %rdi, %rax\n"
    "    mov %rsi, %rdi\n"
    "    mov %rdx, %rsi\n"
    "    mov %rcx, %rdx\n"
    "    mov %r8, %r10\n"
    "    mov %r9, %r8\n"
    "    mov 8(%rsp), %r9\n"
    "    syscall\n"
    "qd_call_made:\n"
    "    ret\n");

long Make(long number, const long* a)
{
    return qd_call(number, a[0], a[1], a[2], a[3], a[4], a[5]);
}

std::atomic<bool> g_isOn = false;
bool g_hasHit = false;
Fault g_fault;
Record* g_record = nullptr;
int g_counts[std::size(kKinds)];
long g_allocations = 0, g_blocks = 0;

bool Knows(int kind, int error)
{
    return std::ranges::find(kKinds[kind].errors, error) != std::end(kKinds[kind].errors);
}

bool Fails(int kind)
{
    const int count = ++g_counts[kind];
    if (g_fault.what != Fault::EWhat::Call)
        return false;
    if (kind == g_fault.kind)
        return count == g_fault.number || (count > g_fault.number && g_fault.range != ERange::Once);
    return g_hasHit && g_fault.range == ERange::All && Knows(kind, g_fault.error) &&
           CanStay(kind, g_fault.error);
}

// About half of it; 0 when it cannot be done by halves, which is no fault then.
long MakeHalf(long number, const long* arguments)
{
    long half[6];
    std::copy_n(arguments, 6, half);
    if (number == SYS_readv || number == SYS_writev) {
        const auto* part = reinterpret_cast<const iovec*>(arguments[1]);
        while (part->iov_len == 0)
            ++part;
        half[1] = reinterpret_cast<long>(part->iov_base);
        half[2] = static_cast<long>(part->iov_len);
        number = number == SYS_readv ? SYS_read : SYS_write;
    }
    half[2] = (half[2] + 1) / 2;
    return Make(number, half);
}

long MakeOrFail(int kind, const long* arguments)
{
    const long number = kKinds[kind].call;
    if (g_record->callCount < Record::kMostCalls)
        g_record->kinds[g_record->callCount++] = kind;
    if (!Fails(kind))
        return Make(number, arguments);
    g_hasHit = g_record->hasFailed[kind] = true;
    ++g_record->hits;
    if (g_fault.error == kShort)
        return MakeHalf(number, arguments);
    if (number == SYS_close)
        Make(number, arguments);
    return -g_fault.error;
}

void OnCall(int, siginfo_t* info, void* context)
{
    auto& registers = static_cast<ucontext_t*>(context)->uc_mcontext.gregs;
    const long number = info->si_syscall;
    const long arguments[] = {registers[REG_RDI], registers[REG_RSI], registers[REG_RDX],
                              registers[REG_R10], registers[REG_R8],  registers[REG_R9]};
    const auto kind = std::ranges::find_if(
        kKinds, [&](const Kind& one) { return one.call == number && Is(one, arguments); });
    if (g_isOn && kind != std::end(kKinds)) {
        registers[REG_RAX] = MakeOrFail(static_cast<int>(kind - kKinds), arguments);
        return;
    }
    const auto isOfKind = [&](const Kind& one) { return one.call == number; };
    if (g_isOn && std::ranges::none_of(kKinds, isOfKind))
        g_record->unknownCall = static_cast<int>(number);
    registers[REG_RAX] = Make(number, arguments);
}

void Expect(bool isTrue, const char* otherwise)
{
    if (!isTrue)
        throw std::runtime_error(std::string(otherwise) + ": " + std::strerror(errno));
}

// All calls but the harmless ones and our own.
std::vector<sock_filter> Filter()
{
    const auto place = reinterpret_cast<std::uint64_t>(qd_call_made);
    const auto load = [](std::size_t offset) {
        return sock_filter(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<unsigned>(offset)));
    };
    const auto isNot = [](std::uint64_t value, unsigned char skipped) {
        return sock_filter(
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(value), 0, skipped));
    };
    const sock_filter allow = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
    constexpr std::size_t ip = offsetof(seccomp_data, instruction_pointer);
    std::vector<sock_filter> filter = {load(ip),     isNot(place & 0xFFFFFFFF, 3),
                                       load(ip + 4), isNot(place >> 32, 1),
                                       allow,        load(offsetof(seccomp_data, nr))};
    for (const long number : kHarmless) {
        filter.push_back(isNot(static_cast<std::uint64_t>(number), 1));
        filter.push_back(allow);
    }
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRAP));
    return filter;
}

bool AllocationFails()
{
    if (!g_isOn)
        return false;
    ++g_allocations;
    const bool fails = g_fault.what == Fault::EWhat::Allocation &&
                       (g_allocations == g_fault.number ||
                        (g_allocations > g_fault.number && g_fault.range != ERange::Once));
    if (fails) {
        ++g_record->hits;
        errno = ENOMEM;
    }
    return fails;
}

} // namespace

void LeaveSmallBlocksToTheHeap(char** arguments)
{
    constexpr const char* name = "QD_SMALL_BLOCKS"; // the library looks for it when it is loaded
    if (std::getenv(name) != nullptr)
        return;
    ::setenv(name, "0", 1);
    ::execv("/proc/self/exe", arguments);
    std::abort();
}

int KindCount()
{
    static_assert(std::size(kKinds) <= std::size(Record().hasFailed));
    return static_cast<int>(std::size(kKinds));
}

std::string NameOf(int kind)
{
    return kKinds[kind].name;
}

const int* ErrorsOf(int kind)
{
    return kKinds[kind].errors;
}

bool CanStay(int kind, int error)
{
    // Locks would keep those that try again, SQLite for ten seconds.
    return error != EINTR && kKinds[kind].part != EPart::Lock;
}

bool CanComeToAll(int error)
{
    return error != EXDEV && error != EOPNOTSUPP;
}

std::string NameOfError(int error)
{
    return error == kShort ? "short" : strerrorname_np(error);
}

void TrapCalls()
{
    struct sigaction action = {};
    action.sa_sigaction = OnCall;
    action.sa_flags = SA_SIGINFO | SA_NODEFER | SA_RESTART;
    Expect(::sigaction(SIGSYS, &action, nullptr) == 0, "no handler");
    std::vector<sock_filter> filter = Filter();
    sock_fprog program = {static_cast<unsigned short>(filter.size()), filter.data()};
    Expect(::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
               ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0,
           "no filter of system calls");
}

void Begin(const Fault& fault, Record& record)
{
    g_fault = fault;
    g_record = &record;
    g_hasHit = false;
    g_allocations = 0;
    std::ranges::fill(g_counts, 0);
    g_isOn = true;
}

void End()
{
    g_isOn = false;
    g_record->allocations = g_allocations;
}

long BlockCount()
{
    return g_blocks;
}

} // namespace injector

// --- allocations ---------------------------------------------------------------------------------

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);

static void* Counted(void* block)
{
    injector::g_blocks += block != nullptr;
    return block;
}

void* malloc(std::size_t size)
{
    return injector::AllocationFails() ? nullptr : Counted(__libc_malloc(size));
}
void* calloc(std::size_t count, std::size_t size)
{
    return injector::AllocationFails() ? nullptr : Counted(__libc_calloc(count, size));
}
void* realloc(void* block, std::size_t size)
{
    if (injector::AllocationFails())
        return nullptr;
    return block == nullptr ? Counted(__libc_realloc(block, size)) : __libc_realloc(block, size);
}
void* aligned_alloc(std::size_t alignment, std::size_t size)
{
    return injector::AllocationFails() ? nullptr : Counted(__libc_memalign(alignment, size));
}
void free(void* block)
{
    injector::g_blocks -= block != nullptr;
    __libc_free(block);
}
}
