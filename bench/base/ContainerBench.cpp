#include "core/base/BArray.h"
#include "core/base/BSmartObj.h"
#include "core/base/DList.h"
#include "core/base/SP.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <list>
#include <type_traits>
#include <vector>

// Filling arrays and lists at their end, and walking them.

namespace {

using Object = SP<BSmartObj>;

template <class T>
T Element()
{
    if constexpr (std::is_same_v<T, Object>)
        return new BSmartObj;
    else
        return T{1};
}

template <class T>
void BM_ArrayAppend(benchmark::State& state)
{
    const T element = Element<T>();
    for (auto _ : state) {
        BArray<T> array;
        for (std::int64_t i = 0; i < state.range(0); ++i)
            array.Append(element);
        benchmark::DoNotOptimize(array.begin());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <class T>
void BM_ArrayAppend_StdVector(benchmark::State& state)
{
    const T element = Element<T>();
    for (auto _ : state) {
        std::vector<T> array;
        for (std::int64_t i = 0; i < state.range(0); ++i)
            array.push_back(element);
        benchmark::DoNotOptimize(array.data());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_ListFillAndWalk(benchmark::State& state)
{
    const Object element = Element<Object>();
    for (auto _ : state) {
        DList<Object> list;
        for (std::int64_t i = 0; i < state.range(0); ++i)
            list.AddTail(element);
        for (const Object& visited : list)
            benchmark::DoNotOptimize(visited.Get());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_ListFillAndWalk_StdList(benchmark::State& state)
{
    const Object element = Element<Object>();
    for (auto _ : state) {
        std::list<Object> list;
        for (std::int64_t i = 0; i < state.range(0); ++i)
            list.push_back(element);
        for (const Object& visited : list)
            benchmark::DoNotOptimize(visited.Get());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void Sizes(benchmark::internal::Benchmark* bench)
{
    bench->ArgName("elements")->Arg(10)->Arg(1'000)->Arg(100'000);
}

BENCHMARK(BM_ArrayAppend<std::int64_t>)->Apply(Sizes);
BENCHMARK(BM_ArrayAppend_StdVector<std::int64_t>)->Apply(Sizes);
BENCHMARK(BM_ArrayAppend<Object>)->Apply(Sizes);
BENCHMARK(BM_ArrayAppend_StdVector<Object>)->Apply(Sizes);
BENCHMARK(BM_ListFillAndWalk)->Apply(Sizes);
BENCHMARK(BM_ListFillAndWalk_StdList)->Apply(Sizes);

} // namespace
