// Makes every system call and allocation of the library's operations on files fail, one by one:
//
//     faults_soak SECONDS SEED    in random order
//     faults_soak [FILTER]        all of them, or those with a part of a name:
//                                 text-write@link:openat.3:EIO:once
//
// A run is an operation of Operations.cpp in a fresh folder and a fresh process with one fault: a
// system call that is answered with an error, an allocation that fails, a file that may not grow,
// or no more than some pages of address space, or of a disk, which is a small one of this
// program's own. A fault comes `once`, `on` (from there on) or to `all` calls that know the error
// from there on.
//
// Then the files must hold the old or the new content, the operation must have told which, nothing
// may be left behind, and a second try in the same process must succeed, when the disk has room
// again. Neither descriptors nor memory may be lost. What changes a file is also run with that file
// behind a symbolic link (@link) and without it (@new).

#include "soak/Processes.h"
#include "soak/faults/Disk.h"
#include "soak/faults/Injector.h"
#include "soak/faults/Operations.h"
#include "soak/faults/Readers.h"
#include "soak/faults/SpaceLimit.h"
#include "tests/ResourceLimit.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <optional>
#include <poll.h>
#include <random>
#include <set>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

using injector::ERange;
using injector::Fault;
using injector::Record;
using ETold = Answer::ETold;

constexpr int kTimeLimitMs = 30'000; // the library's own waits end after 10 s
constexpr long kSizes[] = {0, 1, 100, 4096, 5000, 9000, 14000, 32768}; // bytes of a file
constexpr int kMostPages = 24;                                         // that are left of a disk
constexpr long kSpaces[] = {0, 2, 8, 32, 64, 96, 128, 256}; // pages of address space that are left

struct Case {
    std::string name;
    Fault fault = {};
    long sizeLimit = -1, pagesLeft = -1, spaceLimit = -1; // below 0: none
};

/// What the process of a run tells this one.
struct Report {
    Record record;
    Answer first, second;
    long descriptors, blocks; // more than before
};

struct Entry {
    mode_t mode = 0;
    std::string content;

    bool operator==(const Entry&) const = default;
};

using Files = std::map<std::string, Entry>; // by name

struct Outcome {
    std::string end; // what became of the process; empty when it is as it should be
    Report report = {};
    Files first, second;      // after the tries
    bool lacksMemory = false; // so that a try may be broken off by an exception
};

// --- what stands in a folder ---------------------------------------------------------------------

std::string Bytes(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Settings are the same as 8-bit text and as UTF-16.
std::string Narrowed(const std::string& bytes)
{
    if (!bytes.starts_with("\xFF\xFE"))
        return bytes;
    std::string text;
    for (std::size_t i = 2; i < bytes.size(); ++i) {
        if (i % 2 == 0 || bytes[i] != 0)
            text += bytes[i];
    }
    return text;
}

// Times and durations are never the same.
std::string WithoutNumbers(const std::string& bytes)
{
    std::string text;
    for (const char byte : Narrowed(bytes)) {
        const bool isDigit = byte >= '0' && byte <= '9';
        if (!isDigit || !text.ends_with('0'))
            text += isDigit ? '0' : byte;
    }
    return text;
}

std::string Content(const fs::path& path)
{
    if (fs::is_symlink(path))
        return fs::read_symlink(path).string();
    if (fs::is_directory(path))
        return "a folder";
    const std::string ending = path.extension().string();
    const std::string bytes = Bytes(path);
    return ending == ".ini" ? Narrowed(bytes) : ending == ".log" ? WithoutNumbers(bytes) : bytes;
}

/// What `work` writes to the pipe that it gets, in a process of its own: this one shall not have
/// opened anything of the library's.
template <class Work>
std::string InProcess(Work work)
{
    int ends[2];
    if (::pipe(ends) != 0)
        std::abort();
    std::fflush(stdout);
    const pid_t process = Fork([&] {
        const std::string text = work();
        if (::write(ends[1], text.data(), text.size()) != static_cast<ssize_t>(text.size()))
            std::abort();
    });
    ::close(ends[1]);
    std::string text;
    char piece[4096];
    for (ssize_t size = 0; (size = ::read(ends[0], piece, sizeof piece)) > 0;)
        text.append(piece, static_cast<std::size_t>(size));
    ::close(ends[0]);
    int status = 0;
    ::waitpid(process, &status, 0);
    return status == 0 ? text : "a crash";
}

/// By name; of the registry what the library reads, as its files differ every time.
Files Look(const fs::path& folder, bool isRegistry)
{
    Files files;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        const std::string name = entry.path().lexically_relative(folder).string();
        struct stat status = {};
        ::lstat(entry.path().c_str(), &status);
        if (!name.starts_with("registry.db"))
            files[name] = {status.st_mode, Content(entry.path())};
    }
    if (isRegistry)
        files["registry"] = {0, InProcess([&] { return RegistryText(Place(folder)); })};
    return files;
}

