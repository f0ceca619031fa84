// What the headers allow on several threads at once, done by several threads at once:
//
//     promises_soak SECONDS SEED
//
// Each worker keeps one promise after the other, as its random numbers say; the seed chooses the
// numbers, the system what runs beside what. Parallel.cpp does so with locks, operations and the
// dispatcher. The thread sanitizer sees the races that leave no trace.

#include "core/archive/BArchive.h"
#include "core/base/BDictionary.h"
#include "core/base/BError.h"
#include "core/language/BLanguageMap.h"
#include "core/memory/BMemory.h"
#include "core/memory/CStdMemoryManager.h"
#include "core/operation/BSyncOperationInterface.h"
#include "core/profile/BConfigRegistry.h"
#include "core/profile/BProfile.h"
#include "core/tree/BNode.h"
#include "core/units/BUnitSystem.h"

#include "soak/Processes.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <typeinfo>
#include <vector>

namespace {

constexpr int kWorkers = 4;
constexpr int kNames = 500;
constexpr std::size_t kIds = 100'000; // that a worker remembers

std::atomic<int> g_living = 0;

class Counted final : public BSmartObj {
public:
    Counted() { ++g_living; }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;
    ~Counted() override { --g_living; }
};

WString Name(std::uint32_t number)
{
    return WString(QD_W("name")) + WString::FromInt(static_cast<int>(number % kNames));
}

/// What all workers use. It is filled before there are any.
struct Shared {
    explicit Shared(std::filesystem::path folder);

    const std::filesystem::path path;
    const WString text{QD_W("a text that is long enough to stand in a block of its own")};
    const SP<Counted> object{new Counted};
    const SP<BNode> tree{new BNode};
    const SP<BLanguageMap> language{new BLanguageMap};
    const BUnit inch{QD_W("in"), 1 / 25.4, 4};
    BMemory scratch;
    BConfigRegistry registry{QD_W("Software\\Soak")};
};

Shared::Shared(std::filesystem::path folder)
    : path(std::move(folder))
{
    for (std::uint32_t i = 0; i < kNames; ++i) {
        const SP<BNode> child = new BNode;
        child->SetText(Name(i));
        tree->AddChild(child.Get(), -1);
        language->Add(WString(QD_W("$")) + Name(i), Name(i), Name(i + 1), false, false);
    }
    BLanguageMap::RegisterInstance(language);
}

/// A thread, and what it remembers.
struct Worker {
    Shared& shared;
    int number;
    std::minstd_rand random;
    std::vector<long> ids = {};
    int written = 0;
    std::uint64_t steps = 0;

