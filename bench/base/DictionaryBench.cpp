#include "core/base/BDictionary.h"
#include "core/base/BMap.h"
#include "core/base/BString.h"
#include "core/base/WString.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

// Inserting and finding keys: either keys that differ from the first character on, or keys that
// share their first eight characters and so, in the dictionary, a bucket.

namespace {

enum KeyKind : std::int64_t { Distinct, SharedPrefix };

std::vector<std::string> Keys(std::int64_t count, std::int64_t kind)
{
    std::vector<std::string> keys;
    char text[24];
    for (std::int64_t i = 0; i < count; ++i) {
        std::snprintf(text, sizeof text, kind == SharedPrefix ? "Prefix__%08x" : "%08xPrefix__",
                      static_cast<unsigned int>(i * 2654435761));
        keys.emplace_back(text);
    }
    std::shuffle(keys.begin(), keys.end(), std::mt19937(4711));
    return keys;
}

template <typename Key>
std::vector<Key> KeysAs(const benchmark::State& state)
{
    std::vector<Key> keys;
    for (const std::string& text : Keys(state.range(0), state.range(1))) {
        if constexpr (std::is_same_v<Key, WString>)
            keys.emplace_back(WString(BString(text.c_str())));
        else if constexpr (std::is_same_v<Key, std::u16string>)
            keys.emplace_back(text.begin(), text.end());
        else
            keys.emplace_back(text.c_str());
    }
    return keys;
}

template <typename Key>
void BM_DictionaryInsert(benchmark::State& state)
{
    const std::vector<Key> keys = KeysAs<Key>(state);
    for (auto _ : state) {
        BDictionary<Key, std::int64_t> dictionary;
        for (const Key& key : keys)
            dictionary.Insert(key, 1);
        benchmark::DoNotOptimize(dictionary.Count());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <typename Key>
void BM_DictionaryInsert_StdUnorderedMap(benchmark::State& state)
{
    const std::vector<Key> keys = KeysAs<Key>(state);
    for (auto _ : state) {
        std::unordered_map<Key, std::int64_t> dictionary;
        for (const Key& key : keys)
            dictionary.emplace(key, 1);
        benchmark::DoNotOptimize(dictionary.size());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <typename Key>
void BM_DictionaryFind(benchmark::State& state)
{
    const std::vector<Key> keys = KeysAs<Key>(state);
    BDictionary<Key, std::int64_t> dictionary;
    for (const Key& key : keys)
        dictionary.Insert(key, 1);
    for (auto _ : state) {
        std::int64_t sum = 0;
        for (const Key& key : keys)
            sum += dictionary.Find(key)->value;
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <typename Key>
void BM_DictionaryFind_StdUnorderedMap(benchmark::State& state)
{
    const std::vector<Key> keys = KeysAs<Key>(state);
    std::unordered_map<Key, std::int64_t> dictionary;
    for (const Key& key : keys)
        dictionary.emplace(key, 1);
    for (auto _ : state) {
        std::int64_t sum = 0;
        for (const Key& key : keys)
            sum += dictionary.find(key)->second;
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_DictionaryEmpty(benchmark::State& state)
{
    for (auto _ : state) {
        BDictionary<BString, std::int64_t> dictionary;
        benchmark::DoNotOptimize(dictionary.Count());
    }
}

void Sizes(benchmark::internal::Benchmark* bench)
{
    bench->ArgNames({"keys", "shared"});
    for (const std::int64_t count : {1'000, 100'000, 1'000'000})
        bench->Args({count, Distinct})->Args({count, SharedPrefix});
    bench->Unit(benchmark::kMillisecond);
}

BENCHMARK(BM_DictionaryInsert<BString>)->Apply(Sizes);
BENCHMARK(BM_DictionaryInsert_StdUnorderedMap<std::string>)->Apply(Sizes);
BENCHMARK(BM_DictionaryInsert<WString>)->Apply(Sizes);
BENCHMARK(BM_DictionaryInsert_StdUnorderedMap<std::u16string>)->Apply(Sizes);
BENCHMARK(BM_DictionaryFind<BString>)->Apply(Sizes);
BENCHMARK(BM_DictionaryFind_StdUnorderedMap<std::string>)->Apply(Sizes);
BENCHMARK(BM_DictionaryFind<WString>)->Apply(Sizes);
BENCHMARK(BM_DictionaryFind_StdUnorderedMap<std::u16string>)->Apply(Sizes);
BENCHMARK(BM_DictionaryEmpty);

} // namespace
