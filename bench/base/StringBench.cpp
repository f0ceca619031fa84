#include "core/base/BString.h"
#include "core/base/WString.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <type_traits>

#if defined(QD_BENCH_ICU)
# include <unicode/unistr.h>
#endif
#if defined(QD_BENCH_QT)
# include <QString>
#endif

namespace {

using StdString = std::basic_string<WChar>;

// `count` letters, the alphabet over and over.
template <class String>
String Letters(std::int64_t count)
{
    StdString letters;
    for (std::int64_t index = 0; index < count; ++index)
        letters += static_cast<WChar>('a' + index % 26);
    if constexpr (std::is_same_v<String, WString>)
        return letters.c_str();
#if defined(QD_BENCH_ICU)
    else if constexpr (std::is_same_v<String, icu::UnicodeString>)
        return String(letters.c_str(), static_cast<std::int32_t>(count));
#endif
#if defined(QD_BENCH_QT)
    else if constexpr (std::is_same_v<String, QString>)
        return QString::fromUtf16(letters.c_str(), static_cast<int>(count));
#endif
    else
        return letters;
}

void CountUnits(benchmark::State& state)
{
    state.SetBytesProcessed(state.iterations() * state.range(0) *
                            static_cast<std::int64_t>(sizeof(WChar)));
}

template <class String>
void BM_StringCopy(benchmark::State& state)
{
    const String text = Letters<String>(state.range(0));
    for (auto _ : state) {
        String copy = text;
        benchmark::DoNotOptimize(copy);
    }
}

template <class String>
void BM_StringEqual(benchmark::State& state)
{
    const String a = Letters<String>(state.range(0));
    const String b = Letters<String>(state.range(0));
    bool isEqual = true;
    for (auto _ : state) {
        benchmark::DoNotOptimize(a); // compared anew each time
        benchmark::DoNotOptimize(isEqual = isEqual && a == b);
    }
    if (!isEqual)
        state.SkipWithError("not equal");
}

template <class String>
std::int64_t LengthOf(const String& text)
{
    if constexpr (std::is_same_v<String, WString>)
        return static_cast<std::int64_t>(text.Length());
    else
        return static_cast<std::int64_t>(text.length());
}

// From an empty text to one of that length.
template <class String>
void Append(benchmark::State& state, std::int64_t count, const auto& part)
{
    for (auto _ : state) {
        String text;
        for (std::int64_t index = 0; index < count; ++index)
            text += part;
        benchmark::DoNotOptimize(text);
        if (LengthOf(text) != state.range(0))
            state.SkipWithError("not all appended");
    }
    state.SetItemsProcessed(state.iterations() * count);
}

template <class String>
void BM_StringAppendUnits(benchmark::State& state)
{
#if defined(QD_BENCH_QT)
    if constexpr (std::is_same_v<String, QString>)
        return Append<String>(state, state.range(0), QChar('x'));
    else
#endif
        Append<String>(state, state.range(0), static_cast<WChar>('x'));
}

template <class String>
void BM_StringAppendTexts(benchmark::State& state)
{
    Append<String>(state, state.range(0) / 10, Letters<String>(10));
}

void BM_StringLength(benchmark::State& state)
{
    const auto text = Letters<WString>(state.range(0));
    for (auto _ : state)
        benchmark::DoNotOptimize(text.Length());
    CountUnits(state);
}

void BM_StringLength_StdCharTraits(benchmark::State& state)
{
    const auto text = Letters<StdString>(state.range(0));
    for (auto _ : state)
        benchmark::DoNotOptimize(StdString::traits_type::length(text.c_str()));
    CountUnits(state);
}

void BM_StringPrintf(benchmark::State& state)
{
    const auto name = Letters<WString>(state.range(0));
    WString text;
    for (auto _ : state) {
        text.Printf(QD_W("%s%03d"), name.CStr(), 7);
        benchmark::DoNotOptimize(text);
    }
}

void BM_StringPrintf_BString(benchmark::State& state)
{
    const BString name = Letters<WString>(state.range(0)).AsString();
    BString text;
    for (auto _ : state) {
        text.Printf("%s%03d", name.CStr(), 7);
        benchmark::DoNotOptimize(text);
    }
}

// snprintf with a std::string made of its result, as Printf makes one.
void BM_StringPrintf_StdSnprintf(benchmark::State& state)
{
    const BString name = Letters<WString>(state.range(0)).AsString();
    for (auto _ : state) {
        char buffer[16384];
        const int length = std::snprintf(buffer, sizeof buffer, "%s%03d", name.CStr(), 7);
        std::string text(buffer, static_cast<std::size_t>(length));
        benchmark::DoNotOptimize(text);
    }
}

void BM_StringToAnsi(benchmark::State& state)
{
    const auto text = Letters<WString>(state.range(0));
    for (auto _ : state)
        benchmark::DoNotOptimize(text.AsString());
    CountUnits(state);
}

void BM_StringFromAnsi(benchmark::State& state)
{
    const BString text = Letters<WString>(state.range(0)).AsString();
    for (auto _ : state)
        benchmark::DoNotOptimize(WString(text));
    CountUnits(state);
}

#if defined(QD_BENCH_ICU)
void BM_StringToAnsi_IcuUnicodeString(benchmark::State& state)
{
    const auto text = Letters<icu::UnicodeString>(state.range(0));
    std::string narrow(static_cast<std::size_t>(state.range(0)) + 1, ' ');
    for (auto _ : state) {
        auto length = text.extract(0, text.length(), narrow.data(),
                                   static_cast<std::uint32_t>(narrow.size()), "windows-1252");
        benchmark::DoNotOptimize(length);
    }
    CountUnits(state);
}

void BM_StringFromAnsi_IcuUnicodeString(benchmark::State& state)
{
    const BString text = Letters<WString>(state.range(0)).AsString();
    for (auto _ : state)
        benchmark::DoNotOptimize(icu::UnicodeString(text.CStr(), "windows-1252"));
    CountUnits(state);
}
#endif

#if defined(QD_BENCH_QT)
void BM_StringPrintf_QString(benchmark::State& state)
{
    const auto name = Letters<QString>(state.range(0));
    for (auto _ : state)
        benchmark::DoNotOptimize(QString::asprintf("%ls%03d", qUtf16Printable(name), 7));
}

void BM_StringToAnsi_QStringLatin1(benchmark::State& state)
{
    const auto text = Letters<QString>(state.range(0));
    for (auto _ : state)
        benchmark::DoNotOptimize(text.toLatin1());
    CountUnits(state);
}

void BM_StringFromAnsi_QStringLatin1(benchmark::State& state)
{
    const BString text = Letters<WString>(state.range(0)).AsString();
    for (auto _ : state)
        benchmark::DoNotOptimize(QString::fromLatin1(text.CStr()));
    CountUnits(state);
}
#endif

void Lengths(benchmark::internal::Benchmark* benchmark)
{
    benchmark->ArgName("length")->Arg(10)->Arg(200)->Arg(4000);
}

void KeyLengths(benchmark::internal::Benchmark* benchmark)
{
    benchmark->ArgName("units")->Arg(20)->Arg(200)->Arg(4000);
}

void GrownLengths(benchmark::internal::Benchmark* benchmark)
{
    benchmark->ArgName("units")->Arg(200)->Arg(10'000)->Arg(100'000);
}

} // namespace

