#include "core/archive/BArchive.h"

#include "bench/archive/TreeWorkload.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#if defined(QD_BENCH_BOOST_SERIALIZATION)
# include "bench/archive/BoostPeer.h"
#endif
#if defined(QD_BENCH_CEREAL)
# include "bench/archive/CerealPeer.h"
#endif
#if defined(QD_BENCH_QT)
# include "bench/archive/QtPeer.h"
#endif

// Saving and loading the tree of TreeWorkload.h to and from a file. Each peer saves and loads a
// tree of its own kind, with the same texts, numbers and shared payloads; the tree that was loaded
// is destroyed outside the measured time. "file" is the size in bytes a node.

namespace {

std::filesystem::path BenchFile()
{
    return std::filesystem::temp_directory_path() / "qdcore-bench.qda";
}

void Report(benchmark::State& state)
{
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.counters["file"] = static_cast<double>(std::filesystem::file_size(BenchFile())) /
                             static_cast<double>(state.range(0));
}

template <typename Save>
void MeasureSaving(benchmark::State& state, Save save)
{
    for (auto _ : state)
        save();
    Report(state);
}

template <typename Load>
void MeasureLoading(benchmark::State& state, Load load)
{
    for (auto _ : state) {
        auto root = load();
        benchmark::DoNotOptimize(root);
        state.PauseTiming();
        root = nullptr;
        state.ResumeTiming();
    }
    Report(state);
}

WString BenchPath()
{
    return WString(BenchFile().string<WChar>().c_str());
}

void SaveOwn(BNode* root)
{
    BArchive archive(BenchPath(), BArchive::ModeWrite, "class Bench", 1);
    archive.Insert(root, "root");
    if (!archive.Flush())
        std::abort();
}

SP<BSmartObj> LoadOwn()
{
    BArchive archive(BenchPath(), BArchive::ModeRead, "class Bench", 1);
    SP<BSmartObj> root = archive.TakeOut("root");
    if (!root)
        std::abort();
    return root;
}

void BM_ArchiveSave(benchmark::State& state)
{
    const SP<BNode> root = MakeTree(static_cast<int>(state.range(0)));
    MeasureSaving(state, [&] { SaveOwn(root.Get()); });
}

void BM_ArchiveLoad(benchmark::State& state)
{
    RegisterWorkloadClasses();
    SaveOwn(MakeTree(static_cast<int>(state.range(0))).Get());
    MeasureLoading(state, LoadOwn);
}

void Sizes(benchmark::internal::Benchmark* bench)
{
    bench->Arg(10'000)->Arg(100'000)->Arg(1'000'000)->MinTime(2);
    bench->Unit(benchmark::kMillisecond)->UseRealTime();
}

BENCHMARK(BM_ArchiveSave)->Apply(Sizes);
BENCHMARK(BM_ArchiveLoad)->Apply(Sizes);

#if defined(QD_BENCH_BOOST_SERIALIZATION) || defined(QD_BENCH_CEREAL) || defined(QD_BENCH_QT)

template <typename Peer, typename Make>
void MeasurePeerSaving(benchmark::State& state, Make make)
{
    const auto root = make(static_cast<int>(state.range(0)));
    MeasureSaving(state, [&] { Peer::Save(BenchFile(), root); });
}

template <typename Peer, typename Make>
void MeasurePeerLoading(benchmark::State& state, Make make)
{
    Peer::Save(BenchFile(), make(static_cast<int>(state.range(0))));
    MeasureLoading(state, [] { return Peer::Load(BenchFile()); });
}

#endif

#if defined(QD_BENCH_BOOST_SERIALIZATION)

void BM_ArchiveSave_BoostSerialization(benchmark::State& state)
{
    MeasurePeerSaving<BoostPeer>(state, MakePeerTree);
}

void BM_ArchiveLoad_BoostSerialization(benchmark::State& state)
{
    MeasurePeerLoading<BoostPeer>(state, MakePeerTree);
}

BENCHMARK(BM_ArchiveSave_BoostSerialization)->Apply(Sizes);
BENCHMARK(BM_ArchiveLoad_BoostSerialization)->Apply(Sizes);

#endif

#if defined(QD_BENCH_CEREAL)

void BM_ArchiveSave_Cereal(benchmark::State& state)
{
    MeasurePeerSaving<CerealPeer>(state, MakePeerTree);
}

void BM_ArchiveLoad_Cereal(benchmark::State& state)
{
    MeasurePeerLoading<CerealPeer>(state, MakePeerTree);
}

BENCHMARK(BM_ArchiveSave_Cereal)->Apply(Sizes);
BENCHMARK(BM_ArchiveLoad_Cereal)->Apply(Sizes);

#endif

#if defined(QD_BENCH_QT)

void BM_ArchiveSave_QDataStream(benchmark::State& state)
{
    MeasurePeerSaving<QtPeer>(state, QtPeer::MakeTree);
}

void BM_ArchiveLoad_QDataStream(benchmark::State& state)
{
    MeasurePeerLoading<QtPeer>(state, QtPeer::MakeTree);
}

BENCHMARK(BM_ArchiveSave_QDataStream)->Apply(Sizes);
BENCHMARK(BM_ArchiveLoad_QDataStream)->Apply(Sizes);

#endif

} // namespace
