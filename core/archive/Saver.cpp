#include "core/archive/Saver.h"

#include "core/platform/FileStream.h"

#include <cassert>
#include <new>

namespace NArchive {

Saver::Saver(const WChar* path, PointerMap& objects)
    : file(platform::OpenStream(path, QD_W("wb")))
    , m_objects(objects)
{}

Saver::~Saver()
{
    for (std::uint32_t i = m_first; i != PointerMap::kNone; i = After(i))
        ObjectOf(i).Unref();
}

// The queue keeps a reference to every object, also to those that have their records: an address
// must not come back as that of another object, which would get the first one's index.
void Saver::Insert(const BSmartObj& object, PointerMap::Found found, const char* label)
{
    if (label == nullptr || *label == '\0') {
        Insert(object, found);
        return;
    }
    if (found.entry->IsQueued() || m_labels.contains(label))
        return;
    Keep(label, found.number);
    Queue(object, found);
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

} // namespace NArchive
