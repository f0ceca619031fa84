// 32 processes that write to one file, and writers that are stopped in the middle:
//
//     crowd_soak SECONDS SEED
//
// Each process writes growing numbers under a key of its own to a text profile, then to a registry,
// and saves a binary profile as a whole. No write may be refused, and each key must hold the last
// number that was acknowledged; of a binary profile the last save counts, which must be whole. What
// a write takes, and the longest, is printed.
//
// Then a writer is stopped, as the seed has it, while others write. They may be refused only after
// the time that the headers tell, and not at all when it goes on before; nothing may be lost.

#include "core/base/BError.h"
#include "core/base/ErrorCodes.h"
#include "core/profile/BBinProfile.h"
#include "core/profile/BConfigRegistry.h"
#include "core/profile/BProfile.h"

#include "soak/Processes.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

namespace fs = std::filesystem;

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kMost = 32;  // writers
constexpr int kPieces = 8; // of a binary profile

const WString kSection(QD_W("Section")), kKey(QD_W("Key"));

/// What a writer tells, in shared memory.
struct Progress {
    std::atomic<int> acknowledged, refused;
    std::atomic<std::int64_t> longestUs, longestRefusedUs, totalUs;
};

struct Target {
    const char* name;
    int patienceMs; // after which a write is refused; 0: nobody waits
    bool isWhole;   // the last one wins
    bool (*write)(const fs::path& folder, int writer, int number);
    int (*read)(const fs::path& folder, int writer);
};

bool WriteText(const fs::path& folder, int writer, int number)
{
    return BProfile::WriteString(Wide(folder / "crowd.ini"), kSection,
                                 kKey + WString::FromInt(writer),
                                 WString::FromInt(number)) == kErrorNone;
}

int ReadText(const fs::path& folder, int writer)
{
    BProfile profile(Wide(folder / "crowd.ini"), ProfileReadOnly);
    profile.SetSection(kSection);
    return profile.ReadInt(kKey + WString::FromInt(writer), 0);
}

const WString kRegistryKey(QD_W("Software\\Test"));

bool WriteRegistry(const fs::path& folder, int writer, int number)
{
    ::setenv("QD_REGISTRY", (folder / "registry.db").c_str(), 1);
    static BConfigRegistry config(kRegistryKey);
    return config.WriteInt(kKey + WString::FromInt(writer), number) == kErrorNone;
}

int ReadRegistry(const fs::path& folder, int writer)
{
    ::setenv("QD_REGISTRY", (folder / "registry.db").c_str(), 1);
    int value = 0;
    BConfigRegistry(kRegistryKey).ReadInt(kKey + WString::FromInt(writer), value);
    return value;
}

bool WriteBinary(const fs::path& folder, int writer, int number)
{
    BBinProfile profile(Wide(folder / "crowd.bin"), ProfileNew);
    profile.WriteInt(QD_W("Writer"), writer);
    for (int i = 0; i < kPieces; ++i)
        profile.WriteInt(i, kKey, number);
    return profile.Save();
}

/// That of the writer who saved last; -1 when it is torn.
int ReadBinary(const fs::path& folder, int writer)
{
    BBinProfile profile(Wide(folder / "crowd.bin"), ProfileReadOnly);
    if (profile.ReadInt(QD_W("Writer"), -1) != writer)
        return 0;
    const int number = profile.ReadInt(0, kKey, -1);
    for (int i = 1; i < kPieces; ++i) {
        if (profile.ReadInt(i, kKey, -1) != number)
            return -1;
    }
    return number;
}

