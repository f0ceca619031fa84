#include "core/archive/Saver.h"

#include "core/archive/ObjectHeader.h"
#include "core/platform/FileStream.h"

#include <cassert>
#include <new>

namespace NArchive {

Saver::Saver(const WChar* path)
    : file(platform::OpenStream(path, QD_W("wb")))
{}

// The queue keeps a reference to every object, also to those that have their records: an address
// must not come back as that of another object, which would get the first one's index.
void Saver::Insert(BSmartObj* object, const char* label, PointerMap& indices)
{
    const bool labelled = label != nullptr && *label != '\0';
    PointerMap::Entry& entry = indices.FindOrAdd(object);
    if (entry.queued || (labelled && m_labels.contains(label)))
        return;
    const BString kept(labelled ? label : "");
    if (labelled && kept.IsEmpty()) // a string that gets no memory is empty
        throw std::bad_alloc();
    m_queue.push_back({SP<BSmartObj>(object), kept, entry.index});
    try {
        if (labelled)
            m_labels.emplace(label);
    } catch (...) {
        m_queue.pop_back(); // or a second try would find the object queued
        throw;
    }
    entry.queued = true;
}

bool Saver::MayBeginRecord() const noexcept
{
    return m_current == nullptr && m_writtenCount < m_queue.size() && file.IsGood();
}

Saver::Record::Record(Saver& saver)
    : m_saver(saver)
    , m_start(saver.file.Position())
{
    assert(saver.MayBeginRecord());
    saver.m_current = &saver.m_queue[saver.m_writtenCount];
}

Saver::Record::~Record()
{
    m_saver.m_current = nullptr;
    if (m_isEnded)
        ++m_saver.m_writtenCount;
    else
        m_saver.file.TakeBack(m_start); // the records before stay good
}

void Saver::Record::BeginPayload() noexcept
{
    m_payloadStart = m_saver.file.Position();
}

bool Saver::Record::End(int archiveVersion)
{
    assert(m_payloadStart >= m_start);
    m_isEnded = PatchPayloadSize(m_saver.file, m_payloadStart, archiveVersion);
    return m_isEnded;
}

} // namespace NArchive
