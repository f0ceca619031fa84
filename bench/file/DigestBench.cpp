#include "core/file/Sha1.h"
#include "core/platform/Sha1Instructions.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <vector>

#if defined(QD_BENCH_OPENSSL)
# include <openssl/evp.h>
#endif
#if defined(QD_BENCH_GLIB)
# include <glib.h>
#endif

namespace {

std::vector<std::uint8_t> Message(const benchmark::State& state)
{
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(state.range(0)));
    std::mt19937 random(1);
    for (std::uint8_t& byte : bytes)
        byte = static_cast<std::uint8_t>(random());
    return bytes;
}

template <class Digest>
void Run(benchmark::State& state, const Digest& digest)
{
    const std::vector<std::uint8_t> message = Message(state);
    for (auto _ : state)
        digest(message);
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void RunOurs(benchmark::State& state, Sha1BlockFunction take)
{
    Run(state, [take](const std::vector<std::uint8_t>& message) {
        std::uint32_t words[5];
        Sha1Digest(message, take, words);
        benchmark::DoNotOptimize(words);
    });
}

void Sizes(benchmark::internal::Benchmark* benchmark)
{
    benchmark->ArgName("bytes")->Arg(64)->Arg(16 << 10)->Arg(64 << 20);
}

void BM_Sha1Instructions(benchmark::State& state)
{
    if (!platform::HasSha1Instructions()) {
        state.SkipWithError("the processor has no SHA instructions");
        return;
    }
    RunOurs(state, &platform::TakeSha1BlocksByInstructions);
}
BENCHMARK(BM_Sha1Instructions)->Apply(Sizes);

#if defined(QD_BENCH_OPENSSL)
void BM_Sha1Instructions_OpenSsl(benchmark::State& state)
{
    const EVP_MD* const sha1 = EVP_sha1();
    Run(state, [sha1](const std::vector<std::uint8_t>& message) {
        std::uint8_t digest[EVP_MAX_MD_SIZE];
        EVP_Digest(message.data(), message.size(), digest, nullptr, sha1, nullptr);
        benchmark::DoNotOptimize(digest);
    });
}
BENCHMARK(BM_Sha1Instructions_OpenSsl)->Apply(Sizes);
#endif

void BM_Sha1Plain(benchmark::State& state)
{
    RunOurs(state, &TakeSha1Blocks);
}
BENCHMARK(BM_Sha1Plain)->Apply(Sizes);

#if defined(QD_BENCH_GLIB)
void BM_Sha1Plain_Glib(benchmark::State& state)
{
    GChecksum* const checksum = g_checksum_new(G_CHECKSUM_SHA1);
    Run(state, [checksum](const std::vector<std::uint8_t>& message) {
        g_checksum_reset(checksum);
        g_checksum_update(checksum, message.data(), static_cast<gssize>(message.size()));
        benchmark::DoNotOptimize(g_checksum_get_string(checksum));
    });
    g_checksum_free(checksum);
}
BENCHMARK(BM_Sha1Plain_Glib)->Apply(Sizes);
#endif

} // namespace
