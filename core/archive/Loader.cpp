#include "core/archive/Loader.h"

#include "core/archive/BArchive.h"
#include "core/archive/Encoding.h"
#include "core/archive/ObjectHeader.h"
#include "core/archive/ScopedValue.h"
#include "core/base/BString.h"
#include "core/base/ClassRegistry.h"
#include "core/base/WString.h"
#include "core/platform/FileStream.h"
#include "core/platform/Stack.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <limits>
#include <new>
#include <optional>
#include <utility>

// How a graph of objects comes out of a file.
//
// `TakeOut` rebuilds one object. Its `Read` names by their indices the objects that it refers to,
// and these wait in a queue; so a line of a million objects is read in a loop and not by recursion.
// When the queue is empty, all new objects turn their indices into pointers, and only when all have
// done so each is asked whether it is sound, as one that refers to another half-made would not be.
// Each of these steps may ask for further objects, so they are repeated until none does.
//
// What comes out is whole or null. Nobody could tell a tree without a branch from one that never
// had it, and saving it would lose the branch: hence any fault of the file or of memory closes the
// file for good, and a call that fails forgets all that it has rebuilt.

namespace {

// Of a `Read` that takes another object out, whose `Read` does so, and so on. Deeper than this it
// goes as long as the thread has stack left: a file must not exhaust it.
constexpr int kNestingForAll = 64;

// How often self-checks are repeated for objects that passed theirs: as many times for each object,
// and as many in each call. Thousands of calls in an archive of thousands of objects must not cost
// the product, but where there are few of either, each call asks all.
constexpr std::size_t kRepeatsOfObject = 16;
constexpr std::size_t kRepeatsInCall = 64;

// From the ANSI code page; empty where there is no memory for it.
WString Widened(std::string_view text) noexcept
try {
    return WString(BString(std::string(text).c_str()));
} catch (const std::bad_alloc&) {
    return {};
}

// Remembers where a reader stands, and goes back there.
class ReadingPlace {
public:
    explicit ReadingPlace(BlockReader& file)
        : m_file(file)
        , m_position(file.Position())
        , m_limit(file.Limit())
    {}
    ~ReadingPlace() { m_file.MoveTo(m_position, m_limit); }
    ReadingPlace(const ReadingPlace&) = delete;
    ReadingPlace& operator=(const ReadingPlace&) = delete;

private:
    BlockReader& m_file;
    std::uint64_t m_position;
    std::uint64_t m_limit;
};

} // namespace