// --- one run -------------------------------------------------------------------------------------

Answer Try(const Operation& operation, const Place& place)
{
    try {
        return operation.run(place);
    } catch (...) {
        return {ETold::No, 0};
    }
}

long DescriptorCount()
{
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
}

/// Two processes that wait for each other.
class Meeting {
public:
    Meeting()
    {
        if (::pipe(m_toParent) != 0 || ::pipe(m_toChild) != 0)
            std::abort();
    }
    ~Meeting()
    {
        for (const int end : {m_toParent[0], m_toParent[1], m_toChild[0], m_toChild[1]})
            ::close(end);
    }
    Meeting(const Meeting&) = delete;
    Meeting& operator=(const Meeting&) = delete;

    /// The child's: says that it is ready, and waits to be let go.
    void Wait() const
    {
        char byte = 0;
        if (::write(m_toParent[1], &byte, 1) != 1 || ::read(m_toChild[0], &byte, 1) != 1)
            std::abort();
    }
    void LetGo() const
    {
        const char byte = 0;
        if (::write(m_toChild[1], &byte, 1) != 1)
            std::abort();
    }
    /// The parent's, whether the child got there in time.
    bool IsReady()
    {
        ::close(std::exchange(m_toParent[1], -1));
        pollfd waiting = {m_toParent[0], POLLIN, 0};
        char byte = 0;
        return ::poll(&waiting, 1, kTimeLimitMs) == 1 && ::read(m_toParent[0], &byte, 1) == 1;
    }
    /// Whether it ended in time.
    [[nodiscard]] bool HasEnded() const
    {
        pollfd waiting = {m_toParent[0], POLLIN, 0};
        return ::poll(&waiting, 1, kTimeLimitMs) == 1;
    }

private:
    int m_toParent[2], m_toChild[2];
};

void TryTwice(const Operation& operation, const fs::path& folder, const Case& what, Report& report,
              const Meeting& meeting)
{
    const Place place(folder);
    ReadyReaders();
    SpaceLimit::TouchStack();
    const long descriptors = DescriptorCount(), blocks = injector::BlockCount();
    injector::TrapCalls();
    {
        std::optional<ResourceLimit> size;
        if (what.sizeLimit >= 0)
            size.emplace(RLIMIT_FSIZE, static_cast<rlim_t>(what.sizeLimit));
        std::optional<SpaceLimit> space;
        if (what.spaceLimit >= 0)
            space.emplace(what.spaceLimit);
        injector::Begin(what.fault, report.record);
        report.first = Try(operation, place);
        injector::End();
    }
    report.descriptors = DescriptorCount() - descriptors;
    meeting.Wait();
    report.second = Try(operation, place);
    ::waitpid(Fork([] {}), nullptr, 0); // for which registries are closed: they keep what was read
    report.blocks = injector::BlockCount() - blocks;
}

std::string EndOf(pid_t process, bool isInTime)
{
    if (!isInTime)
        ::kill(process, SIGKILL);
    int status = 0;
    ::waitpid(process, &status, 0);
    if (!isInTime)
        return "hangs";
    return WIFSIGNALED(status) ? std::string("ends with ") + ::strsignal(WTERMSIG(status))
           : status != 0       ? "ends with " + std::to_string(WEXITSTATUS(status))
                               : "";
}

class Runner {
public:
    Runner(const Operation& operation, const fs::path& from, Disk& disk)
        : m_operation(operation)
        , m_from(from)
        , m_disk(disk)
        , m_isRegistry(operation.name.starts_with("registry"))
        , m_report(MakeShared<Report>(1))
    {}
    ~Runner() { ::munmap(m_report, sizeof *m_report); }
    Runner(const Runner&) = delete;
    Runner& operator=(const Runner&) = delete;

    [[nodiscard]] Files Before() const { return Look(m_from, m_isRegistry); }

