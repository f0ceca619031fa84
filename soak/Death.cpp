// Processes that are killed while they save:
//
//     death_soak SECONDS SEED
//     death_soak save KIND WORKER FOLDER     one of those processes, where it cannot be forked
//
// For each kind of file two processes save numbers into it, on and on, and say in a file of their
// own which number they begin and which was acknowledged. After up to ten milliseconds they are
// killed, and the file is looked at: it may not be torn, and must hold what was acknowledged last
// or what was begun then; and once one more save is done nothing of the dead may be left. A save
// that is refused is a fault, and told with its reason. The next two go on with it. Which kind is
// next, and how long it lives, the seed says.
//
// On Windows the system's own functions write text profiles, over the old lines: they are left out.
//
// Where a file is saved whole, the last of the two wins; else each has a key of its own.

#include "soak/OtherProcess.h"
#include "soak/SavedFiles.h"
#include "soak/SoakFolder.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace fs = std::filesystem;

namespace {

// --- killing -------------------------------------------------------------------------------------

using Clock = std::chrono::steady_clock;
constexpr std::chrono::minutes kLonger{1}; // than anything takes

/// What a worker tells of itself.
struct Progress {
    int begun = 0, acknowledged = 0, refused = 0;
};

/// Where it does: what a process has written stays when it is killed.
class ProgressFile {
public:
    explicit ProgressFile(const fs::path& path)
        : m_path(path)
    {
        std::ofstream(m_path, std::ios::app); // makes it
        m_file.rdbuf()->pubsetbuf(nullptr, 0);
        m_file.open(m_path, std::ios::binary | std::ios::in | std::ios::out);
    }

    [[nodiscard]] Progress Read() const
    {
        Progress progress;
        std::ifstream(m_path, std::ios::binary)
            .read(reinterpret_cast<char*>(&progress), sizeof progress);
        return progress;
    }

    void Write(const Progress& progress)
    {
        m_file.seekp(0);
        m_file.write(reinterpret_cast<const char*>(&progress), sizeof progress).flush();
    }

private:
    fs::path m_path;
    std::ofstream m_file;
};

/// One that saves into the files of a scene.
class Worker {
public:
    Worker(const SavedFile& kind, int index, const fs::path& folder)
        : m_kind(kind)
        , m_index(index)
        , m_folder(folder)
        , m_file(folder.parent_path() / (std::string(kind.name) + std::to_string(index)))
        , m_refusals(folder.parent_path() / (kind.name + std::to_string(index) + ".refused"))
    {}

    [[nodiscard]] Progress Told() const { return m_file.Read(); }
    /// Why saves were refused, a line each.
    [[nodiscard]] std::string Refusals() const
    {
        std::ifstream file(m_refusals);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    void Tell(const Progress& progress) { m_file.Write(progress); }

    void Save()
    {
        Progress progress = m_file.Read();
        Save(progress);
    }

    /// Saves until it is killed; it ends when nobody is left to do that.
    void SaveOn()
    {
        Progress progress = m_file.Read();
        for (const auto end = Clock::now() + 2 * kLonger; Clock::now() < end;)
            Save(progress);
    }

private:
    void Save(Progress& progress)
    {
        const int number = ++progress.begun;
        m_file.Write(progress);
        const auto start = Clock::now();
        if (m_kind.save(m_folder, m_index, number)) {
            progress.acknowledged = number;
        } else {
            ++progress.refused;
            const std::chrono::duration<double> taken = Clock::now() - start;
            std::ofstream(m_refusals, std::ios::app)
                << "save " << number << ", after " << taken.count() << " s: " << LastRefusal()
                << '\n';
        }
        m_file.Write(progress);
    }

    const SavedFile& m_kind;
    int m_index;
    fs::path m_folder;
    ProgressFile m_file;
    fs::path m_refusals;
};

class Scene {
public:
    Scene(const SavedFile& kind, const fs::path& folder)
        : m_kind(kind)
        , m_folder(folder / kind.name)
    {
        fs::create_directory(m_folder);
        for (int index = 0; index < kWorkers; ++index)
            m_workers.push_back(std::make_unique<Worker>(kind, index, m_folder));
        for (const auto& worker : m_workers)
            worker->Save();
    }

