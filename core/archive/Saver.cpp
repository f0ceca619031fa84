#include "core/archive/Saver.h"

#include "core/archive/ObjectHeader.h"
#include "core/platform/FileStream.h"

#include <cassert>
#include <new>

namespace NArchive {

namespace {

// Of an entry that is queued.
const BSmartObj& ObjectOf(const PointerMap::Entry& entry) noexcept
{
    assert(entry.IsQueued());
    return *static_cast<const BSmartObj*>(entry.pointer);
}

} // namespace

Saver::Saver(const WChar* path, PointerMap& objects)
    : file(platform::OpenStream(path, QD_W("wb")))
    , m_objects(objects)
{}

Saver::~Saver()
{
    for (std::uint32_t i = m_first; i != PointerMap::kNone; i = After(i))
        ObjectOf(m_objects[i]).Unref();
}

// The queue keeps a reference to every object, also to those that have their records: an address
// must not come back as that of another object, which would get the first one's index.
void Saver::Insert(const BSmartObj& object, std::uint32_t number, const char* label)
{
    if (number == PointerMap::kNone)
        return;
    PointerMap::Entry& entry = m_objects[number];
    if (label == nullptr || *label == '\0') {
        Insert(object, number, entry);
        return;
    }
    if (entry.IsQueued() || m_labels.contains(label))
        return;
    Keep(label, number);
    Queue(object, number, entry);
}

void Saver::Keep(const char* label, std::uint32_t number)
{
    const BString kept(label);
    if (kept.IsEmpty()) // a string that gets no memory is empty
        throw std::bad_alloc();
    m_waitingLabels.push_back({number, kept});
    try {
        m_labels.emplace(label);
    } catch (...) {
        m_waitingLabels.pop_back();
        throw;
    }
}

BProblem Saver::Problem() const
{
    return file.IsGood() ? m_problem : BProblem::OfSystem(file.Error());
}

void Saver::TellUnwritten(EProblem code) noexcept
{
    assert(m_current != nullptr);
    m_problem = {.code = code, .number = m_objects[m_currentNumber].index};
    try {
        m_problem.name = WString(BString(m_current->ArchiveName()));
    } catch (...) { // it may be its name that it could not be written for
    }
}

Saver::Record::Record(Saver& saver)
    : m_saver(saver)
    , m_start(saver.file.Position())
{
    assert(saver.MayBeginRecord());
    saver.m_currentNumber = saver.m_waiting;
    saver.m_current = &ObjectOf(saver.m_objects[saver.m_currentNumber]);
}

Saver::Record::~Record()
{
    m_saver.m_current = nullptr;
    if (!m_isEnded) {
        m_saver.file.TakeBack(m_start); // the records before stay good
        return;
    }
    if (m_saver.CurrentHasLabel())
        m_saver.m_waitingLabels.pop_front();
    m_saver.m_waiting = m_saver.After(m_saver.m_currentNumber);
}

BString Saver::Record::Label() const
{
    return m_saver.CurrentHasLabel() ? m_saver.m_waitingLabels.front().text : BString();
}

bool Saver::CurrentHasLabel() const noexcept
{
    return !m_waitingLabels.empty() && m_waitingLabels.front().number == m_currentNumber;
}

bool Saver::Record::End(int archiveVersion)
{
    assert(m_payloadStart >= m_start);
    m_isEnded = PatchPayloadSize(m_saver.file, m_payloadStart, archiveVersion);
    if (m_isEnded)
        m_saver.file.EndRecord();
    return m_isEnded;
}

} // namespace NArchive
