#include "core/platform/FormatText.h"
#include "core/platform/ScanText.h"
#include "core/platform/WideText.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#if defined(QD_BENCH_FMT)
# include <fmt/format.h>
#endif

namespace {

template <typename Char>
std::int64_t Print(Char* buffer, std::size_t room, const Char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    const std::int64_t length = platform::Format(buffer, room, format, arguments);
    va_end(arguments);
    return length;
}

std::vector<double> MakeNumbers()
{
    std::mt19937 random(1);
    std::vector<double> numbers(1024);
    for (double& number : numbers)
        number = std::uniform_real_distribution(-1000.0, 1000.0)(random);
    return numbers;
}

std::vector<std::string> MakeNumberTexts()
{
    std::vector<std::string> texts;
    for (const double number : MakeNumbers()) {
        char buffer[32];
        Print(buffer, sizeof buffer, "%.15g", number);
        texts.emplace_back(buffer);
    }
    return texts;
}

} // namespace

static void BM_FormatName(benchmark::State& state)
{
    WChar buffer[64];
    int index = 0;
    for (auto _ : state) {
        Print(buffer, std::size(buffer), QD_W("%s%03d"), QD_W("Point"), ++index % 1000);
        benchmark::DoNotOptimize(buffer);
    }
}
BENCHMARK(BM_FormatName);

static void BM_FormatNarrowName(benchmark::State& state)
{
    char buffer[64];
    int index = 0;
    for (auto _ : state) {
        Print(buffer, std::size(buffer), "%s%03d", "Point", ++index % 1000);
        benchmark::DoNotOptimize(buffer);
    }
}
BENCHMARK(BM_FormatNarrowName);

static void BM_FormatNarrowName_Snprintf(benchmark::State& state)
{
    char buffer[64];
    int index = 0;
    for (auto _ : state) {
        std::snprintf(buffer, std::size(buffer), "%s%03d", "Point", ++index % 1000);
        benchmark::DoNotOptimize(buffer);
    }
}
BENCHMARK(BM_FormatNarrowName_Snprintf);

#if defined(QD_BENCH_FMT)
static void BM_FormatNarrowName_Fmt(benchmark::State& state)
{
    char buffer[64];
    int index = 0;
    for (auto _ : state) {
        fmt::format_to_n(buffer, std::size(buffer), "{}{:03}", "Point", ++index % 1000);
        benchmark::DoNotOptimize(buffer);
    }
}
BENCHMARK(BM_FormatNarrowName_Fmt);

static void BM_FormatDouble_Fmt(benchmark::State& state)
{
    const std::vector<double> numbers = MakeNumbers();
    char buffer[64];
    std::size_t index = 0;
    for (auto _ : state) {
        fmt::format_to_n(buffer, std::size(buffer), "{:.15g}", numbers[index++ % numbers.size()]);
        benchmark::DoNotOptimize(buffer);
    }
}
BENCHMARK(BM_FormatDouble_Fmt);
#endif

static void BM_FormatDouble(benchmark::State& state)
{
    const std::vector<double> numbers = MakeNumbers();
    WChar buffer[64];
    std::size_t index = 0;
    for (auto _ : state) {
        Print(buffer, std::size(buffer), QD_W("%.15g"), numbers[index++ % numbers.size()]);
        benchmark::DoNotOptimize(buffer);
    }
}
BENCHMARK(BM_FormatDouble);

static void BM_FormatDouble_Snprintf(benchmark::State& state)
{
    const std::vector<double> numbers = MakeNumbers();
    char buffer[64];
    std::size_t index = 0;
    for (auto _ : state) {
        std::snprintf(buffer, std::size(buffer), "%.15g", numbers[index++ % numbers.size()]);
        benchmark::DoNotOptimize(buffer);
    }
}
BENCHMARK(BM_FormatDouble_Snprintf);

static void BM_ScanDouble(benchmark::State& state)
{
    std::vector<platform::WideText> texts;
    for (const std::string& text : MakeNumberTexts())
        texts.emplace_back(text.begin(), text.end());
    std::size_t index = 0;
    for (auto _ : state) {
        double value = 0;
        benchmark::DoNotOptimize(
            platform::ScanDouble(texts[index++ % texts.size()].c_str(), value));
        benchmark::DoNotOptimize(value);
    }
}
BENCHMARK(BM_ScanDouble);

static void BM_ScanDouble_Strtod(benchmark::State& state)
{
    const std::vector<std::string> texts = MakeNumberTexts();
    std::size_t index = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(std::strtod(texts[index++ % texts.size()].c_str(), nullptr));
}
BENCHMARK(BM_ScanDouble_Strtod);

// A text of digits alone, which no number needs: the time a digit stays.
static void BM_ScanDigits(benchmark::State& state)
{
    const std::string text(static_cast<std::size_t>(state.range(0)), '7');
    for (auto _ : state)
        benchmark::DoNotOptimize(platform::ParseDouble(text.c_str()));
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_ScanDigits)->Arg(1'000)->Arg(30'000)->Arg(1'000'000);