namespace NArchive {

Loader::Loader(const WChar* path)
    : file(platform::OpenStream(path, QD_W("rb")))
{
    if (!file.IsGood())
        problem = BProblem::OfSystem(file.Failure().value_or(0));
}

Loader::~Loader()
{
    assert(m_nesting == 0); // no object closes the archive that is reading it
    LetGo();
}

void Loader::Fail(BProblem reason)
{
    if (problem)
        reason.detail = problem.Text();
    problem = std::move(reason);
    file.Close();
}

void Loader::TellFileFailure()
{
    const std::optional<int> failure = file.Failure();
    if (!failure || m_isFailureTold)
        return;
    m_isFailureTold = true;
    Fail(*failure != 0 ? BProblem::OfSystem(*failure) : BProblem{.code = EProblem::Damaged});
}

void Loader::Open(int version)
{
    m_version = version;
    if (directory.Build(file, version))
        return;
    if (file.IsGood())
        Fail({.code = EProblem::Damaged, .position = file.Position()});
    else
        TellFileFailure();
}

SP<BSmartObj> Loader::TakeOut(std::string_view label, BArchive& archive)
try {
    std::uint32_t number = directory.FindLabel(label);
    if (number == RecordDirectory::kNone)
        number = directory.FindIndexText(label);
    if (number == RecordDirectory::kNone)
        return TakeOutNothing(label);
    if (m_nesting != 0)
        return TakeOutInside(number, archive);
    if (m_isSpoiled)
        return nullptr;

    if (problem)
        problem = {};
    const ScopedValue<int> nesting(m_nesting, 1);
    ++m_takeOutNumber;
    m_repeats += kRepeatsInCall;
    const std::size_t rebuiltCount = m_rebuilt.Count();
    const std::size_t doubleCount = m_doubles.size();
    m_heldFrom = rebuiltCount;
    SP<BSmartObj> object = RebuildBetween(number, archive);
    if (!Complete(archive) || !file.IsGood()) // of a file that failed parts are missing
        object = nullptr;
    if (!file.IsGood())
        TellFileFailure();
    if (object)
        m_holders.clear();
    else
        Forget(rebuiltCount, doubleCount);
    m_heldFrom = m_rebuilt.Count();
    assert(m_pending.empty() && m_soundCount <= m_associatedCount &&
           m_associatedCount <= m_rebuilt.Count());
    return object;
} catch (const std::bad_alloc&) {
    Fail({.code = EProblem::Memory});
    return nullptr;
} catch (...) {
    // Parts are missing: what is there must never pass for the whole.
    Fail({.code = EProblem::ObjectUnread});
    throw;
}

// A `Read` that looks whether there is another object is answered, and nothing is wrong; nor does
// the question change why there are none at all any more.
SP<BSmartObj> Loader::TakeOutNothing(std::string_view label)
{
    if (m_nesting == 0 && !m_isSpoiled)
        problem = {.code = EProblem::NoSuchObject, .name = Widened(label)};
    return nullptr;
}

// From inside `Read`, `UpdateAssociations` or `VerifyObj`; what the object refers to comes when the
// outermost call goes on. Where the stack does not reach, that call must fail, now and later, as
// the objects above this one are not whole.
SP<BSmartObj> Loader::TakeOutInside(std::uint32_t number, BArchive& archive)
{
    if (m_nesting >= kNestingForAll && platform::IsStackShort()) {
        Fail({.code = EProblem::TooDeep});
        return nullptr;
    }
    const ScopedValue<int> nesting(m_nesting, m_nesting + 1);
    return RebuildBetween(number, archive);
}

void Loader::TakeOutLater(std::uint32_t number)
{
    if (number == RecordDirectory::kNone)
        return;
    RecordDirectory::Record& record = directory[number];
    if (record.object || record.pending || (m_nesting != 0 && record.triedIn == m_takeOutNumber))
        return;
    m_pending.push_back(number);
    record.pending = true;
}

BSmartObj* Loader::QueryObject(std::uint64_t index)
{
    const std::uint32_t number = directory.FindIndex(index);
    return number == RecordDirectory::kNone ? nullptr : directory[number].object.Get();
}

bool Loader::Verify()
{
    if (m_isSpoiled)
        return false;
    for (std::size_t i = 0; i < m_rebuilt.Count(); ++i) { // one that is asked may add to them
        if (!Rebuilt(i)->VerifyObj()) {
            TellRefusal(i);
            return false;
        }
    }
    return true;
}

void Loader::OnRefusal(BSmartObj& object, LetGoFunction letGo)
{
    // Taking a reference on an object that nobody owns would destroy it when it is given back.
    if (m_nesting == 0 || object.RefCount() <= 0)
        return;
    const bool isAssociating = m_associating != RecordDirectory::kNone &&
                               directory[m_associating].object == &object &&
                               directory[m_associating].letGo == 0;
    const std::uint8_t number = isAssociating ? NumberOf(letGo) : std::uint8_t{0};
    if (number != 0)
        directory[m_associating].letGo = number;
    else
        m_holders.push_back({&object, letGo});
}

// From 1 on; 0 where there are more functions than numbers.
std::uint8_t Loader::NumberOf(LetGoFunction letGo)
{
    const auto found = std::ranges::find(m_letGo, letGo);
    const std::ptrdiff_t place = found - m_letGo.begin();
    if (place == std::numeric_limits<std::uint8_t>::max())
        return 0;
    if (found == m_letGo.end())
        m_letGo.push_back(letGo);
    return static_cast<std::uint8_t>(place + 1);
}

// Reading goes on afterwards where it was.
SP<BSmartObj> Loader::RebuildBetween(std::uint32_t number, BArchive& archive)
{
    const ReadingPlace former(file);
    return Rebuild(number, archive);
}

// A record that cannot be read is tried once in a `TakeOut`, however many references lead to it.
const SP<BSmartObj>& Loader::Rebuild(std::uint32_t number, BArchive& archive)
{
    assert(m_nesting != 0);
    RecordDirectory::Record& record = directory[number];
    if (record.object || record.triedIn == m_takeOutNumber)
        return record.object;
    record.triedIn = m_takeOutNumber;

    file.MoveTo(record.position, file.Size());
    ObjectHeader header;
    if (!ReadObjectHeader(file, m_version, header)) // it was whole when the archive was opened
        return record.object;
    file.SetLimit(file.Position() + header.payloadSize);
    EProblem fault = EProblem::ObjectUnread;
    SP<BSmartObj> object = CallRead(header, archive, fault);
    if (object && IsNew(*object))
        m_rebuilt.Append(number);
    else if (object)
        m_doubles.push_back(number);
    else
        LeaveOut(fault, number);
    record.object = std::move(object);
    return record.object;
}

// `fault` becomes why it gives null, unless that is the class's own doing.
SP<BSmartObj> Loader::CallRead(const ObjectHeader& header, BArchive& archive, EProblem& fault)
{
    const ReadFunction read = FindReadFunction(header.className);
    if (read == nullptr) {
        fault = EProblem::UnknownClass;
        return nullptr;
    }
    try {
        return read(archive, header.version);
    } catch (ARCHIVE_EXCEPTION) {
        fault = EProblem::Damaged;
        return nullptr;
    }
}

// What a problem tells of a record: its class and its index, from its header.
BProblem Loader::OfRecord(EProblem code, std::uint32_t number) noexcept
{
    BProblem told{.code = code, .position = directory[number].position};
    const ReadingPlace former(file);
    try {
        file.MoveTo(told.position, file.Size());
        if (ObjectHeader header; ReadObjectHeader(file, m_version, header)) {
            told.number = static_cast<std::int64_t>(IndexOfText(header.indexText).value_or(0));
            told.name = Widened(header.className);
        }
    } catch (const std::bad_alloc&) { // then without them
    }
    return told;
}

// Of several objects that are missing from now on the first is told: it may be what the others are
// missing for. Of a file that failed that is told.
void Loader::LeaveOut(EProblem code, std::uint32_t number)
{
    if (problem || !file.IsGood())
        return;
    const std::uint64_t position = file.Position();
    problem = OfRecord(code, number);
    if (code == EProblem::Damaged) // where the reading of it ended
        problem.position = position;
}

void Loader::TellRefusal(std::size_t place)
{
    if (!file.IsGood()) // which is told
        return;
    BProblem refusal = OfRecord(EProblem::ObjectRefused, m_rebuilt[place]);
    if (problem.code == EProblem::ObjectRefused) // nobody took anything out since
        refusal.detail = std::move(problem.detail);
    else if (problem)
        refusal.detail = problem.Text(); // what was left out may be what it lacks
    problem = std::move(refusal);
}

// A document has many objects of few classes, mostly some of one class in a row. What was not found
// is asked for again, as an application may register it later.
Loader::ReadFunction Loader::FindReadFunction(std::string_view className)
{
    if (m_lastClass != nullptr && m_lastClass->first == className)
        return m_lastClass->second;
    auto found = m_readFunctions.find(className);
    if (found == m_readFunctions.end()) {
        const ReadFunction read = FindArchiveReader(WithKeyword(className).c_str());
        if (read == nullptr)
            return nullptr;
        found = m_readFunctions.emplace(className, read).first;
    }
    m_lastClass = &*found;
    return found->second;
}

// False for what a `Read` has handed out before. That is rare, and then someone else, its record,
// holds it already; only where someone does is there anything to look up.
bool Loader::IsNew(const BSmartObj& object)
{
    if (object.RefCount() <= 1)
        return true;
    while (m_knownCount < m_rebuilt.Count())
        m_known.insert(Rebuilt(m_knownCount++).Get());
    return !m_known.contains(&object);
}

// Reads all that was asked for, also meanwhile, and has it updated and asked whether it is sound.
bool Loader::Complete(BArchive& archive)
{
    do {
        RebuildPending(archive);
        UpdateAssociations(archive);
        if (m_pending.empty() && !AreSound())
            return false;
    } while (!m_pending.empty() || m_associatedCount < m_rebuilt.Count());
    return true;
}

// In the order in which they were asked for, which for a tree is level by level.
void Loader::RebuildPending(BArchive& archive)
{
    const ReadingPlace former(file);
    while (!m_pending.empty()) {
        const std::uint32_t number = m_pending.front();
        m_pending.pop_front();
        directory[number].pending = false;
        static_cast<void>(Rebuild(number, archive));
    }
}

void Loader::UpdateAssociations(BArchive& archive)
{
    const ScopedValue<std::uint32_t> associating(m_associating, RecordDirectory::kNone);
    while (m_associatedCount < m_rebuilt.Count()) {
        m_associating = m_rebuilt[m_associatedCount++];
        directory[m_associating].object->UpdateAssociations(archive);
    }
}

// Asks the new objects and, as often as may be, those that passed before. A new one that says no is
// forgotten with what it was linked to, so that nobody could ask it again: that it said no is kept.
// Of the others, whichever says no is the first to be asked the next time.
bool Loader::AreSound()
{
    const std::size_t formerCount = m_soundCount;
    for (; m_soundCount < m_associatedCount; ++m_soundCount, m_repeats += kRepeatsOfObject) {
        m_isSpoiled = !Rebuilt(m_soundCount)->VerifyObj();
        if (m_isSpoiled) {
            TellRefusal(m_soundCount);
            return false;
        }
    }
    const std::size_t repeats = std::min(m_repeats, formerCount);
    for (std::size_t i = 0; i < repeats; ++i) {
        if (m_nextAsked >= formerCount)
            m_nextAsked = 0;
        if (!Rebuilt(m_nextAsked)->VerifyObj()) {
            TellRefusal(m_nextAsked);
            return false;
        }
        ++m_nextAsked;
        --m_repeats;
    }
    return true;
}

// A call that gives null leaves nothing behind: neither circles that nobody could break, nor a tree
// that has taken in a node which the application got before. The next call reads anew.
void Loader::Forget(std::size_t rebuiltCount, std::size_t doubleCount)
{
    LetGo();
    for (; !m_pending.empty(); m_pending.pop_front())
        directory[m_pending.front()].pending = false;
    for (; m_knownCount > rebuiltCount; --m_knownCount)
        m_known.erase(Rebuilt(m_knownCount - 1).Get());
    for (; m_doubles.size() > doubleCount; m_doubles.pop_back())
        directory[m_doubles.back()].object = nullptr;
    for (; m_rebuilt.Count() > rebuiltCount; m_rebuilt.RemoveLast())
        Rebuilt(m_rebuilt.Count() - 1) = nullptr;
    m_associatedCount = std::min(m_associatedCount, rebuiltCount);
    m_soundCount = std::min(m_soundCount, rebuiltCount);
}

void Loader::LetGo()
{
    for (std::size_t i = m_heldFrom; i < m_rebuilt.Count(); ++i) {
        RecordDirectory::Record& record = directory[m_rebuilt[i]];
        if (const int number = std::exchange(record.letGo, std::uint8_t{0}); number != 0)
            m_letGo[static_cast<std::size_t>(number - 1)](*record.object);
    }
    for (const Holder& holder : std::exchange(m_holders, {}))
        holder.letGo(*holder.object);
}

} // namespace NArchive
