#include "core/platform/WideText.h"
#include "core/tree/BBank.h"
#include "core/tree/BNodeItr.h"
#include "core/tree/BVisitor.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <list>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#if defined(QD_BENCH_BOOST)
# include <boost/property_tree/ptree.hpp>
#endif
#if defined(QD_BENCH_QT)
# include <QObject>
#endif

// Walking, visiting and addressing trees. The peers compare texts by code units and with regard to
// case, which is less than a node's look-up does.

namespace {

constexpr int kSiblings = 100'000;

/// `Child00000` and so on, in a random order.
std::vector<std::u16string> ShuffledNames(int count)
{
    std::vector<std::u16string> names;
    for (int i = 0; i < count; ++i) {
        const std::string digits = std::to_string(100'000 + i).substr(1);
        names.push_back(u"Child" + std::u16string(digits.begin(), digits.end()));
    }
    std::shuffle(names.begin(), names.end(), std::mt19937(1));
    return names;
}

const std::vector<WString>& Paths()
{
    static const std::vector<WString> paths = [] {
        std::vector<WString> made;
        for (const std::u16string& name : ShuffledNames(kSiblings))
            made.push_back(WString(QD_W("/")) +
                           platform::WideText(name.begin(), name.end()).c_str());
        return made;
    }();
    return paths;
}

/// Node `i` is a child of node `(i - 1) / fanOut`; each has an object.
SP<BNode> MakeTree(std::int64_t count, std::int64_t fanOut)
{
    const SP<BSmartObj> object(new BSmartObj);
    std::vector<SP<BNode>> nodes;
    for (std::int64_t i = 0; i < count; ++i) {
        nodes.emplace_back(new BNode(object.Get()));
        if (i != 0)
            nodes[static_cast<std::size_t>((i - 1) / fanOut)]->AddChild(nodes.back().Get(), -1);
    }
    return nodes.front();
}

SP<BNode> MakeWideNode()
{
    SP<BNode> root(new BNode);
    BBank bank(root);
    for (const WString& path : Paths())
        bank.Container(path);
    return root;
}

/// The time of one item, as the table's column "item".
void ReportItems(benchmark::State& state, std::int64_t items)
{
    state.SetItemsProcessed(state.iterations() * items);
    state.counters["item"] =
        benchmark::Counter(static_cast<double>(state.iterations() * items),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void TreeSizes(benchmark::internal::Benchmark* benchmark)
{
    benchmark->ArgNames({"nodes", "fanout"});
    benchmark->Args({1'000, 10})->Args({1'000, kSiblings});
    benchmark->Args({1'000'000, 10})->Args({1'000'000, kSiblings});
}

class ObjectCounter : public BVisitor {
public:
    bool Treat(BSmartObj* object) override
    {
        m_count += object != nullptr ? 1 : 0;
        return false;
    }

    std::uint64_t m_count = 0;
};

} // namespace

static void BM_TreeWalk(benchmark::State& state)
{
    const SP<BNode> root = MakeTree(state.range(0), state.range(1));
    for (auto _ : state) {
        for (BNodeItr itr(root.Get(), BNodeItr::All); itr; ++itr)
            benchmark::DoNotOptimize(itr.Current());
    }
    ReportItems(state, state.range(0));
}
BENCHMARK(BM_TreeWalk)->Apply(TreeSizes);

static void BM_TreeWalkActive(benchmark::State& state)
{
    const SP<BNode> root = MakeTree(state.range(0), state.range(1));
    for (auto _ : state) {
        for (BNodeItr itr(root.Get(), BNodeItr::ActiveOnly); itr; ++itr)
            benchmark::DoNotOptimize(itr.Current());
    }
    ReportItems(state, state.range(0));
}
BENCHMARK(BM_TreeWalkActive)->Apply(TreeSizes);

static void BM_TreeVisit(benchmark::State& state)
{
    const SP<BNode> root = MakeTree(state.range(0), state.range(1));
    const SP<ObjectCounter> visitor(new ObjectCounter);
    for (auto _ : state)
        root->Traverse(visitor.Get());
    benchmark::DoNotOptimize(visitor->m_count);
    ReportItems(state, state.range(0));
}
BENCHMARK(BM_TreeVisit)->Apply(TreeSizes);

static void BM_TreeVisitObjects(benchmark::State& state)
{
    const SP<BNode> root = MakeTree(state.range(0), state.range(1));
    const SP<ObjectCounter> visitor(new ObjectCounter);
    for (auto _ : state)
        root->TraverseObjects(visitor.Get());
    benchmark::DoNotOptimize(visitor->m_count);
    ReportItems(state, state.range(0));
}
BENCHMARK(BM_TreeVisitObjects)->Apply(TreeSizes);

static void BM_TreeSister(benchmark::State& state)
{
    const SP<BNode> root = MakeTree(state.range(0), state.range(0));
    for (auto _ : state) {
        std::int64_t count = 1;
        for (const BNode* child = root->Child(0); child != nullptr; child = child->Sister())
            ++count;
        if (count != state.range(0))
            state.SkipWithError("not all met");
    }
    ReportItems(state, state.range(0) - 1);
}

/// What a node by hand might have: its children in a list, shared.
struct PlainNode {
    std::shared_ptr<BSmartObj> object;
    std::list<std::shared_ptr<PlainNode>> children;
};

static PlainNode MakePlainNode(std::int64_t children)
{
    PlainNode root;
    for (std::int64_t i = 0; i < children; ++i)
        root.children.push_back(std::make_shared<PlainNode>());
    return root;
}

static void BM_TreeSister_StdList(benchmark::State& state)
{
    const PlainNode root = MakePlainNode(state.range(0) - 1);
    for (auto _ : state) {
        std::int64_t count = 1;
        for (const auto& child : root.children)
            count += child->object == nullptr ? 1 : 0;
        if (count != state.range(0))
            state.SkipWithError("not all met");
    }
    ReportItems(state, state.range(0) - 1);
}

static void Siblings(benchmark::internal::Benchmark* benchmark)
{
    benchmark->ArgName("nodes")->Arg(1'000)->Arg(10'000)->Arg(kSiblings);
}
BENCHMARK(BM_TreeSister)->Apply(Siblings);
BENCHMARK(BM_TreeSister_StdList)->Apply(Siblings);

static void BM_BankCreate(benchmark::State& state)
{
    const std::vector<WString>& paths = Paths();
    for (auto _ : state) {
        SP<BNode> root(new BNode);
        BBank bank(root);
        for (const WString& path : paths)
            benchmark::DoNotOptimize(bank.Container(path));
        state.PauseTiming();
        bank = BBank(nullptr);
        root = nullptr;
        state.ResumeTiming();
    }
    ReportItems(state, kSiblings);
}
BENCHMARK(BM_BankCreate)->Unit(benchmark::kMillisecond);

static void BM_BankFind(benchmark::State& state)
{
    BBank bank(MakeWideNode());
    for (auto _ : state) {
        for (const WString& path : Paths())
            benchmark::DoNotOptimize(bank.Container(path));
    }
    ReportItems(state, kSiblings);
}
BENCHMARK(BM_BankFind)->Unit(benchmark::kMillisecond);

static void BM_TreeChildByPath(benchmark::State& state)
{
    const SP<BNode> root = MakeWideNode();
    for (auto _ : state) {
        for (const WString& path : Paths())
            benchmark::DoNotOptimize(root->Child(path));
    }
    ReportItems(state, kSiblings);
}
BENCHMARK(BM_TreeChildByPath)->Unit(benchmark::kMillisecond);

static void BM_TreeRename(benchmark::State& state)
{
    const SP<BNode> root = MakeWideNode();
    root->IsMessageDispatcher(false);
    std::vector<BNode*> children;
    for (BNodeChildItr itr(*root); itr; ++itr)
        children.push_back(itr.Current());
    std::shuffle(children.begin(), children.end(), std::mt19937(2));
    for (auto _ : state) {
        for (std::size_t i = 1; i < children.size(); ++i)
            children[i - 1]->SetText(children[i]->GetText());
    }
    ReportItems(state, kSiblings);
}
BENCHMARK(BM_TreeRename)->Unit(benchmark::kMillisecond);

static void BM_TreeRemove(benchmark::State& state)
{
    for (auto _ : state) {
        state.PauseTiming();
        const SP<BNode> root = MakeWideNode();
        std::vector<SP<BNode>> children;
        for (BNodeChildItr itr(*root); itr; ++itr)
            children.emplace_back(itr.Current());
        std::shuffle(children.begin(), children.end(), std::mt19937(2));
        state.ResumeTiming();
        for (const SP<BNode>& child : children)
            root->RemoveChild(child.Get());
    }
    ReportItems(state, kSiblings);
}
BENCHMARK(BM_TreeRemove)->Unit(benchmark::kMillisecond);

static void RemoveAll(benchmark::State& state, void (*removeFrom)(BNode&))
{
    for (auto _ : state) {
        state.PauseTiming();
        const SP<BNode> root = MakeTree(state.range(0) + 1, state.range(0));
        state.ResumeTiming();
        removeFrom(*root);
    }
    ReportItems(state, state.range(0));
}

static void BM_TreeRemoveMiddle(benchmark::State& state)
{
    RemoveAll(state, [](BNode& root) {
        while (root.ChildNum() != 0)
            root.RemoveChild(root.ChildNum() / 2);
    });
}
BENCHMARK(BM_TreeRemoveMiddle)
    ->ArgName("children")
    ->Arg(10'000)
    ->Arg(kSiblings)
    ->Arg(1'000'000)
    ->Unit(benchmark::kMillisecond);

static void BM_TreeRemoveFirst(benchmark::State& state)
{
    RemoveAll(state, [](BNode& root) {
        while (root.ChildNum() != 0)
            root.RemoveChild(0);
    });
}

static void BM_TreeRemoveFirst_BareList(benchmark::State& state)
{
    for (auto _ : state) {
        state.PauseTiming();
        PlainNode root = MakePlainNode(state.range(0));
        state.ResumeTiming();
        while (!root.children.empty())
            root.children.pop_front();
    }
    ReportItems(state, state.range(0));
}
BENCHMARK(BM_TreeRemoveFirst)->Apply(Siblings)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_TreeRemoveFirst_BareList)->Apply(Siblings)->Unit(benchmark::kMillisecond);

#if defined(QD_BENCH_QT)
static void BM_TreeRemoveFirst_QObject(benchmark::State& state)
{
    for (auto _ : state) {
        state.PauseTiming();
        QObject root;
        for (std::int64_t i = 0; i < state.range(0); ++i)
            new QObject(&root);
        state.ResumeTiming();
        while (!root.children().isEmpty())
            delete root.children().first();
    }
    ReportItems(state, state.range(0));
}
BENCHMARK(BM_TreeRemoveFirst_QObject)->Apply(Siblings)->Unit(benchmark::kMillisecond);
#endif

static void BM_TreeFilterFromBack(benchmark::State& state)
{
    RemoveAll(state, [](BNode& root) {
        for (int i = root.ChildNum() - 1; i >= 0; --i) {
            if (i % 4 != 0 && root.Child(i)->IsActive())
                root.RemoveChild(i);
        }
    });
}
BENCHMARK(BM_TreeFilterFromBack)
    ->ArgName("children")
    ->Arg(4'000)
    ->Arg(40'000)
    ->Unit(benchmark::kMillisecond);

static void BM_TreeAnnotate(benchmark::State& state)
{
    std::vector<SP<BSmartObj>> annotations;
    for (std::int64_t i = 0; i < state.range(0); ++i)
        annotations.emplace_back(new BSmartObj);
    for (auto _ : state) {
        const SP<BNode> node(new BNode);
        for (const SP<BSmartObj>& annotation : annotations)
            node->AddAnnotation(annotation.Get());
        for (auto i = annotations.rbegin(); i != annotations.rend(); ++i)
            node->RemoveAnnotation(i->Get());
    }
    ReportItems(state, state.range(0));
}
BENCHMARK(BM_TreeAnnotate)
    ->ArgName("annotations")
    ->Arg(4'000)
    ->Arg(40'000)
    ->Unit(benchmark::kMillisecond);

// --- std::map: children in the order of their texts
// ------------------------------------------------

namespace {

struct MapNode {
    std::map<std::u16string, std::unique_ptr<MapNode>> children;
};

MapNode& ChildOf(MapNode& parent, const std::u16string& name)
{
    std::unique_ptr<MapNode>& child = parent.children[name];
    if (!child)
        child = std::make_unique<MapNode>();
    return *child;
}

} // namespace

static void BM_BankCreate_StdMap(benchmark::State& state)
{
    const std::vector<std::u16string> names = ShuffledNames(kSiblings);
    for (auto _ : state) {
        auto root = std::make_unique<MapNode>();
        for (const std::u16string& name : names)
            benchmark::DoNotOptimize(&ChildOf(*root, name));
        state.PauseTiming();
        root = nullptr;
        state.ResumeTiming();
    }
    ReportItems(state, kSiblings);
}
BENCHMARK(BM_BankCreate_StdMap)->Unit(benchmark::kMillisecond);

static void BM_BankFind_StdMap(benchmark::State& state)
{
    const std::vector<std::u16string> names = ShuffledNames(kSiblings);
    MapNode root;
    for (const std::u16string& name : names)
        ChildOf(root, name);
    for (auto _ : state) {
        for (const std::u16string& name : names)
            benchmark::DoNotOptimize(&ChildOf(root, name));
    }
    ReportItems(state, kSiblings);
}
BENCHMARK(BM_BankFind_StdMap)->Unit(benchmark::kMillisecond);

#if defined(QD_BENCH_BOOST)

// --- Boost.PropertyTree: an ordered child list with an index by text, as a node has
// -----------------

namespace {

using PropertyTree = boost::property_tree::ptree;

std::vector<std::string> NarrowNames()
{
    std::vector<std::string> narrow;
    for (const std::u16string& name : ShuffledNames(kSiblings))
        narrow.emplace_back(name.begin(), name.end());
    return narrow;
}

PropertyTree& ChildOf(PropertyTree& parent, const std::string& name)
{
    const auto found = parent.find(name);
    if (found != parent.not_found())
        return found->second;
    return parent.push_back({name, PropertyTree()})->second;
}

void Visit(const PropertyTree& tree)
{
    benchmark::DoNotOptimize(&tree.data());
    for (const auto& child : tree)
        Visit(child.second);
}

} // namespace

static void BM_TreeVisit_BoostPropertyTree(benchmark::State& state)
{
    PropertyTree root;
    std::vector<PropertyTree*> nodes{&root};
    for (std::int64_t i = 1; i < state.range(0); ++i) {
        PropertyTree& parent = *nodes[static_cast<std::size_t>((i - 1) / state.range(1))];
        nodes.push_back(&parent.push_back({std::string(), PropertyTree()})->second);
    }
    for (auto _ : state)
        Visit(root);
    ReportItems(state, state.range(0));
}
BENCHMARK(BM_TreeVisit_BoostPropertyTree)->Apply(TreeSizes);

static void BM_BankCreate_BoostPropertyTree(benchmark::State& state)
{
    const std::vector<std::string> names = NarrowNames();
    for (auto _ : state) {
        auto root = std::make_unique<PropertyTree>();
        for (const std::string& name : names)
            benchmark::DoNotOptimize(&ChildOf(*root, name));
        state.PauseTiming();
        root = nullptr;
        state.ResumeTiming();
    }
    ReportItems(state, kSiblings);
}
BENCHMARK(BM_BankCreate_BoostPropertyTree)->Unit(benchmark::kMillisecond);

static void BM_BankFind_BoostPropertyTree(benchmark::State& state)
{
    const std::vector<std::string> names = NarrowNames();
    PropertyTree root;
    for (const std::string& name : names)
        ChildOf(root, name);
    for (auto _ : state) {
        for (const std::string& name : names)
            benchmark::DoNotOptimize(&ChildOf(root, name));
    }
    ReportItems(state, kSiblings);
}
BENCHMARK(BM_BankFind_BoostPropertyTree)->Unit(benchmark::kMillisecond);

#endif
