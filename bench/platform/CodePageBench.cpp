#include "core/platform/CodePage.h"

#include "core/platform/WideText.h"

#include <benchmark/benchmark.h>
#include <unicode/ucnv.h>

#include <cstddef>
#include <memory>
#include <random>
#include <string>

namespace {

using platform::WideText;

enum EMix { Ascii, Umlauts, Symbols };

// Letters and blanks; in the other mixes every eighth is an umlaut, or a sign that windows-1252 has
// elsewhere than Unicode or not at all.
WideText MakeText(std::size_t length, EMix mix)
{
    const WideText letters = QD_W("abcdefghijklmnopqrstuvwxyz ");
    const WideText others =
        mix == Umlauts ? QD_W("\x00E4\x00F6\x00FC\x00DF") : QD_W("\x20AC\x201E\x03B1\x0141");
    std::mt19937 random(1);
    WideText text;
    while (text.size() < length) {
        const bool isOther = mix != Ascii && random() % 8 == 0;
        const WideText& source = isOther ? others : letters;
        text += source[random() % source.size()];
    }
    return text;
}

std::string ToBytes(const WideText& text)
{
    std::string bytes(text.size(), ' ');
    platform::WideToAnsi(text.data(), text.size(), bytes.data(), bytes.size());
    return bytes;
}

struct ConverterCloser {
    void operator()(UConverter* converter) const { ucnv_close(converter); }
};

std::unique_ptr<UConverter, ConverterCloser> OpenIcu()
{
    UErrorCode error = U_ZERO_ERROR;
    return std::unique_ptr<UConverter, ConverterCloser>(ucnv_open("windows-1252", &error));
}

void Report(benchmark::State& state)
{
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void Mixes(benchmark::internal::Benchmark* bench)
{
    bench->ArgNames({"length", "mix"});
    for (const int mix : {Ascii, Umlauts, Symbols}) {
        for (const int length : {20, 1000, 100'000})
            bench->Args({length, mix});
    }
}

void BM_WideToAnsi(benchmark::State& state)
{
    const WideText text =
        MakeText(static_cast<std::size_t>(state.range(0)), static_cast<EMix>(state.range(1)));
    std::string bytes(text.size(), ' ');
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            platform::WideToAnsi(text.data(), text.size(), bytes.data(), bytes.size()));
        benchmark::DoNotOptimize(bytes.data());
        benchmark::ClobberMemory();
    }
    Report(state);
}
BENCHMARK(BM_WideToAnsi)->Apply(Mixes);

void BM_WideToAnsi_Icu(benchmark::State& state)
{
    const WideText text =
        MakeText(static_cast<std::size_t>(state.range(0)), static_cast<EMix>(state.range(1)));
    const auto length = static_cast<int32_t>(text.size());
    std::string bytes(text.size(), ' ');
    const auto converter = OpenIcu();
    for (auto _ : state) {
        UErrorCode error = U_ZERO_ERROR;
        benchmark::DoNotOptimize(
            ucnv_fromUChars(converter.get(), bytes.data(), length, text.data(), length, &error));
        benchmark::ClobberMemory();
    }
    Report(state);
}
BENCHMARK(BM_WideToAnsi_Icu)->Apply(Mixes);

void BM_AnsiToWide(benchmark::State& state)
{
    WideText text =
        MakeText(static_cast<std::size_t>(state.range(0)), static_cast<EMix>(state.range(1)));
    const std::string bytes = ToBytes(text);
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            platform::AnsiToWide(bytes.data(), bytes.size(), text.data(), text.size()));
        benchmark::DoNotOptimize(text.data());
        benchmark::ClobberMemory();
    }
    Report(state);
}
BENCHMARK(BM_AnsiToWide)->Apply(Mixes);

void BM_AnsiToWide_Icu(benchmark::State& state)
{
    WideText text =
        MakeText(static_cast<std::size_t>(state.range(0)), static_cast<EMix>(state.range(1)));
    const std::string bytes = ToBytes(text);
    const auto length = static_cast<int32_t>(text.size());
    const auto converter = OpenIcu();
    for (auto _ : state) {
        UErrorCode error = U_ZERO_ERROR;
        benchmark::DoNotOptimize(
            ucnv_toUChars(converter.get(), text.data(), length, bytes.data(), length, &error));
        benchmark::ClobberMemory();
    }
    Report(state);
}
BENCHMARK(BM_AnsiToWide_Icu)->Apply(Mixes);

} // namespace
