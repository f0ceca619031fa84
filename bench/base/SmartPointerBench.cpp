#include "core/base/BSmartObj.h"
#include "core/base/SP.h"

#include <benchmark/benchmark.h>

#include <memory>

#if defined(QD_BENCH_BOOST)
# include <boost/smart_ptr/intrusive_ptr.hpp>
# include <boost/smart_ptr/intrusive_ref_counter.hpp>
#endif

// Copying a shared pointer and dropping the copy, and making an object with its first pointer.

namespace {

struct Plain {
    virtual ~Plain() = default;
};

template <typename Pointer>
void MeasureCopying(benchmark::State& state, const Pointer& pointer)
{
    for (auto _ : state) {
        Pointer copy(pointer);
        benchmark::DoNotOptimize(copy);
    }
}

void BM_SmartPointerCopy(benchmark::State& state)
{
    MeasureCopying(state, SP<BSmartObj>(new BSmartObj));
}

void BM_SmartPointerCopy_StdSharedPtr(benchmark::State& state)
{
    MeasureCopying(state, std::make_shared<Plain>());
}

void BM_SmartPointerMake(benchmark::State& state)
{
    for (auto _ : state) {
        SP<BSmartObj> made(new BSmartObj);
        benchmark::DoNotOptimize(made);
    }
}

void BM_SmartPointerMake_StdSharedPtr(benchmark::State& state)
{
    for (auto _ : state) {
        auto made = std::make_shared<Plain>();
        benchmark::DoNotOptimize(made);
    }
}

BENCHMARK(BM_SmartPointerCopy);
BENCHMARK(BM_SmartPointerCopy_StdSharedPtr);
BENCHMARK(BM_SmartPointerMake);
BENCHMARK(BM_SmartPointerMake_StdSharedPtr);

#if defined(QD_BENCH_BOOST)

struct Intrusive : boost::intrusive_ref_counter<Intrusive, boost::thread_safe_counter> {
    virtual ~Intrusive() = default;
};

void BM_SmartPointerCopy_BoostIntrusivePtr(benchmark::State& state)
{
    MeasureCopying(state, boost::intrusive_ptr<Intrusive>(new Intrusive));
}

void BM_SmartPointerMake_BoostIntrusivePtr(benchmark::State& state)
{
    for (auto _ : state) {
        boost::intrusive_ptr<Intrusive> made(new Intrusive);
        benchmark::DoNotOptimize(made);
    }
}

BENCHMARK(BM_SmartPointerCopy_BoostIntrusivePtr);
BENCHMARK(BM_SmartPointerMake_BoostIntrusivePtr);

#endif

} // namespace
