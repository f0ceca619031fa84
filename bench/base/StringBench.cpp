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
#if defined(QD_BENCH_BOOST)
# include <boost/smart_ptr/intrusive_ptr.hpp>
# include <boost/smart_ptr/intrusive_ref_counter.hpp>
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
    for (auto _ : state) {
        bool equal = a == b;
        benchmark::DoNotOptimize(equal);
    }
    CountUnits(state);
}

template <class String>
void BM_StringAppendUnits(benchmark::State& state)
{
    for (auto _ : state) {
        String text;
        for (std::int64_t index = 0; index < state.range(0); ++index)
            text += static_cast<WChar>('x');
        benchmark::DoNotOptimize(text);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
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

#if defined(QD_BENCH_BOOST)
struct Counted : boost::intrusive_ref_counter<Counted> {};

void BM_StringCopy_BoostIntrusivePtr(benchmark::State& state)
{
    const boost::intrusive_ptr<Counted> pointer(new Counted);
    for (auto _ : state) {
        boost::intrusive_ptr<Counted> copy = pointer;
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK(BM_StringCopy_BoostIntrusivePtr);
#endif

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

} // namespace

#if defined(QD_BENCH_ICU)
# define QD_BENCH_WITH_ICU(name)                                                                   \
  BENCHMARK(name<icu::UnicodeString>)->Name(#name "_IcuUnicodeString")->Apply(Lengths);
#else
# define QD_BENCH_WITH_ICU(name)
#endif
#if defined(QD_BENCH_QT)
# define QD_BENCH_WITH_QT(name) BENCHMARK(name<QString>)->Name(# name "_QString")->Apply(Lengths);
#else
# define QD_BENCH_WITH_QT(name)
#endif
#define QD_BENCH_WITH_PEERS(name)                                                                  \
 BENCHMARK(name<WString>)->Name(#name)->Apply(Lengths);                                            \
 BENCHMARK(name<StdString>)->Name(#name "_StdString")->Apply(Lengths);                             \
 QD_BENCH_WITH_ICU(name)                                                                           \
 QD_BENCH_WITH_QT(name)

QD_BENCH_WITH_PEERS(BM_StringCopy)
QD_BENCH_WITH_PEERS(BM_StringEqual)
QD_BENCH_WITH_PEERS(BM_StringAppendUnits)
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