const Target kText = {"text profile", 10'000, false, WriteText, ReadText};
const Target kRegistry = {"registry", 2'000, false, WriteRegistry, ReadRegistry};
const Target kBinary = {"binary profile", 0, true, WriteBinary, ReadBinary};

/// Some writers of one file, until they are told to end.
class Crowd {
public:
    Crowd(const Target& target, const fs::path& folder, int count)
        : m_target(target)
        , m_folder(folder)
        , m_progress(MakeShared<Progress>(kMost))
        , m_isEnding(MakeShared<std::atomic<bool>>(1))
    {
        fs::create_directories(folder);
        for (int writer = 0; writer < count; ++writer)
            m_writers.push_back(Fork([&] { Work(writer); }));
    }

    [[nodiscard]] pid_t Writer(int writer) const
    {
        return m_writers[static_cast<std::size_t>(writer)];
    }
    [[nodiscard]] const Progress& Of(int writer) const { return m_progress[writer]; }

    void Finish()
    {
        *m_isEnding = true;
        for (const pid_t writer : m_writers) {
            int status = 1;
            Expect(::waitpid(writer, &status, 0) == writer && status == 0, "a writer died");
        }
        int last = 0; // of a file with one
        for (int writer = 0; writer < Count(); ++writer) {
            const int found = m_target.read(m_folder, writer), told = Of(writer).acknowledged;
            last += found > 0 ? 1 : 0;
            Expect(m_target.isWhole ? found == 0 || found == told : found >= told,
                   "an acknowledged write is lost");
        }
        Expect(!m_target.isWhole || last == 1, "not the one of the last");
        Expect(DraftCount(m_folder) == 0, "a draft is left");
    }

    void Expect(bool isTrue, const char* otherwise)
    {
        if (!isTrue && ++m_faults < 10)
            std::printf("%s: %s\n", m_target.name, otherwise);
    }

    template <class Number>
    [[nodiscard]] std::int64_t Sum(Number number) const
    {
        std::int64_t sum = 0;
        for (int writer = 0; writer < Count(); ++writer)
            sum += number(Of(writer));
        return sum;
    }
    [[nodiscard]] std::int64_t Writes() const
    {
        return Sum([](const Progress& of) { return of.acknowledged.load(); });
    }
    [[nodiscard]] std::int64_t Refused() const
    {
        return Sum([](const Progress& of) { return of.refused.load(); });
    }
    /// Of those from `first` on.
    template <class Number>
    [[nodiscard]] double LongestMs(Number us, int first = 0) const
    {
        std::int64_t longest = 0;
        for (int writer = first; writer < Count(); ++writer)
            longest = std::max<std::int64_t>(longest, us(Of(writer)));
        return static_cast<double>(longest) / 1000;
    }

    [[nodiscard]] int Count() const { return static_cast<int>(m_writers.size()); }
    [[nodiscard]] long Faults() const { return m_faults; }

    /// Whether each has written something, after a while: the first write also opens the file.
    [[nodiscard]] bool IsUnderWay() const
    {
        const auto end = Clock::now() + std::chrono::seconds(30);
        const auto least = [&] {
            int number = 1;
            for (int writer = 0; writer < Count(); ++writer)
                number = std::min<int>(number, Of(writer).acknowledged);
            return number;
        };
        while (least() == 0 && Clock::now() < end)
            ::usleep(1000);
        return least() != 0;
    }

private:
    [[nodiscard]] bool Write(int writer, int number) const
    {
        try {
            return m_target.write(m_folder, writer, number);
        } catch (const BError&) {
            return false; // the registry cannot be opened
        }
    }

    void Work(int writer)
    {
        Progress& progress = m_progress[writer];
        for (int number = 1; !*m_isEnding; ++number) {
            const auto start = Clock::now();
            const bool isWritten = Write(writer, number);
            const std::int64_t us =
                std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start).count();
            std::atomic<std::int64_t>& longest =
                isWritten ? progress.longestUs : progress.longestRefusedUs;
            longest = std::max<std::int64_t>(longest, us);
            progress.totalUs += us;
            if (isWritten)
                progress.acknowledged = number;
            else
                ++progress.refused;
        }
    }

    const Target& m_target;
    fs::path m_folder;
    Progress* m_progress;
    std::atomic<bool>* m_isEnding;
    std::vector<pid_t> m_writers;
    long m_faults = 0;
};

std::int64_t WaitUs(const Progress& of)
{
    return of.longestUs;
}

std::int64_t RefusedUs(const Progress& of)
{
    return of.longestRefusedUs;
}

struct Result {
    std::int64_t writes = 0;
    long faults = 0;

    Result& operator+=(const Crowd& crowd)
    {
        writes += crowd.Writes();
        faults += crowd.Faults();
        return *this;
    }
};

void Sleep(double seconds)
{
    ::usleep(static_cast<useconds_t>(seconds * 1e6));
}

void RunCrowd(const Target& target, const fs::path& folder, int count, double seconds,
              Result& result)
{
    Crowd crowd(target, folder / (target.name + std::to_string(count)), count);
    Sleep(seconds);
    crowd.Finish();
    crowd.Expect(crowd.Refused() == 0, "a write was refused");
    const auto total = crowd.Sum([](const Progress& of) { return of.totalUs.load(); });
    std::printf("%s, %d writers: %lld writes, %.2f ms each, the longest %.0f ms\n", target.name,
                count, static_cast<long long>(crowd.Writes()),
                static_cast<double>(total) / 1000 /
                    static_cast<double>(std::max<std::int64_t>(1, crowd.Writes())),
                crowd.LongestMs(WaitUs));
    result += crowd;
}

// Three writers, one of which stands still for a while, again and again. Most times it stands
// where the others have to wait for it.
void RunStopped(const Target& target, const fs::path& folder, double seconds, double stopSeconds,
                std::minstd_rand& random, Result& result)
{
    Crowd crowd(target, folder / (target.name + std::string(" stopped")), 3);
    crowd.Expect(crowd.IsUnderWay(), "a writer never got its turn");
    const auto end = Clock::now() + std::chrono::duration<double>(seconds);
    do {
        Sleep(0.01 + static_cast<double>(random() % 10'000) / 1e6);
        ::kill(crowd.Writer(0), SIGSTOP);
        Sleep(stopSeconds);
        ::kill(crowd.Writer(0), SIGCONT);
    } while (Clock::now() < end);
    crowd.Finish();
    constexpr double slackMs = 1000; // of a machine with other things to do
    const double refusedMs = crowd.LongestMs(RefusedUs);
    crowd.Expect(crowd.Refused() == 0 || stopSeconds * 1000 > target.patienceMs - slackMs,
                 "a write was refused too early");
    crowd.Expect(refusedMs < target.patienceMs + slackMs, "a refusal took too long");
    std::printf(
        "%s, a writer stopped for %.1f s: the longest wait of the others %.0f ms, %lld refused"
        " after %.0f ms\n",
        target.name, stopSeconds, crowd.LongestMs(WaitUs, 1),
        static_cast<long long>(crowd.Refused()), refusedMs);
    result += crowd;
}

} // namespace

int main(int count, char** arguments)
{
    if (count != 3) {
        std::fprintf(stderr, "usage: crowd_soak SECONDS SEED\n");
        return 2;
    }
    const double seconds = std::atof(arguments[1]);
    std::minstd_rand random(static_cast<unsigned>(std::atoi(arguments[2])));
    const SoakFolder folder("crowd");
    Result result;
    for (const Target* target : {&kText, &kRegistry, &kBinary}) {
        RunCrowd(*target, folder.Path(), 8, seconds / 12, result);
        RunCrowd(*target, folder.Path(), kMost, seconds / 6, result);
    }
    // Beyond their patience when there is time.
    for (const Target* target : {&kText, &kRegistry, &kBinary}) {
        const double patience = target->patienceMs / 1000. + 1;
        RunStopped(*target, folder.Path(), seconds / 12,
                   patience < seconds / 4 ? patience : std::min(0.2, seconds / 12), random, result);
    }
    std::printf("%lld writes\n", static_cast<long long>(result.writes));
    return result.faults != 0;
}