    [[nodiscard]] Outcome Run(const Case& what)
    {
        const fs::path folder = m_disk.Path() / "run";
        fs::remove_all(folder);
        fs::copy(m_from, folder, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
        *m_report = {};
        if (what.pagesLeft >= 0)
            m_disk.Fill(what.pagesLeft);
        Outcome outcome;
        Meeting meeting;
        std::fflush(stdout);
        const pid_t process = ::fork();
        if (process == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            TryTwice(m_operation, folder, what, *m_report, meeting);
            std::exit(0); // with what is done at the end
        }
        bool isInTime = true;
        if (meeting.IsReady()) {
            m_disk.MakeRoom(); // who looks into a registry needs some, too
            outcome.first = Look(folder, m_isRegistry);
            meeting.LetGo();
            isInTime = meeting.HasEnded();
        } else {
            isInTime = meeting.HasEnded();
            m_disk.MakeRoom();
        }
        outcome.end = EndOf(process, isInTime);
        outcome.second = Look(folder, m_isRegistry);
        outcome.report = *m_report;
        const std::string fault = what.name.substr(0, what.name.find('.'));
        outcome.lacksMemory = fault == "alloc" || fault == "space" || fault == "mmap";
        return outcome;
    }

private:
    const Operation& m_operation;
    fs::path m_from; // what stands there before
    Disk& m_disk;
    bool m_isRegistry;
    Report* m_report; // in memory that the processes share
};

// --- what is wrong -------------------------------------------------------------------------------

bool IsDraft(const std::string& name)
{
    const std::string file = fs::path(name).filename().string();
    return file.starts_with(".qd") && file.ends_with(".tmp");
}

/// Of the first file that is as neither of the wanted states has it.
std::string Difference(const Files& files, const Files& old, const Files& now)
{
    std::set<std::string> names;
    for (const Files* const state : {&files, &old, &now}) {
        for (const auto& [name, entry] : *state)
            names.insert(name);
    }
    const auto in = [](const Files& state, const std::string& name) {
        const auto found = state.find(name);
        return found != state.end() ? std::optional(found->second) : std::nullopt;
    };
    for (const std::string& name : names) {
        const auto entry = in(files, name), before = in(old, name), after = in(now, name);
        if (entry == before || entry == after)
            continue;
        if (!entry)
            return name + " is gone";
        if (!before && !after)
            return name + " is left behind";
        const bool hasContent = (before && before->content == entry->content) ||
                                (after && after->content == entry->content);
        return name + (hasContent ? " has another mode" : " has another content");
    }
    return "some files are old, some new";
}

class Judge {
public:
    Judge(const Operation& operation, Files old, Outcome clean)
        : m_file(operation.file)
        , m_old(std::move(old))
        , m_clean(std::move(clean))
    {}

    [[nodiscard]] const Outcome& Clean() const { return m_clean; }

    /// Nothing when all is well.
    [[nodiscard]] std::string Faults(const Outcome& done) const
    {
        if (!done.end.empty())
            return done.end;
        std::string faults;
        const auto expect = [&](bool isTrue, const std::string& otherwise) {
            if (!isTrue)
                faults += (faults.empty() ? "" : "; ") + otherwise;
        };
        const Report& report = done.report;
        const Report& wanted = m_clean.report;
        const int unknown = report.record.unknownCall;
        expect(unknown == 0, "makes the unknown call " + std::to_string(unknown));
        expect(!HasDraft(done.first) || HasFailed(report.record, "unlink"), "leaves a draft");
        const Files& now = m_clean.first;
        const Files files = Settled(done);
        const bool isWhole = files == m_old || files == now;
        const bool saysYes = report.first.told == ETold::Yes;
        if (!isWhole && (saysYes || !MayBeBetween(report.record)))
            expect(false, Difference(files, m_old, now));
        expect(!saysYes || files != m_old || m_old == now, "told success, but the content is old");
        expect(!saysYes || report.first.found == wanted.first.found,
               "told success, but found " + std::to_string(report.first.found));
        expect(report.descriptors <= wanted.descriptors, "leaves descriptors open");
        JudgeSecond(done, expect);
        return faults;
    }

    /// Whether a failure was told, though the content is new.
    [[nodiscard]] bool IsLate(const Outcome& done) const
    {
        return done.report.first.told == ETold::No && m_clean.first != m_old &&
               Settled(done) == m_clean.first;
    }

private:
    static bool HasDraft(const Files& files)
    {
        return std::ranges::any_of(files, [](const auto& file) { return IsDraft(file.first); });
    }

