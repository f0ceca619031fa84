// Processes that are killed while they save:
//
//     death_soak SECONDS SEED
//
// For each kind of file two processes save numbers into it, on and on, and say in shared memory
// which number they begin and which was acknowledged. After up to ten milliseconds they are killed,
// and the file is looked at: it may not be torn, and must hold what was acknowledged last or what
// was begun then; and once one more save is done nothing of the dead may be left. The next two go
// on with it. Which kind is next, and how long it lives, the seed says.
//
// Where a file is saved whole, the last of the two wins; else each has a key of its own.

#include "core/archive/BArchive.h"
#include "core/base/ErrorCodes.h"
#include "core/diag/BProfiler.h"
#include "core/language/BLanguageMap.h"
#include "core/profile/BBinProfile.h"
#include "core/profile/BConfigRegistry.h"
#include "core/profile/BIniProfile.h"
#include "core/profile/BProfile.h"
#include "core/tree/BNode.h"
#include "support/SaveArchive.h"

#include "soak/Processes.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <optional>
#include <random>
#include <set>
#include <vector>

namespace fs = std::filesystem;

namespace {

constexpr int kWorkers = 2, kPieces = 40;
constexpr int kNumbers = 100'000'000; // of a worker: its values are worker * kNumbers + number

int Value(int worker, int number)
{
    return worker * kNumbers + number;
}

/// The one value of all pieces of a file; none when they differ.
class OneValue {
public:
    void Add(int value)
    {
        ++m_count;
        m_isOne = m_isOne && (m_count == 1 || value == m_value);
        m_value = value;
    }
    [[nodiscard]] std::optional<int> Get() const
    {
        return m_isOne && m_count == kPieces ? std::optional(m_value) : std::nullopt;
    }

private:
    int m_value = 0, m_count = 0;
    bool m_isOne = true;
};

// --- the kinds of files --------------------------------------------------------------------------

const WString kSection(QD_W("Section")), kKey(QD_W("Key")), kExtra(QD_W("Extra"));

WString WorkerKey(int worker)
{
    return kKey + WString::FromInt(worker);
}

bool SaveDocument(const fs::path& folder, int worker, int number)
{
    return SaveArchive(Wide(folder / "document.qda"), "class Document", 1, [&](BArchive& archive) {
        for (int i = 0; i < kPieces; ++i) {
            const SP<BNode> node(new BNode);
            node->SetText(WString::FromInt(Value(worker, number)));
            archive.Insert(node.Get(), BString::FromInt(i));
        }
    });
}

std::optional<int> ReadDocument(const fs::path& folder, int, int)
{
    BArchive archive(Wide(folder / "document.qda"), BArchive::ModeRead, "class Document", 1);
    OneValue value;
    for (int i = 0; i < kPieces; ++i) {
        const SP<BSmartObj> object = archive.TakeOut(BString::FromInt(i));
        const auto* const node = dynamic_cast<BNode*>(object.Get());
        value.Add(node != nullptr ? node->GetText().AtoI() : -1);
    }
    return value.Get();
}

bool SaveBinary(const fs::path& folder, int worker, int number)
{
    BBinProfile profile(Wide(folder / "settings.bin"), ProfileNew);
    for (int i = 0; i < kPieces; ++i)
        profile.WriteInt(i, kKey, Value(worker, number));
    return true;
}

std::optional<int> ReadBinary(const fs::path& folder, int, int)
{
    BBinProfile profile(Wide(folder / "settings.bin"), ProfileReadOnly);
    OneValue value;
    for (int i = 0; i < kPieces; ++i)
        value.Add(profile.ReadInt(i, kKey, -1));
    return value.Get();
}

// A key that comes and goes at the end, as that is written in another way.
bool SaveText(const fs::path& folder, int worker, int number)
{
    BProfile profile(Wide(folder / "settings.ini"), ProfileReadWrite);
    profile.SetSection(kSection);
    const WString extra = kExtra + WString::FromInt(worker);
    if (number % 4 == 0)
        profile.DeleteKey(extra);
    if (number % 4 == 1 && !profile.WriteInt(extra, number))
        return false;
    return profile.WriteInt(WorkerKey(worker), Value(worker, number));
}

std::optional<int> ReadText(const fs::path& folder, int worker, int)
{
    BProfile profile(Wide(folder / "settings.ini"), ProfileReadOnly);
    profile.SetSection(kSection);
    return profile.ReadInt(WorkerKey(worker), -1);
}

bool SaveIni(const fs::path& folder, int worker, int number)
{
    return BIniProfile(Wide(folder / "probe.ini"), kSection, true)
        .WriteInt(WorkerKey(worker), Value(worker, number));
}

std::optional<int> ReadIni(const fs::path& folder, int worker, int)
{
    return BIniProfile(Wide(folder / "probe.ini"), kSection, false).GetInt(WorkerKey(worker), -1);
}

const WString kTexts(QD_W("texts.lng"));

// Each exports a master of its own, and merges it into the one translation.
bool SaveLanguage(const fs::path& folder, int worker, int number)
{
    const fs::path master = folder / ("master" + std::to_string(worker));
    const WString merged = Wide(folder / "merged");
    fs::create_directory(master);
    if (fs::create_directory(folder / "merged") &&
        BLanguageMap().ExportMapFile(Wide(folder / "merged/texts.lng")) != kErrorNone)
        return false;
    BLanguageMap map;
    const WString text = WString::FromInt(Value(worker, number));
    for (int i = 0; i < kPieces; ++i)
        map.Add(WString(QD_W("$ID_")) + WString::FromInt(i), text, text, true, false);
    int newEntries = 0;
    return map.ExportMapFile(Wide(master / "texts.lng")) == kErrorNone &&
           BLanguageMap::MergeMapFile(Wide(master), merged, merged, kTexts, newEntries) ==
               kErrorNone;
}

std::optional<int> ReadLanguage(const fs::path& folder, int, int)
{
    BLanguageMap map;
    if (map.ImportMapFile(Wide(folder / "merged/texts.lng"), nullptr, true, true) != kErrorNone)
        return std::nullopt;
    OneValue value;
    for (int i = 0; i < kPieces; ++i) {
        WString text;
        value.Add(map.Find(WString(QD_W("$ID_")) + WString::FromInt(i), text, false) ? text.AtoI()
                                                                                     : -1);
    }
    return value.Get();
}

const WString kRegistryKey(QD_W("Software\\Test"));

bool SaveRegistry(const fs::path& folder, int worker, int number)
{
    ::setenv("QD_REGISTRY", (folder / "registry.db").c_str(), 1);
    return BConfigRegistry(kRegistryKey).WriteInt(WorkerKey(worker), Value(worker, number)) ==
           kErrorNone;
}

std::optional<int> ReadRegistry(const fs::path& folder, int worker, int)
{
    ::setenv("QD_REGISTRY", (folder / "registry.db").c_str(), 1);
    int value = -1;
    return BConfigRegistry(kRegistryKey).ReadInt(WorkerKey(worker), value) == kErrorNone
               ? std::optional(value)
               : std::nullopt;
}

bool SaveLog(const fs::path& folder, int worker, int number)
{
    BProfiler::SetLogfilePath(Wide(folder / ""));
    BProfiler::Start(WString(QD_W("run ")) + WString::FromInt(Value(worker, number)));
    BProfiler::Step(QD_W("step"));
    BProfiler::Stop(WString());
    return true;
}

/// The last number of which all since `floor` stand in the log, which is then taken away. The run
/// that was being written may be torn.
std::optional<int> ReadLog(const fs::path& folder, int worker, int floor)
{
    int number = floor;
    for (const auto& entry : fs::directory_iterator(folder)) {
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(file), {}};
        const auto has = [&](int next) {
            const std::u16string line = u"\tStart\trun " +
                                        fs::path(std::to_string(Value(worker, next))).u16string() +
                                        u"\r\n";
            return bytes.find(std::string(reinterpret_cast<const char*>(line.data()),
                                          line.size() * sizeof line[0])) != bytes.npos;
        };
        while (has(number + 1))
            ++number;
        if (worker == kWorkers - 1)
            fs::remove(entry.path());
    }
    return Value(worker, number);
}