    /// Returns when they have begun to save.
    void Start()
    {
        for (std::size_t index = 0; index < m_workers.size(); ++index) {
            Worker& worker = *m_workers[index];
            const int begun = worker.Told().begun;
            m_processes.emplace_back([&] { worker.SaveOn(); },
                                     "save " + std::to_string(&m_kind - SavedFiles().data()) + ' ' +
                                         std::to_string(index) + " \"" + m_folder.string() + '"');
            for (const auto end = Clock::now() + kLonger; worker.Told().begun == begun;) {
                if (Clock::now() > end)
                    throw std::runtime_error("a saver does not begin");
                std::this_thread::yield();
            }
        }
    }

    /// Kills the savers and looks at the file.
    void KillAll()
    {
        for (OtherProcess& process : m_processes) {
            Expect(process.Kill(), "a saver ended by itself");
            ++m_kills;
        }
        m_processes.clear();
        Look();
        const int drafts = DraftCount(m_folder);
        m_drafts += drafts;
        Expect(drafts <= 2 * kWorkers, "more drafts than savers");
    }

    /// Saves once more, which takes away what the dead left.
    void Heal()
    {
        for (const auto& worker : m_workers)
            worker->Save();
        Look();
        Expect(DraftCount(m_folder) == 0, "a draft is left behind the next save");
    }

    /// Kills and faults, in this order.
    [[nodiscard]] std::pair<long, long> Report()
    {
        long saves = 0;
        for (const auto& worker : m_workers) {
            Expect(worker->Told().refused == 0, "a save was refused");
            std::printf("%s", worker->Refusals().c_str());
            saves += worker->Told().acknowledged;
        }
        std::printf("%s: %ld kills, %ld saves, %ld drafts seen\n", m_kind.name, m_kills, saves,
                    m_drafts);
        return {m_kills, m_faults};
    }

private:
    void Look()
    {
        for (int worker = 0; worker < (m_kind.isWhole ? 1 : kWorkers); ++worker) {
            const std::optional<int> value = m_kind.read(m_folder, worker, m_floor[worker]);
            const int owner = value.value_or(-1) / kNumbers, number = value.value_or(-1) % kNumbers;
            if (!Expect(value && number >= 0 && owner < kWorkers, "torn or missing") ||
                !Expect(m_kind.isWhole || owner == worker, "another one's value"))
                continue;
            Worker& saver = *m_workers[static_cast<std::size_t>(owner)];
            Progress progress = saver.Told();
            Expect(number >= progress.acknowledged, "an acknowledged save is lost");
            Expect(number <= progress.begun, "never begun");
            progress.acknowledged = number; // now it may not go any more
            progress.begun = (std::max)(progress.begun, number);
            saver.Tell(progress);
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
    std::vector<std::unique_ptr<Worker>> m_workers;
    std::vector<OtherProcess> m_processes; // of them, while they live
    int m_floor[kWorkers] = {};
    long m_kills = 0, m_drafts = 0, m_faults = 0;
};

} // namespace

int main(int count, char** arguments)
{
    if (count == 5 && arguments[1] == std::string_view("save")) {
        Worker(SavedFiles()[std::strtoul(arguments[2], nullptr, 10)], std::atoi(arguments[3]),
               arguments[4])
            .SaveOn();
        return 1;
    }
    if (count != 3) {
        std::fprintf(stderr, "usage: death_soak SECONDS SEED\n");
        return 2;
    }
    const auto end = Clock::now() + std::chrono::duration<double>(std::atof(arguments[1]));
    std::minstd_rand random(static_cast<unsigned>(std::atoi(arguments[2])));
    const SoakFolder folder("death");
    std::vector<Scene> scenes;
    scenes.reserve(SavedFiles().size());
    for (const SavedFile& kind : SavedFiles()) {
        if (!kind.isSystems || fs::path::preferred_separator == '/')
            scenes.emplace_back(kind, folder.Path());
    }
    while (Clock::now() < end) {
        Scene& scene = scenes[random() % scenes.size()];
        scene.Start();
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 10'000));
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
