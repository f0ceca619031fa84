#include "core/archive/BArchive.h"

#include "bench/BenchFile.h"
#include "bench/ColdJob.h"
#include "bench/archive/HandPeer.h"
#include "bench/archive/PeerTree.h"
#include "bench/archive/TreeWorkload.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <filesystem>
#include <memory>
#include <stdexcept>

#if defined(QD_BENCH_BOOST_SERIALIZATION)
# include "bench/archive/BoostPeer.h"
#endif
#if defined(QD_BENCH_CEREAL)
# include "bench/archive/CerealPeer.h"
#endif
#if defined(QD_BENCH_QT)
# include "bench/archive/QtPeer.h"
#endif

// Building, saving, loading and destroying the tree of TreeWorkload.h, once in a process as a
// program does that opens a document. Each peer has a tree of its own kind with the same texts,
// numbers and shared payloads. Every tree is added up: what is missing in it fails the benchmark.
// "file" is the size in bytes a node.

namespace {

struct OwnTree {
    static SP<BNode> Make(int count) { return MakeTree(count); }

    static void Save(const std::filesystem::path& path, const SP<BNode>& root)
    {
        BArchive archive(Wide(path), BArchive::ModeWrite, "class Bench", 1);
        archive.Insert(root.Get(), "root");
        if (!archive.Flush())
            throw std::runtime_error("not saved");
    }

    static SP<BNode> Load(const std::filesystem::path& path)
    {
        RegisterWorkloadClasses();
        BArchive archive(Wide(path), BArchive::ModeRead, "class Bench", 1);
        return SP<BNode>(dynamic_cast<BNode*>(archive.TakeOut("root").Get()));
    }

    static TreeSum Sum(const SP<BNode>& root) { return SumOf(*root); }

private:
    static WString Wide(const std::filesystem::path& path) { return path.string<WChar>().c_str(); }
};

/// The library's file, read by hand.
struct OwnFileTree {
    static SP<BNode> Make(int count) { return OwnTree::Make(count); }
    static void Save(const std::filesystem::path& path, const SP<BNode>& root)
    {
        OwnTree::Save(path, root);
    }
    static std::shared_ptr<PeerNode> Load(const std::filesystem::path& path)
    {
        return HandPeer::Load(path);
    }
    static TreeSum Sum(const std::shared_ptr<PeerNode>& root) { return PeerTree::Sum(root); }
};

/// Takes the tree so that it ends when the benchmark does.
template <class Tree, class Root>
void Check(benchmark::State& state, const Root& root)
{
    if (!root || Tree::Sum(root) != ExpectedSum(state.range(0)))
        state.SkipWithError("the tree is not what it was");
}

template <class Tree>
void BM_TreeBuild(benchmark::State& state)
{
    const int count = static_cast<int>(state.range(0));
    Check<Tree>(state, ColdJob(state).Run(count, [=] { return Tree::Make(count); }));
}

using Block = std::unique_ptr<std::byte[]>;

/// The job is what destroys the tree and then `after`.
template <class Tree, class After>
void Destroy(benchmark::State& state, After after)
{
    const int count = static_cast<int>(state.range(0));
    auto root = Tree::Make(count);
    Check<Tree>(state, root);
    ColdJob(state).Run(count, [&] {
        root = nullptr;
        return after();
    });
}

template <class Tree>
void BM_TreeDestroy(benchmark::State& state)
{
    Destroy<Tree>(state, [] { return 0; });
}

/// The C library joins the small blocks that were given back when a large one is asked for next, or
/// before, as the heap happens to lie: that may be three quarters of a tree's end.
template <class Tree>
void BM_TreeDestroyAndJoin(benchmark::State& state)
{
    Destroy<Tree>(state, [] { return Block(new std::byte[1 << 16]); });
}

template <class Tree>
void BM_TreeSave(benchmark::State& state)
{
    const int count = static_cast<int>(state.range(0));
    const BenchFile file("tree");
    ColdJob job(state);
    const auto root = Tree::Make(count);
    job.Run(count, [&] {
        Tree::Save(file.Path(), root);
        return 0;
    });
    state.counters["file"] = static_cast<double>(std::filesystem::file_size(file.Path())) / count;
    Check<Tree>(state, Tree::Load(file.Path()));
}

template <class Tree>
void BM_TreeLoad(benchmark::State& state)
{
    const int count = static_cast<int>(state.range(0));
    const BenchFile file("tree");
    InChild([&] { Tree::Save(file.Path(), Tree::Make(count)); });
    ColdJob job(state);
    Check<Tree>(state, job.Run(count, [&] { return Tree::Load(file.Path()); }));
}

void Once(benchmark::internal::Benchmark* bench)
{
    bench->ArgName("nodes")->Arg(10'000)->Arg(100'000)->Arg(1'000'000);
    if (std::getenv("QD_BENCH_LARGE") != nullptr)
        bench->Arg(10'000'000);
    bench->Iterations(1)->Unit(benchmark::kMillisecond);
}

#define QD_BUILD(Tree, peer)                                                                       \
 BENCHMARK(BM_TreeBuild<Tree>)->Name("BM_TreeBuild" peer)->Apply(Once);                            \
 BENCHMARK(BM_TreeDestroy<Tree>)->Name("BM_TreeDestroy" peer)->Apply(Once);                        \
 BENCHMARK(BM_TreeDestroyAndJoin<Tree>)->Name("BM_TreeDestroyAndJoin" peer)->Apply(Once);
#define QD_STORE(Tree, peer)                                                                       \
 BENCHMARK(BM_TreeSave<Tree>)->Name("BM_TreeSave" peer)->Apply(Once);                              \
 BENCHMARK(BM_TreeLoad<Tree>)->Name("BM_TreeLoad" peer)->Apply(Once);

QD_BUILD(OwnTree, "")
QD_BUILD(PeerTree, "_StdSharedPtr")
QD_STORE(OwnTree, "")
BENCHMARK(BM_TreeLoad<OwnFileTree>)->Name("BM_TreeLoad_UncheckedByHand")->Apply(Once);
#if defined(QD_BENCH_BOOST_SERIALIZATION)
QD_STORE(BoostPeer, "_BoostSerialization")
#endif
#if defined(QD_BENCH_CEREAL)
QD_STORE(CerealPeer, "_Cereal")
#endif
#if defined(QD_BENCH_QT)
QD_BUILD(QtPeer, "_QtTypes")
QD_STORE(QtPeer, "_QDataStream")
#endif

} // namespace