struct Kind {
    const char* name;
    bool isWhole; // the last saver wins
    bool (*save)(const fs::path& folder, int worker, int number);
    /// The value; none for a torn file. `floor` was acknowledged when it was last looked at.
    std::optional<int> (*read)(const fs::path& folder, int worker, int floor);
};

const Kind kKinds[] = {
    {"archive", true, SaveDocument, ReadDocument},
    {"binary profile", true, SaveBinary, ReadBinary},
    {"text profile", false, SaveText, ReadText},
    {"INI file", false, SaveIni, ReadIni},
    {"language file", true, SaveLanguage, ReadLanguage},
    {"registry", false, SaveRegistry, ReadRegistry},
    {"profiler log", false, SaveLog, ReadLog},
};

// --- killing -------------------------------------------------------------------------------------

/// Of a worker, in shared memory.
struct Progress {
    std::atomic<int> begun, acknowledged, refused;
};

class Scene {
public:
    Scene(const Kind& kind, const fs::path& folder)
        : m_kind(kind)
        , m_folder(folder / kind.name)
        , m_progress(MakeShared<Progress>(kWorkers))
    {
        fs::create_directory(m_folder);
        for (int worker = 0; worker < kWorkers; ++worker)
            Save(worker);
    }

    void Start()
    {
        for (int worker = 0; worker < kWorkers; ++worker)
            m_workers[worker] = Fork([&] {
                for (;;)
                    Save(worker);
            });
    }

