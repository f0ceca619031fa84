#include "core/sync/BLockRW.h"
#include "core/sync/BSyncableSmartObj.h"

#include <benchmark/benchmark.h>

#include <shared_mutex>

#if defined(QD_BENCH_QT)
# include <QtCore/QReadWriteLock>
#endif

// Taking a lock that nobody else wants and giving it back.

namespace {

/// Called through the interface, as guards call it.
template <class Lock>
void MeasureReading(benchmark::State& state)
{
    const Lock lock;
    const BSyncableInterface* object = &lock;
    benchmark::DoNotOptimize(object);
    for (auto _ : state) {
        object->LockR();
        object->UnlockR();
    }
}

template <class Lock>
void MeasureWriting(benchmark::State& state)
{
    const Lock lock;
    const BSyncableInterface* object = &lock;
    benchmark::DoNotOptimize(object);
    for (auto _ : state) {
        object->LockW();
        object->UnlockW();
    }
}

void BM_LockR(benchmark::State& state)
{
    MeasureReading<BLockRW>(state);
}

void BM_LockObjectR(benchmark::State& state)
{
    MeasureReading<BSyncableSmartObj>(state);
}

void BM_LockR_StdSharedMutex(benchmark::State& state)
{
    std::shared_mutex mutex;
    for (auto _ : state) {
        mutex.lock_shared();
        mutex.unlock_shared();
    }
}

void BM_LockW(benchmark::State& state)
{
    MeasureWriting<BLockRW>(state);
}

void BM_LockObjectW(benchmark::State& state)
{
    MeasureWriting<BSyncableSmartObj>(state);
}

void BM_LockW_StdSharedMutex(benchmark::State& state)
{
    std::shared_mutex mutex;
    for (auto _ : state) {
        mutex.lock();
        mutex.unlock();
    }
}

BENCHMARK(BM_LockR);
BENCHMARK(BM_LockObjectR);
BENCHMARK(BM_LockR_StdSharedMutex);
BENCHMARK(BM_LockW);
BENCHMARK(BM_LockObjectW);
BENCHMARK(BM_LockW_StdSharedMutex);

#if defined(QD_BENCH_QT)

void BM_LockR_QtRecursive(benchmark::State& state)
{
    QReadWriteLock lock(QReadWriteLock::Recursive);
    for (auto _ : state) {
        lock.lockForRead();
        lock.unlock();
    }
}

void BM_LockW_QtRecursive(benchmark::State& state)
{
    QReadWriteLock lock(QReadWriteLock::Recursive);
    for (auto _ : state) {
        lock.lockForWrite();
        lock.unlock();
    }
}

BENCHMARK(BM_LockR_QtRecursive);
BENCHMARK(BM_LockW_QtRecursive);

#endif

} // namespace
