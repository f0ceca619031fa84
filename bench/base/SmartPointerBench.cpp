#include "core/base/BSmartObj.h"
#include "core/base/SP.h"

#include "bench/StartedThread.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>
#include <vector>

#if defined(QD_BENCH_BOOST)
# include <boost/smart_ptr/intrusive_ptr.hpp>
# include <boost/smart_ptr/intrusive_ref_counter.hpp>
#endif

// Copying shared pointers to as many objects and dropping each copy, and making an object with its
// first pointer; in a process that never had a second thread, and in one that had.

namespace {

struct Own {
    using Pointer = SP<BSmartObj>;
    static Pointer Make() { return new BSmartObj; }
    static long Owners(const Pointer& pointer) { return pointer->RefCount(); }
};

struct StdShared {
    struct Object {
        virtual ~Object() = default;
    };
    using Pointer = std::shared_ptr<Object>;
    static Pointer Make() { return std::make_shared<Object>(); }
    static long Owners(const Pointer& pointer) { return pointer.use_count(); }
};

#if defined(QD_BENCH_BOOST)
struct BoostIntrusive {
    struct Object : boost::intrusive_ref_counter<Object, boost::thread_safe_counter> {
        virtual ~Object() = default;
    };
    using Pointer = boost::intrusive_ptr<Object>;
    static Pointer Make() { return Pointer(new Object); }
    static long Owners(const Pointer& pointer) { return pointer->use_count(); }
};
#endif

template <class Kind>
void BM_PointerCopy(benchmark::State& state)
{
    StartThread(state, 1);
    std::vector<typename Kind::Pointer> pointers;
    for (std::int64_t i = 0; i < state.range(0); ++i)
        pointers.push_back(Kind::Make());
    for (auto _ : state) {
        for (const auto& pointer : pointers) {
            auto copy(pointer);
            benchmark::DoNotOptimize(copy);
        }
    }
    if (!std::ranges::all_of(pointers, [](auto& pointer) { return Kind::Owners(pointer) == 1; }))
        state.SkipWithError("an object lost or gained an owner");
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <class Kind>
void BM_PointerMake(benchmark::State& state)
{
    StartThread(state);
    for (auto _ : state) {
        auto made = Kind::Make();
        benchmark::DoNotOptimize(made);
    }
}

void Copies(benchmark::internal::Benchmark* bench)
{
    bench->ArgNames({"objects", "started"})->ArgsProduct({{1, 1'000, 100'000}, {0, 1}});
}

void Starts(benchmark::internal::Benchmark* bench)
{
    bench->ArgName("started")->Arg(0)->Arg(1);
}

#define QD_POINTER(Kind, peer)                                                                     \
 BENCHMARK(BM_PointerCopy<Kind>)->Name("BM_PointerCopy" peer)->Apply(Copies);                      \
 BENCHMARK(BM_PointerMake<Kind>)->Name("BM_PointerMake" peer)->Apply(Starts);

QD_POINTER(Own, "")
QD_POINTER(StdShared, "_StdSharedPtr")
#if defined(QD_BENCH_BOOST)
QD_POINTER(BoostIntrusive, "_BoostIntrusivePtr")
#endif

} // namespace
