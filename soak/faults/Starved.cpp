// Every reader while memory runs out:
//
//     starved_soak SECONDS SEED
//
// A read is one of Readers.cpp during which the Nth allocation fails, or all from the Nth on, or
// the process may not take more address space than so many pages. It must end with the right
// content, or with the failure that its class tells, and never with something else taken for the
// content. With memory the next read is right, and no block is lost. Each process makes some reads:
// what is made once in a process fails, too. Which fault comes to which reader, the seed says.

#include "soak/Processes.h"
#include "soak/faults/Injector.h"
#include "soak/faults/Readers.h"
#include "soak/faults/SpaceLimit.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace {

using injector::ERange;
using injector::Fault;
using ETold = Answer::ETold;

constexpr int kReadsOfProcess = 40;

/// Of a process of readers, in memory that it shares with this one.
struct Progress {
    injector::Record record;
    Answer whole;         // of a read with memory
    long reads, failures; // failures that were told
    char at[200];         // the read at hand
    char fault[200];      // the first one
};

struct Lack {
    Fault fault;
    long pages = -1; // of address space that are left; no limit below 0
};

Answer Read(const Operation& reader, const Place& place)
{
    try {
        return reader.run(place);
    } catch (const std::bad_alloc&) {
        return {ETold::No, 0};
    } catch (...) {
        return {ETold::No, 0}; // of the registry, which cannot be opened
    }
}

Answer ReadWith(const Lack& lack, const Operation& reader, const Place& place, Progress& progress)
{
    std::optional<SpaceLimit> limit;
    if (lack.pages >= 0)
        limit.emplace(lack.pages);
    injector::Begin(lack.fault, progress.record);
    const Answer answer = Read(reader, place);
    injector::End();
    return answer;
}

class Session {
public:
    Session(const Operation& reader, const Place& place, Progress& progress)
        : m_reader(reader)
        , m_place(place)
        , m_progress(progress)
    {}

    void Run(const std::vector<Lack>& lacks)
    {
        long blocks = 0;
        for (const Lack& lack : lacks) {
            Write(m_progress.at, lack, "");
            const Answer answer = ReadWith(lack, m_reader, m_place, m_progress);
            Expect(answer.told == ETold::No || answer == m_progress.whole, lack,
                   "takes another content for right");
            const bool isFirst = blocks == 0;
            Expect(Read(m_reader, m_place) == m_progress.whole, lack, "the next read is wrong");
            if (isFirst) { // what is kept for the next time is there
                Expect(Read(m_reader, m_place) == m_progress.whole, lack, "the third is wrong");
                blocks = injector::BlockCount();
            }
            Expect(injector::BlockCount() <= blocks, lack, "leaks");
            ++m_progress.reads;
            m_progress.failures += answer.told == ETold::No;
        }
    }

private:
    template <std::size_t size>
    void Write(char (&text)[size], const Lack& lack, const char* fault) const
    {
        std::snprintf(text, size, "%s: %s%d%s, %ld pages: %s", m_reader.name.c_str(), "allocation ",
                      lack.fault.number, lack.fault.range == ERange::On ? " and on" : "",
                      lack.pages, fault);
    }
    void Expect(bool isTrue, const Lack& lack, const char* otherwise)
    {
        if (!isTrue && m_progress.fault[0] == 0)
            Write(m_progress.fault, lack, otherwise);
    }

    const Operation& m_reader;
    const Place& m_place;
    Progress& m_progress;
};

class Starvation {
public:
    explicit Starvation(const std::filesystem::path& folder)
        : m_folder(folder)
        , m_progress(MakeShared<Progress>(Readers().size()))
    {
        Wait(Fork([&] { PrepareReaders(Place(m_folder)); }));
        for (std::size_t i = 0; i < Readers().size(); ++i) {
            Wait(Fork([&] {
                ReadyReaders();
                const Place place(m_folder);
                m_progress[i].whole = ReadWith({}, Readers()[i], place, m_progress[i]);
            }));
            if (m_progress[i].whole.told != ETold::Yes)
                std::printf("%s cannot read\n", Readers()[i].name.c_str()), ++m_faults;
        }
    }

    void Run(std::mt19937& random)
    {
        const std::size_t number = random() % Readers().size();
        Progress& progress = m_progress[number];
        std::vector<Lack> lacks;
        for (int i = 0; i < kReadsOfProcess; ++i)
            lacks.push_back(AnyLack(random, progress.record.allocations));
        const int status = Wait(Fork([&] {
            ReadyReaders();
            SpaceLimit::TouchStack();
            const Place place(m_folder);
            Session(Readers()[number], place, progress).Run(lacks);
        }));
        if (status != 0)
            std::printf("%s ends with %d\n", progress.at, status);
        if (progress.fault[0] != 0)
            std::printf("%s\n", progress.fault);
        m_faults += status != 0 || progress.fault[0] != 0;
        progress.fault[0] = 0;
    }

    [[nodiscard]] bool Report() const
    {
        long reads = 0;
        for (std::size_t i = 0; i < Readers().size(); ++i) {
            const Progress& progress = m_progress[i];
            std::printf("%s: %ld reads, %ld failures told\n", Readers()[i].name.c_str(),
                        progress.reads, progress.failures);
            reads += progress.reads;
        }
        std::printf("%ld reads\n", reads);
        return m_faults == 0;
    }

private:
    static int Wait(pid_t process)
    {
        int status = 0;
        ::waitpid(process, &status, 0);
        return status;
    }

    static Lack AnyLack(std::mt19937& random, long allocations)
    {
        if (random() % 8 == 0) // more often few of them
            return {{}, static_cast<long>(random() % (1u << random() % 9))};
        const auto number = random() % static_cast<unsigned long>(allocations + 1) + 1;
        return {{Fault::EWhat::Allocation, 0, static_cast<int>(number), 0,
                 random() % 2 == 0 ? ERange::Once : ERange::On}};
    }

    std::filesystem::path m_folder;
    Progress* m_progress; // a reader's each
    long m_faults = 0;
};

} // namespace

int main(int count, char** arguments)
{
    injector::LeaveSmallBlocksToTheHeap(arguments);
    if (count != 3) {
        std::fprintf(stderr, "usage: starved_soak SECONDS SEED\n");
        return 2;
    }
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::duration<double>(std::atof(arguments[1]));
    std::mt19937 random(static_cast<unsigned>(std::atol(arguments[2])));
    const SoakFolder folder("starved");
    Starvation starvation(folder.Path());
    while (Clock::now() < end)
        starvation.Run(random);
    return starvation.Report() ? 0 : 1;
}