    static bool HasFailed(const Record& record, const std::string& call)
    {
        for (int kind = 0; kind < injector::KindCount(); ++kind) {
            if (record.hasFailed[kind] && injector::NameOf(kind).starts_with(call))
                return true;
        }
        return false;
    }

    [[nodiscard]] bool MayBeBetween(const Record& record) const
    {
        return m_file == Operation::EFile::InBetween ||
               (m_file == Operation::EFile::Grows && HasFailed(record, "ftruncate"));
    }

    /// Without drafts, and without the locks by a file, where no folder can be read.
    static Files Tidy(Files files, const Record& record)
    {
        const bool mayLock = record.hits != 0;
        std::erase_if(files, [&](const auto& file) {
            return IsDraft(file.first) || (mayLock && file.first.ends_with(".qd.lock"));
        });
        return files;
    }

    /// And without an empty new file, which holds no settings.
    [[nodiscard]] Files Settled(const Outcome& done) const
    {
        Files files = Tidy(done.first, done.report.record);
        std::erase_if(files, [&](const auto& file) {
            const auto found = m_clean.first.find(file.first);
            const bool isNew = found != m_clean.first.end() && found->second == file.second;
            return !m_old.contains(file.first) && !isNew && file.second.content.empty();
        });
        return files;
    }

    template <class Expect>
    void JudgeSecond(const Outcome& done, Expect expect) const
    {
        const Report& report = done.report;
        const Report& wanted = m_clean.report;
        // What grows in place was done twice by now, unless the first try was broken off.
        const bool isOnce = m_file == Operation::EFile::OldOrNew;
        const bool wasBrokenOff = (MayBeBetween(report.record) || done.lacksMemory) && !isOnce &&
                                  report.first.told != wanted.first.told;
        const Files files = Tidy(done.second, report.record);
        const bool isAsOnce = isOnce && files == m_clean.first;
        if (!isAsOnce && files != m_clean.second && !wasBrokenOff)
            expect(false,
                   "after the second try " + Difference(files, m_clean.first, m_clean.second));
        else if (report.second != wanted.first && report.second != wanted.second)
            expect(false, "the second try is told otherwise, found " +
                              std::to_string(report.second.found));
        expect(report.blocks <= wanted.blocks,
               "leaks " + std::to_string(report.blocks - wanted.blocks) + " blocks");
    }

    Operation::EFile m_file;
    Files m_old;
    Outcome m_clean;
};

// --- the cases of an operation -------------------------------------------------------------------

void AddCalls(const Record& record, std::vector<Case>& cases)
{
    std::map<int, int> counts;
    for (int i = 0; i < record.callCount; ++i) {
        const int kind = record.kinds[i], number = ++counts[kind];
        for (const int* error = injector::ErrorsOf(kind); *error != 0; ++error) {
            const std::string name = injector::NameOf(kind) + '.' + std::to_string(number) + ':' +
                                     injector::NameOfError(*error) + ':';
            const auto add = [&](const char* range, ERange value) {
                cases.push_back({name + range, {Fault::EWhat::Call, kind, number, *error, value}});
            };
            add("once", ERange::Once);
            if (!injector::CanStay(kind, *error))
                continue;
            add("on", ERange::On);
            if (injector::CanComeToAll(*error))
                add("all", ERange::All);
        }
    }
}

void AddLacksOfMemory(long allocations, std::vector<Case>& cases)
{
    for (int number = 1; number <= allocations; ++number) {
        const std::string name = "alloc." + std::to_string(number);
        constexpr auto what = Fault::EWhat::Allocation;
        cases.push_back({name + ":once", {what, 0, number, 0, ERange::Once}});
        cases.push_back({name + ":on", {what, 0, number, 0, ERange::On}});
    }
    for (const long pages : kSpaces)
        cases.push_back({"space." + std::to_string(pages), {}, -1, -1, pages});
}

void AddLacksOfRoom(bool hasDisk, std::vector<Case>& cases)
{
    for (int pages = 0; hasDisk && pages <= kMostPages; ++pages)
        cases.push_back({"disk." + std::to_string(pages), {}, -1, pages});
    for (const long size : kSizes)
        cases.push_back({"size." + std::to_string(size), {}, size});
}

std::vector<Case> CasesOf(const Operation& operation, const Record& clean, bool isPlain,
                          bool hasDisk)
{
    std::vector<Case> cases;
    if (!operation.lacksMemoryAlone) {
        AddCalls(clean, cases);
        AddLacksOfRoom(hasDisk, cases);
    }
    if (isPlain)
        AddLacksOfMemory(clean.allocations, cases);
    return cases;
}

/// An operation on what stands in a folder, and all its faults.
class Scene {
public:
    Scene(const Operation& operation, std::string name, const fs::path& from, Disk& disk)
        : m_name(std::move(name))
        , m_runner(operation, from, disk)
        , m_judge(operation, m_runner.Before(), m_runner.Run({}))
        , m_cases(CasesOf(operation, m_judge.Clean().report.record,
                          m_name.find('@') == std::string::npos, disk.IsMounted()))
    {}