#if defined(QD_BENCH_ICU)
# define QD_BENCH_WITH_ICU(name, sizes)                                                            \
  BENCHMARK(name<icu::UnicodeString>)->Name(#name "_IcuUnicodeString")->Apply(sizes);
#else
# define QD_BENCH_WITH_ICU(name, sizes)
#endif
#if defined(QD_BENCH_QT)
# define QD_BENCH_WITH_QT(name, sizes)                                                             \
  BENCHMARK(name<QString>)->Name(#name "_QString")->Apply(sizes);
#else
# define QD_BENCH_WITH_QT(name, sizes)
#endif
#define QD_BENCH_WITH_PEERS(name, sizes)                                                           \
 BENCHMARK(name<WString>)->Name(#name)->Apply(sizes);                                              \
 BENCHMARK(name<StdString>)->Name(#name "_StdString")->Apply(sizes);                               \
 QD_BENCH_WITH_ICU(name, sizes)                                                                    \
 QD_BENCH_WITH_QT(name, sizes)

QD_BENCH_WITH_PEERS(BM_StringCopy, KeyLengths)
QD_BENCH_WITH_PEERS(BM_StringEqual, KeyLengths)
QD_BENCH_WITH_PEERS(BM_StringAppendUnits, GrownLengths)
QD_BENCH_WITH_PEERS(BM_StringAppendTexts, GrownLengths)
BENCHMARK(BM_StringLength)->Apply(Lengths);
BENCHMARK(BM_StringLength_StdCharTraits)->Apply(Lengths);
BENCHMARK(BM_StringPrintf)->Apply(Lengths);
BENCHMARK(BM_StringPrintf_BString)->Apply(Lengths);
BENCHMARK(BM_StringPrintf_StdSnprintf)->Apply(Lengths);
BENCHMARK(BM_StringToAnsi)->Apply(Lengths);
BENCHMARK(BM_StringFromAnsi)->Apply(Lengths);
#if defined(QD_BENCH_ICU)
BENCHMARK(BM_StringToAnsi_IcuUnicodeString)->Apply(Lengths);
BENCHMARK(BM_StringFromAnsi_IcuUnicodeString)->Apply(Lengths);
#endif
#if defined(QD_BENCH_QT)
BENCHMARK(BM_StringPrintf_QString)->Apply(Lengths);
BENCHMARK(BM_StringToAnsi_QStringLatin1)->Apply(Lengths);
BENCHMARK(BM_StringFromAnsi_QStringLatin1)->Apply(Lengths);
#endif
