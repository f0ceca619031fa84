#include "core/base/BDictionary.h"
#include "core/base/BMap.h"
#include "core/base/BString.h"
#include "core/base/WString.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <numeric>
#include <random>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <vector>

#if defined(QD_BENCH_QT)
# include <QHash>
# include <QString>
#endif
#if defined(QD_BENCH_ABSEIL)
# include <absl/container/flat_hash_map.h>
#endif

// Inserting keys of 20 units that share their first twelve, and finding them in the order of their
// insertion, in another one, and where they are not. The texts that are asked for are others than
// those that stand in the dictionary, each with units of its own. The end of a dictionary is not
// measured.

namespace {

template <class Text>
Text Key(std::int64_t index)
{
    char name[24];
    std::snprintf(name, sizeof name, "Measurement_%08x",
                  static_cast<unsigned int>(index * 2654435761));
    const std::string text(name);
    if constexpr (std::is_same_v<Text, WString>)
        return WString(BString(text.c_str()));
#if defined(QD_BENCH_QT)
    else if constexpr (std::is_same_v<Text, QString>)
        return QString::fromStdString(text);
#endif
    else if constexpr (std::is_same_v<Text, std::u16string>)
        return Text(text.begin(), text.end());
    else
        return Text(text.c_str());
}

template <class K>
struct Own {
    using Text = K;
    void Insert(const K& key, std::int64_t value) { m_map.Insert(key, value); }
    const std::int64_t* Find(const K& key) const
    {
        const auto* found = m_map.Find(key);
        return found != nullptr ? &found->value : nullptr;
    }
    BDictionary<K, std::int64_t> m_map;
};

template <class Map>
struct Standard {
    using Text = typename Map::key_type;
    void Insert(const Text& key, std::int64_t value) { m_map.emplace(key, value); }
    const std::int64_t* Find(const Text& key) const
    {
        const auto found = m_map.find(key);
        return found != m_map.end() ? &found->second : nullptr;
    }
    Map m_map;
};

#if defined(QD_BENCH_QT)
struct Qt {
    using Text = QString;
    void Insert(const QString& key, std::int64_t value) { m_map.insert(key, value); }
    const std::int64_t* Find(const QString& key) const
    {
        const auto found = m_map.constFind(key);
        return found != m_map.cend() ? &found.value() : nullptr;
    }
    QHash<QString, std::int64_t> m_map;
};
#endif

std::vector<std::int64_t> Numbers(const benchmark::State& state, std::int64_t first = 0)
{
    std::vector<std::int64_t> numbers(static_cast<std::size_t>(state.range(0)));
    std::iota(numbers.begin(), numbers.end(), first);
    return numbers;
}

template <class Map>
std::vector<typename Map::Text> Keys(const std::vector<std::int64_t>& numbers)
{
    std::vector<typename Map::Text> keys;
    for (const std::int64_t number : numbers)
        keys.push_back(Key<typename Map::Text>(number));
    return keys;
}

template <class Map>
void Fill(Map& map, const std::vector<typename Map::Text>& keys)
{
    std::int64_t value = 0;
    for (const auto& key : keys)
        map.Insert(key, ++value);
}

template <class Map>
std::int64_t SumOf(const Map& map, const std::vector<typename Map::Text>& keys)
{
    std::int64_t sum = 0;
    for (const auto& key : keys) {
        if (const std::int64_t* value = map.Find(key))
            sum += *value;
    }
    return sum;
}

std::int64_t SumOfAll(const benchmark::State& state)
{
    return state.range(0) * (state.range(0) + 1) / 2;
}

template <class Map>
void BM_DictionaryInsert(benchmark::State& state)
{
    const auto keys = Keys<Map>(Numbers(state));
    for (auto _ : state) {
        Map map;
        Fill(map, keys);
        state.PauseTiming();
        if (SumOf(map, keys) != SumOfAll(state))
            state.SkipWithError("not all inserted");
        map = Map();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <class Map>
void Find(benchmark::State& state, const std::vector<std::int64_t>& asked, std::int64_t expected)
{
    Map map;
    Fill(map, Keys<Map>(Numbers(state)));
    const auto questions = Keys<Map>(asked);
    for (auto _ : state) {
        if (SumOf(map, questions) != expected)
            state.SkipWithError("wrong values");
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <class Map>
void BM_DictionaryFindInOrder(benchmark::State& state)
{
    Find<Map>(state, Numbers(state), SumOfAll(state));
}

template <class Map>
void BM_DictionaryFindShuffled(benchmark::State& state)
{
    std::vector<std::int64_t> numbers = Numbers(state);
    std::shuffle(numbers.begin(), numbers.end(), std::mt19937(4711));
    Find<Map>(state, numbers, SumOfAll(state));
}

template <class Map>
void BM_DictionaryFindAbsent(benchmark::State& state)
{
    Find<Map>(state, Numbers(state, state.range(0)), 0);
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
    bench->ArgName("keys")->Arg(10'000)->Arg(100'000)->Arg(1'000'000);
}

#define QD_DICTIONARY_PART(part, Map, kind, peer)                                                  \
 BENCHMARK(BM_Dictionary##part<Map>)->Name("BM_" kind #part peer)->Apply(Sizes);
#define QD_DICTIONARY(Map, kind, peer)                                                             \
 QD_DICTIONARY_PART(Insert, Map, kind, peer)                                                       \
 QD_DICTIONARY_PART(FindInOrder, Map, kind, peer)                                                  \
 QD_DICTIONARY_PART(FindShuffled, Map, kind, peer)                                                 \
 QD_DICTIONARY_PART(FindAbsent, Map, kind, peer)

using StdWide = Standard<std::unordered_map<std::u16string, std::int64_t>>;
using StdNarrow = Standard<std::unordered_map<std::string, std::int64_t>>;

QD_DICTIONARY(Own<WString>, "Dictionary", "")
QD_DICTIONARY(StdWide, "Dictionary", "_StdUnorderedMap")
QD_DICTIONARY(Own<BString>, "NarrowDictionary", "")
QD_DICTIONARY(StdNarrow, "NarrowDictionary", "_StdUnorderedMap")
#if defined(QD_BENCH_QT)
QD_DICTIONARY(Qt, "Dictionary", "_QHash")
#endif
#if defined(QD_BENCH_ABSEIL)
using AbseilWide = Standard<absl::flat_hash_map<std::u16string, std::int64_t>>;
using AbseilNarrow = Standard<absl::flat_hash_map<std::string, std::int64_t>>;
QD_DICTIONARY(AbseilWide, "Dictionary", "_Abseil")
QD_DICTIONARY(AbseilNarrow, "NarrowDictionary", "_Abseil")
#endif
BENCHMARK(BM_DictionaryEmpty);

} // namespace