    [[nodiscard]] const std::string& Name() const { return m_name; }
    [[nodiscard]] const std::vector<Case>& Cases() const { return m_cases; }
    [[nodiscard]] const Outcome& Clean() const { return m_judge.Clean(); }

    /// What is wrong then; nothing when all is well.
    std::string Run(const Case& what)
    {
        // Some calls are made or not, as a file is so new that it may change unseen.
        constexpr int attempts = 5;
        Outcome done = m_runner.Run(what);
        const auto isMissed = [&] {
            return what.fault.what != Fault::EWhat::Nothing && done.report.record.hits == 0;
        };
        for (int i = 1; i < attempts && isMissed() && done.end.empty(); ++i)
            done = m_runner.Run(what);
        ++runs;
        missed += isMissed();
        late += m_judge.IsLate(done);
        const std::string wrong = IsSound() ? m_judge.Faults(done) : "fails without a fault, too";
        faults += !wrong.empty();
        return wrong;
    }

    long runs = 0, missed = 0, late = 0, faults = 0;

private:
    // Beside a run that fails by itself all others look well. Some need the file that is missing.
    [[nodiscard]] bool IsSound() const
    {
        return Clean().end.empty() &&
               (Clean().report.first.told != ETold::No || m_name.ends_with("@new"));
    }

    std::string m_name;
    Runner m_runner;
    Judge m_judge;
    std::vector<Case> m_cases;
};

class Stage {
public:
    explicit Stage(Disk& disk)
        : m_disk(disk)
        , m_files(Made("files", Prepare))
        , m_readFiles(Made("read", PrepareReaders))
    {}

    /// The operation as it stands, and, when it changes one file, behind a link and without it.
    std::vector<std::unique_ptr<Scene>> Scenes(const Operation& operation)
    {
        std::vector<std::unique_ptr<Scene>> scenes;
        const auto add = [&](const std::string& name, const fs::path& from) {
            scenes.push_back(std::make_unique<Scene>(operation, name, from, m_disk));
        };
        if (operation.name.starts_with("read-")) {
            add(operation.name, m_readFiles);
            return scenes;
        }
        add(operation.name, m_files);
        const bool isRegistry = operation.name.starts_with("registry");
        const Files old = Look(m_files, isRegistry), now = scenes.front()->Clean().first;
        std::vector<std::string> changed;
        for (const auto& [name, entry] : old) {
            const auto found = now.find(name);
            if (found == now.end() || found->second != entry)
                changed.push_back(name);
        }
        if (operation.lacksMemoryAlone || changed.size() != 1 || !now.contains(changed[0]))
            return scenes;
        add(operation.name + "@new", Without(operation.name, changed[0]));
        if (!isRegistry)
            add(operation.name + "@link", Linked(operation.name, changed[0]));
        return scenes;
    }

private:
    fs::path Made(const char* name, void (*prepare)(const Place&)) const
    {
        const fs::path folder = m_disk.Beside() / name;
        fs::create_directories(folder);
        InProcess([&] { return prepare(Place(folder)), std::string(); });
        return folder;
    }

    [[nodiscard]] fs::path CopyFor(const std::string& name) const
    {
        const fs::path folder = m_disk.Beside() / name;
        fs::copy(m_files, folder, fs::copy_options::recursive);
        return folder;
    }

    [[nodiscard]] fs::path Without(const std::string& operation, const std::string& file) const
    {
        const fs::path folder = CopyFor(operation + "@new");
        for (const char* ending : {"", ".db", ".db-wal", ".db-shm"})
            fs::remove(folder / (file + ending));
        return folder;
    }