    /// Kills the savers and looks at the file.
    void KillAll()
    {
        for (const pid_t worker : m_workers) {
            Expect(Kill(worker), "a saver ended by itself");
            ++m_kills;
        }
        Look();
        const int drafts = DraftCount(m_folder);
        m_drafts += drafts;
        Expect(drafts <= 2 * kWorkers, "more drafts than savers");
    }

    /// Saves once more, which takes away what the dead left.
    void Heal()
    {
        for (int worker = 0; worker < kWorkers; ++worker)
            Save(worker);
        Look();
        Expect(DraftCount(m_folder) == 0, "a draft is left behind the next save");
    }

    /// Kills and faults, in this order.
    [[nodiscard]] std::pair<long, long> Report()
    {
        for (int worker = 0; worker < kWorkers; ++worker)
            Expect(m_progress[worker].refused == 0, "a save was refused");
        long saves = 0;
        for (int worker = 0; worker < kWorkers; ++worker)
            saves += m_progress[worker].acknowledged;
        std::printf("%s: %ld kills, %ld saves, %ld drafts seen\n", m_kind.name, m_kills, saves,
                    m_drafts);
        return {m_kills, m_faults};
    }

private:
    void Save(int worker)
    {
        Progress& progress = m_progress[worker];
        const int number = ++progress.begun;
        if (m_kind.save(m_folder, worker, number))
            progress.acknowledged = number;
        else
            ++progress.refused;
    }

    void Look()
    {
        for (int worker = 0; worker < (m_kind.isWhole ? 1 : kWorkers); ++worker) {
            const std::optional<int> value = m_kind.read(m_folder, worker, m_floor[worker]);
            const int owner = value.value_or(-1) / kNumbers, number = value.value_or(-1) % kNumbers;
            if (!Expect(value && number >= 0 && owner < kWorkers, "torn or missing") ||
                !Expect(m_kind.isWhole || owner == worker, "another one's value"))
                continue;
            Progress& progress = m_progress[owner];
            Expect(number >= progress.acknowledged, "an acknowledged save is lost");
            Expect(number <= progress.begun, "never begun");
            progress.acknowledged = number; // now it may not go any more
            progress.begun = std::max<int>(progress.begun, number);
            m_floor[owner] = progress.begun;
        }
    }

    bool Expect(bool isTrue, const char* otherwise)
    {
        if (!isTrue && ++m_faults < 10)
            std::printf("%s: %s\n", m_kind.name, otherwise);
        return isTrue;
    }

    const Kind& m_kind;
    fs::path m_folder;
    Progress* m_progress;
    pid_t m_workers[kWorkers] = {};
    int m_floor[kWorkers] = {};
    long m_kills = 0, m_drafts = 0, m_faults = 0;
};

} // namespace

int main(int count, char** arguments)
{
    if (count != 3) {
        std::fprintf(stderr, "usage: death_soak SECONDS SEED\n");
        return 2;
    }
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::duration<double>(std::atof(arguments[1]));
    std::minstd_rand random(static_cast<unsigned>(std::atoi(arguments[2])));
    const SoakFolder folder("death");
    std::vector<Scene> scenes;
    scenes.reserve(std::size(kKinds));
    for (const Kind& kind : kKinds)
        scenes.emplace_back(kind, folder.Path());
    while (Clock::now() < end) {
        Scene& scene = scenes[random() % scenes.size()];
        scene.Start();
        ::usleep(static_cast<useconds_t>(random() % 10'000));
        scene.KillAll();
        if (random() % 4 == 0)
            scene.Heal();
    }
    long kills = 0, faults = 0;
    for (Scene& scene : scenes) {
        scene.Heal();
        const auto [sceneKills, sceneFaults] = scene.Report();
        kills += sceneKills;
        faults += sceneFaults;
    }
    std::printf("%ld kills\n", kills);
    return faults != 0;
}