    std::uint32_t Random() { return static_cast<std::uint32_t>(random()); }
};

bool SharesObjects(Worker& worker)
{
    const SP<Counted> first = worker.shared.object, second = first;
    const SP<Counted> own = new Counted;
    if (worker.ids.size() < kIds)
        worker.ids.push_back(own->UniqueID());
    return second == worker.shared.object && first->RefCount() > 2 && own->RefCount() == 1;
}

bool NamesClasses(Worker& worker)
{
    const std::type_info* const types[] = {&typeid(Worker),  &typeid(Shared),  &typeid(BUnit),
                                           &typeid(BMemory), &typeid(Counted), &typeid(BError)};
    static std::atomic<const char*> names[std::size(types)] = {};
    const std::size_t which = worker.Random() % std::size(types);
    const char* const name = BSmartObj::ClassName(*types[which]);
    const char* known = nullptr;
    return names[which].compare_exchange_strong(known, name) || known == name;
}

bool AsksWhetherObjectsAreValid(Worker& worker)
{
    alignas(BSmartObj) static char none[sizeof(BSmartObj)] = {};
    return BSmartObj::IsValidObject(worker.shared.object.Get()) &&
           !BSmartObj::IsValidObject(reinterpret_cast<BSmartObj*>(none));
}

bool SharesTexts(Worker& worker)
{
    WString own = worker.shared.text;
    const WString copy = own;
    own += Name(worker.Random());
    return copy == worker.shared.text && own.Length() > copy.Length();
}

bool ComparesTexts(Worker& worker)
{
    const std::uint32_t number = worker.Random();
    BDictionary<WString, std::uint32_t> dictionary;
    for (std::uint32_t i = 0; i < 20; ++i)
        dictionary.Insert(Name(number + i), i);
    const auto* const found = dictionary.Find(Name(number + 7));
    return found != nullptr && found->value == 7 && WString(QD_W("\u00E4b")) < WString(QD_W("b"));
}

bool ReadsATree(Worker& worker)
{
    const WString name = Name(worker.Random());
    BNode* const child = worker.shared.tree->Child(name);
    const SP<BNode> owned = child;
    return child != nullptr && child->GetText() == name && child->Parent() == worker.shared.tree &&
           worker.shared.tree->ChildNum() == kNames;
}

bool Translates(Worker& worker)
{
    const std::uint32_t number = worker.Random();
    const SP<BLanguageMap> map = BLanguageMap::Instance();
    WString keys;
    return map->Translate(WString(QD_W("$")) + Name(number)) == Name(number + 1) &&
           map->TranslateBack(Name(number), keys, WString(), LanguageDefault) == 1;
}

bool UsesUnits(Worker& worker)
{
    if (worker.Random() % 4 == 0)
        BUnitSystem::RegisterInstance(new BUnitSystem);
    const SP<BUnitSystem> system = BUnitSystem::Instance();
    return worker.shared.inch.Format(12.7, -1) == WString(QD_W("0.5000")) &&
           system->Unit(UnitClassLength).Symbol() == WString(QD_W("mm"));
}

bool TakesMemory(Worker& worker)
{
    const std::uint64_t size = worker.Random() % 100'000;
    CMemoryBlock* const block = QDAlloc(size);
    std::memset(block->Start(), worker.number, size);
    const auto* const bytes = static_cast<const char*>(block->Start());
    const bool isOwn =
        std::all_of(bytes, bytes + size, [&](char it) { return it == worker.number; });
    QDFree(block);
    return isOwn;
}

bool TakesTurnsWithABuffer(Worker& worker)
{
    const std::uint64_t size = 1 + worker.Random() % 10'000;
    auto* const bytes = static_cast<char*>(worker.shared.scratch.Allocate(size));
    std::memset(bytes, worker.number, size);
    const bool isOwn =
        std::all_of(bytes, bytes + size, [&](char it) { return it == worker.number; });
    worker.shared.scratch.Release();
    return isOwn;
}

bool WritesAProfile(Worker& worker)
{
    BProfile profile(Wide(worker.shared.path / "profile.ini"), ProfileReadWrite);
    profile.SetSection(WString(QD_W("Section")));
    const WString key = Name(static_cast<std::uint32_t>(worker.number));
    const bool isKept = profile.ReadInt(key, 0) == worker.written;
    return profile.WriteInt(key, ++worker.written) && isKept;
}

bool WritesTheRegistry(Worker& worker)
{
    const WString key = Name(static_cast<std::uint32_t>(worker.number)),
                  value = Name(worker.Random());
    WString kept;
    return worker.shared.registry.WriteString(key, value) == 0 &&
           worker.shared.registry.ReadString(key, kept) == 0 && kept == value;
}

/// Each its own, of which the classes are registered for all.
bool SavesADocument(Worker& worker)
{
    const WString path = Wide(worker.shared.path / ("document" + std::to_string(worker.number)));
    const WString name = Name(worker.Random());
    const SP<BNode> node = new BNode;
    node->SetText(name);
    {
        BArchive archive(path, BArchive::ModeWrite, "class Document", 1);
        archive.Insert(node.Get(), "root");
    }
    BArchive archive(path, BArchive::ModeRead, "class Document", 1);
    const SP<BSmartObj> read = archive.TakeOut("root");
    const auto* const root = dynamic_cast<BNode*>(read.Get());
    return root != nullptr && root->GetText() == name;
}

bool FailsByItself(Worker& worker)
{
    const WString path = Wide(worker.shared.path / ("missing" + std::to_string(worker.number)));
    const BProblem problem = BArchive(path, BArchive::ModeRead, "class Document", 1).Problem();
    return problem.code == EProblem::NotThere && problem.path == path;
}

bool ReportsNothing(Worker&)
{
    BSyncOperationInterface operation; // there is no dispatcher
    operation.ProgressInfo(50);
    return !operation.IsStopping();
}

struct Promise {
    const char* what;
    bool (*keep)(Worker&);
    std::uint32_t weight; // how often it comes
};
constexpr Promise kPromises[] = {
    {"objects are shared, and their numbers are unique", SharesObjects, 20},
    {"a type has one name", NamesClasses, 20},
    {"an object is valid or not", AsksWhetherObjectsAreValid, 1},
    {"texts are shared", SharesTexts, 20},
    {"texts are compared and hashed", ComparesTexts, 10},
    {"a tree is read", ReadsATree, 20},
    {"a language map is read", Translates, 20},
    {"units are read and the system is replaced", UsesUnits, 10},
    {"blocks are taken and given back", TakesMemory, 10},
    {"a buffer has one user", TakesTurnsWithABuffer, 10},
    {"a text profile keeps what each wrote", WritesAProfile, 1},
    {"the registry keeps what each wrote", WritesTheRegistry, 1},
    {"documents are saved and read", SavesADocument, 1},
    {"a failure is told to who had it", FailsByItself, 1},
    {"an operation without a dispatcher does nothing", ReportsNothing, 5},
};

std::atomic<bool> g_isOver = false;
std::atomic<int> g_faults = 0;

void Expect(bool isTrue, const char* what)
{
    if (!isTrue && ++g_faults < 10)
        std::fprintf(stderr, "fails: %s\n", what);
}

void Work(Worker& worker)
{
    std::vector<const Promise*> wheel;
    for (const Promise& promise : kPromises)
        wheel.insert(wheel.end(), promise.weight, &promise);
    while (!g_isOver) {
        const Promise& promise = *wheel[worker.Random() % wheel.size()];
        Expect(promise.keep(worker), promise.what);
        ++worker.steps;
    }
}

std::uint64_t RunWorkers(Shared& shared, double seconds, std::uint32_t seed)
{
    std::vector<Worker> workers;
    for (int i = 0; i < kWorkers; ++i)
        workers.push_back(
            {shared, i, std::minstd_rand(seed * kWorkers + static_cast<unsigned>(i))});
    std::vector<std::thread> threads;
    for (Worker& worker : workers)
        threads.emplace_back(Work, std::ref(worker));
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    g_isOver = true;
    for (std::thread& thread : threads)
        thread.join();
    std::uint64_t steps = 0;
    std::set<long> ids;
    std::size_t idCount = 0;
    for (const Worker& worker : workers) {
        steps += worker.steps;
        idCount += worker.ids.size();
        ids.insert(worker.ids.begin(), worker.ids.end());
    }
    Expect(ids.size() == idCount, "each object has a number of its own");
    return steps;
}

} // namespace

int main(int count, char** arguments)
{
    if (count != 3) {
        std::fprintf(stderr, "usage: promises_soak SECONDS SEED\n");
        return 2;
    }
    const SoakFolder folder("promises");
    ::setenv("QD_REGISTRY", (folder.Path() / "registry.db").c_str(), 1);
    CStdMemoryManager manager;
    manager.Init(1 << 20, 1 << 18);
    CMemoryBlockManager::RegisterMemoryManager(&manager);
    std::uint64_t steps = 0;
    {
        Shared shared(folder.Path());
        steps = RunWorkers(shared, std::atof(arguments[1]),
                           static_cast<std::uint32_t>(std::atoi(arguments[2])));
        Expect(g_living == 1 && shared.object->RefCount() == 1, "all objects are released");
        BLanguageMap::RegisterInstance(nullptr);
        BUnitSystem::RegisterInstance(nullptr);
    }
    Expect(g_living == 0 && manager.MemoryInUse() == 0, "all memory is given back");
    CMemoryBlockManager::RegisterMemoryManager(nullptr);
    std::printf("%llu steps\n", static_cast<unsigned long long>(steps));
    return g_faults != 0;
}
