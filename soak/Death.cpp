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

#include "soak/Processes.h"
#include "soak/SavedFiles.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <random>
#include <utility>
#include <vector>

namespace fs = std::filesystem;

namespace {

// --- killing -------------------------------------------------------------------------------------

/// Of a worker, in shared memory.
struct Progress {
    std::atomic<int> begun, acknowledged, refused;
};

class Scene {
public:
    Scene(const SavedFile& kind, const fs::path& folder)
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

    const SavedFile& m_kind;
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
    scenes.reserve(SavedFiles().size());
    for (const SavedFile& kind : SavedFiles())
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
