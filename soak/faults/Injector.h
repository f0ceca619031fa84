#pragma once

#include <string>

/// Makes system calls and allocations of this process fail: those of everything that runs in it,
/// the C library's own included. One thread works meanwhile.
///
/// A seccomp filter turns each system call into a signal, whose handler counts it, fails it or
/// makes it; this costs a microsecond or two, where a tracer takes a hundred. Allocations are those
/// of the program's `malloc` and its kind, which everybody uses.
namespace injector {

enum class ERange {
    Once,
    On, // the same call from there on
    All // and every other that knows the error
};

constexpr int kShort = -1; // an "error": the call is made, with about half of what was asked for

/// What fails: the `number`th call of a kind, from 1 on, with `error`, or the `number`th
/// allocation.
struct Fault {
    enum class EWhat { Nothing, Call, Allocation };

    EWhat what = EWhat::Nothing;
    int kind = 0;
    int number = 0;
    int error = 0;
    ERange range = ERange::Once;
};

/// What happened, in memory that outlives the process.
struct Record {
    static constexpr int kMostCalls = 8192;

    int kinds[kMostCalls]; // of the calls in their order
    int callCount;
    int unknownCall;    // a call that is in no table here; 0 for none
    int hits;           // calls and allocations that failed
    bool hasFailed[64]; // by kind
    long allocations;
};

/// To be called first in `main`: starts the program anew where the library would take small blocks
/// from pages of its own, so that each is one of the allocations that may fail.
void LeaveSmallBlocksToTheHeap(char** arguments);

int KindCount();
std::string NameOf(int kind);
/// The errors that a call of that kind knows, up to the first 0.
const int* ErrorsOf(int kind);
/// Whether an error stays for ever: who is interrupted tries again.
bool CanStay(int kind, int error);
/// Whether an error may come to all calls: some say more of a file than of the system.
bool CanComeToAll(int error);
std::string NameOfError(int error);

/// From here on, until the process ends, calls are trapped; they fail between `Begin` and `End`.
void TrapCalls();
void Begin(const Fault& fault, Record& record);
void End();

/// Blocks that are allocated and not freed yet.
long BlockCount();

} // namespace injector
