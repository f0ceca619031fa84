#include "core/sync/BLockRW.h"
#include "core/sync/BSyncableSmartObj.h"

#include "bench/StartedThread.h"

#include <benchmark/benchmark.h>

#include <mutex>
#include <shared_mutex>

#if defined(QD_BENCH_QT)
# include <QtCore/QReadWriteLock>
#endif

// Taking a lock that nobody else wants and giving it back, in a process that never had a second
// thread, and in one that had. std::shared_mutex must not be taken twice by a thread; the others
// may.

namespace {

/// Called through the interface, as guards call it.
template <class Lock>
class Own {
public:
    Own() { benchmark::DoNotOptimize(m_object); }
    void LockR() { m_object->LockR(); }
    void UnlockR() { m_object->UnlockR(); }
    void LockW() { m_object->LockW(); }
    void UnlockW() { m_object->UnlockW(); }

private:
    Lock m_lock;
    const BSyncableInterface* m_object = &m_lock;
};

struct StdShared {
    void LockR() { m_mutex.lock_shared(); }
    void UnlockR() { m_mutex.unlock_shared(); }
    void LockW() { m_mutex.lock(); }
    void UnlockW() { m_mutex.unlock(); }
    std::shared_mutex m_mutex;
};

struct StdRecursive {
    void LockW() { m_mutex.lock(); }
    void UnlockW() { m_mutex.unlock(); }
    std::recursive_mutex m_mutex;
};

#if defined(QD_BENCH_QT)
struct QtRecursive {
    void LockR() { m_lock.lockForRead(); }
    void UnlockR() { m_lock.unlock(); }
    void LockW() { m_lock.lockForWrite(); }
    void UnlockW() { m_lock.unlock(); }
    QReadWriteLock m_lock{QReadWriteLock::Recursive};
};
#endif

template <class Lock>
void BM_LockR(benchmark::State& state)
{
    StartThread(state);
    Lock lock;
    for (auto _ : state) {
        lock.LockR();
        lock.UnlockR();
    }
}

template <class Lock>
void BM_LockW(benchmark::State& state)
{
    StartThread(state);
    Lock lock;
    for (auto _ : state) {
        lock.LockW();
        lock.UnlockW();
    }
}

void Starts(benchmark::internal::Benchmark* bench)
{
    bench->ArgName("started")->Arg(0)->Arg(1);
}

BENCHMARK(BM_LockR<Own<BLockRW>>)->Name("BM_LockR")->Apply(Starts);
BENCHMARK(BM_LockW<Own<BLockRW>>)->Name("BM_LockW")->Apply(Starts);
BENCHMARK(BM_LockR<Own<BSyncableSmartObj>>)->Name("BM_LockObjectR")->Apply(Starts);
BENCHMARK(BM_LockW<Own<BSyncableSmartObj>>)->Name("BM_LockObjectW")->Apply(Starts);
BENCHMARK(BM_LockR<StdShared>)->Name("BM_LockR_StdSharedMutex")->Apply(Starts);
BENCHMARK(BM_LockW<StdShared>)->Name("BM_LockW_StdSharedMutex")->Apply(Starts);
BENCHMARK(BM_LockW<StdRecursive>)->Name("BM_LockW_StdRecursiveMutex")->Apply(Starts);
#if defined(QD_BENCH_QT)
BENCHMARK(BM_LockR<QtRecursive>)->Name("BM_LockR_QtRecursive")->Apply(Starts);
BENCHMARK(BM_LockW<QtRecursive>)->Name("BM_LockW_QtRecursive")->Apply(Starts);
#endif

} // namespace
