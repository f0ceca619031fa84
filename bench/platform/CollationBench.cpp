#include "core/platform/Collation.h"

#include <benchmark/benchmark.h>
#include <unicode/ucol.h>

#include <array>
#include <memory>
#include <string>

#if defined(QD_BENCH_QT)
# include <QString>
#endif

using platform::ECase;

namespace {

using Text = std::u16string;

struct Pair {
    const char* name;
    Text a, b;
};

// Names of siblings: what comparing them takes depends on where they differ and in what.
const Pair kPairs[] = {
    {"equal", u"measurementPoint0001", u"measurementPoint0001"},
    {"end", u"measurementPoint0001", u"measurementPoint0002"},
    {"first", u"measurementPoint0001", u"nominalGeometry00001"},
    {"case", u"measurementPoint0001", u"MEASUREMENTPOINT0001"},
    {"hyphen", u"measurement-point-01", u"measurementpoint-001"},
    {"umlaut", u"prüfmaßnahme größe 1", u"Prüfmaßnahme Größe 1"},
    {"greek", u"σημεία μετρήσεων 001", u"ΣΗΜΕΊΑ ΜΕΤΡΉΣΕΩΝ 001"},
};
const std::int64_t kPairCount = std::size(kPairs);

const Pair& PairOf(benchmark::State& state)
{
    const Pair& pair = kPairs[state.range(0)];
    state.SetLabel(pair.name);
    return pair;
}

struct CollatorCloser {
    void operator()(UCollator* collator) const { ucol_close(collator); }
};
using Collator = std::unique_ptr<UCollator, CollatorCloser>;

Collator OpenIcu(ECase letterCase)
{
    UErrorCode error = U_ZERO_ERROR;
    Collator collator(ucol_open("en_US", &error));
    ucol_setStrength(collator.get(), letterCase == ECase::Ignored ? UCOL_SECONDARY : UCOL_TERTIARY);
    return collator;
}

// The texts are read anew in each round, so that nothing is known of them.
template <class Function>
void Run(benchmark::State& state, const Pair& pair, Function function)
{
    const char16_t* a = pair.a.c_str();
    const char16_t* b = pair.b.c_str();
    for (auto _ : state) {
        benchmark::DoNotOptimize(a);
        benchmark::DoNotOptimize(b);
        benchmark::DoNotOptimize(function(a, b));
    }
}

template <ECase letterCase>
void BM_Collate(benchmark::State& state)
{
    Run(state, PairOf(state),
        [](const char16_t* a, const char16_t* b) { return platform::Collate(a, b, letterCase); });
}
BENCHMARK(BM_Collate<ECase::Matters>)->Name("BM_Collate")->DenseRange(0, kPairCount - 1);
BENCHMARK(BM_Collate<ECase::Ignored>)
    ->Name("BM_CollateIgnoringCase")
    ->DenseRange(0, kPairCount - 1);

template <ECase letterCase>
void BM_Collate_Icu(benchmark::State& state)
{
    const Collator collator = OpenIcu(letterCase);
    Run(state, PairOf(state), [&](const char16_t* a, const char16_t* b) {
        return ucol_strcoll(collator.get(), a, -1, b, -1);
    });
}
BENCHMARK(BM_Collate_Icu<ECase::Matters>)->Name("BM_Collate_Icu")->DenseRange(0, kPairCount - 1);
BENCHMARK(BM_Collate_Icu<ECase::Ignored>)
    ->Name("BM_CollateIgnoringCase_Icu")
    ->DenseRange(0, kPairCount - 1);

#if defined(QD_BENCH_QT)
// By code units, so the same work only without case and for ASCII.
void BM_CollateIgnoringCase_Qt(benchmark::State& state)
{
    const Pair& pair = PairOf(state);
    const QString a = QString::fromStdU16String(pair.a);
    const QString b = QString::fromStdU16String(pair.b);
    for (auto _ : state)
        benchmark::DoNotOptimize(a.compare(b, Qt::CaseInsensitive));
}
BENCHMARK(BM_CollateIgnoringCase_Qt)->DenseRange(0, kPairCount - 1);
#endif

const Text kNames[] = {u"Geometry01", u"sub-nodes1", u"Maßstab 10", u"Μετρήσεις1"};
const char* const kNameKinds[] = {"letters", "hyphen", "umlaut", "greek"};

const Text& NameOf(benchmark::State& state)
{
    state.SetLabel(kNameKinds[state.range(0)]);
    return kNames[state.range(0)];
}

void BM_CollationKey(benchmark::State& state)
{
    const Text& name = NameOf(state);
    std::string key;
    for (auto _ : state) {
        key.clear();
        platform::AppendCollationKey(name.c_str(), name.size(), ECase::Matters, key);
        benchmark::DoNotOptimize(key.data());
    }
}
BENCHMARK(BM_CollationKey)->DenseRange(0, std::size(kNames) - 1);

void BM_CollationKey_Icu(benchmark::State& state)
{
    const Text& name = NameOf(state);
    const Collator collator = OpenIcu(ECase::Matters);
    std::array<std::uint8_t, 256> key;
    for (auto _ : state) {
        ucol_getSortKey(collator.get(), name.c_str(), -1, key.data(), key.size());
        benchmark::DoNotOptimize(key.data());
    }
}
BENCHMARK(BM_CollationKey_Icu)->DenseRange(0, std::size(kNames) - 1);

// A text that nearly holds the part everywhere.
Text Haystack(std::int64_t length)
{
    return Text(static_cast<std::size_t>(length), u'a') + u"b";
}

void BM_FindIgnoringCase(benchmark::State& state)
{
    const Text text = Haystack(state.range(0));
    const Text part = Text(static_cast<std::size_t>(state.range(0) / 2), u'A') + u"B";
    for (auto _ : state)
        benchmark::DoNotOptimize(platform::FindIgnoringCase(text.c_str(), part.c_str()));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_FindIgnoringCase)->RangeMultiplier(30)->Range(100, 90'000);

#if defined(QD_BENCH_QT)
void BM_FindIgnoringCase_Qt(benchmark::State& state)
{
    const QString text = QString::fromStdU16String(Haystack(state.range(0)));
    const QString part = QString(static_cast<int>(state.range(0) / 2), 'A') + "B";
    for (auto _ : state)
        benchmark::DoNotOptimize(text.indexOf(part, 0, Qt::CaseInsensitive));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_FindIgnoringCase_Qt)->RangeMultiplier(30)->Range(100, 90'000);
#endif

} // namespace