    [[nodiscard]] fs::path Linked(const std::string& operation, const std::string& file) const
    {
        const fs::path folder = CopyFor(operation + "@link"), path = folder / file;
        fs::create_directory(path.parent_path() / "real");
        fs::rename(path, path.parent_path() / "real" / path.filename());
        fs::create_symlink(fs::path("real") / path.filename(), path);
        return folder;
    }

    Disk& m_disk;
    fs::path m_files, m_readFiles; // what the operations find there
};

// --- all of them ---------------------------------------------------------------------------------

bool Includes(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

void PrintRow(const char* name, long runs, long missed, long late, long faults)
{
    std::printf("%-30s %8ld %8ld %8ld %8ld\n", name, runs, missed, late, faults);
}

// Alike faults once.
void RunAll(Scene& scene, const std::string& wanted)
{
    std::map<std::string, std::pair<std::string, int>> alike;
    for (const Case& what : scene.Cases()) {
        if (!Includes(what.name, wanted))
            continue;
        const std::string wrong = scene.Run(what);
        if (wrong.empty())
            continue;
        auto& [first, count] = alike[what.name.substr(0, what.name.find('.')) + wrong];
        if (count++ == 0)
            first = what.name + ": " + wrong;
        if (!wanted.empty())
            std::printf("%s:%s: %s\n", scene.Name().c_str(), what.name.c_str(), wrong.c_str());
    }
    for (const auto& [key, found] : alike)
        std::printf("%s:%s%s\n", scene.Name().c_str(), found.first.c_str(),
                    found.second > 1 ? (" (" + std::to_string(found.second) + " alike)").c_str()
                                     : "");
    PrintRow(scene.Name().c_str(), scene.runs, scene.missed, scene.late, scene.faults);
}

std::vector<Operation> AllOperations()
{
    std::vector<Operation> all(Operations().begin(), Operations().end());
    all.insert(all.end(), Readers().begin(), Readers().end());
    return all;
}

int Systematic(Stage& stage, const std::string& filter)
{
    const std::size_t colon = std::min(filter.find(':'), filter.size());
    const std::string name = filter.substr(0, colon);
    const std::string wanted = filter.substr(std::min(colon + 1, filter.size()));
    std::printf("%-30s %8s %8s %8s %8s\n", "operation", "runs", "missed", "late", "faults");
    long runs = 0, missed = 0, late = 0, faults = 0;
    const std::vector<Operation> operations = AllOperations(); // which the scenes borrow
    for (const Operation& operation : operations) {
        if (!Includes(operation.name, name.substr(0, name.find('@'))))
            continue;
        for (const auto& scene : stage.Scenes(operation)) {
            if (!Includes(scene->Name(), name))
                continue;
            RunAll(*scene, wanted);
            runs += scene->runs;
            missed += scene->missed;
            late += scene->late; // a failure was told, but the content is new
            faults += scene->faults;
        }
    }
    PrintRow("all", runs, missed, late, faults);
    return faults != 0;
}

int Random(Stage& stage, double seconds, unsigned seed)
{
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::duration<double>(seconds);
    std::mt19937 random(seed);
    const std::vector<Operation> operations = AllOperations();
    std::vector<std::vector<std::unique_ptr<Scene>>> scenes(operations.size());
    long runs = 0, faults = 0;
    while (Clock::now() < end) {
        const std::size_t number = random() % scenes.size();
        if (scenes[number].empty())
            scenes[number] = stage.Scenes(operations[number]);
        Scene& scene = *scenes[number][random() % scenes[number].size()];
        if (scene.Cases().empty())
            continue;
        const Case& what = scene.Cases()[random() % scene.Cases().size()];
        const std::string wrong = scene.Run(what);
        ++runs;
        if (!wrong.empty() && ++faults < 100)
            std::printf("%s:%s: %s\n", scene.Name().c_str(), what.name.c_str(), wrong.c_str());
    }
    std::printf("%ld runs\n", runs);
    return faults != 0;
}

} // namespace

int main(int count, char** arguments)
{
    injector::LeaveSmallBlocksToTheHeap(arguments);
    Disk disk("faults");
    if (!disk.IsMounted())
        std::printf("no file system can be mounted here: full disks are left out\n");
    Stage stage(disk);
    if (count == 3)
        return Random(stage, std::atof(arguments[1]),
                      static_cast<unsigned>(std::atol(arguments[2])));
    return Systematic(stage, count > 1 ? arguments[1] : "");
}
