#include "core/archive/Saver.h"

#include "core/archive/BArchive.h"
#include "core/archive/ScopedValue.h"
#include "core/platform/FileStream.h"

#include <limits>
#include <new>

namespace NArchive {

Saver::Saver(const WChar* path)
    : file(platform::OpenStream(path, QD_W("wb")))
{}

void Saver::Insert(BSmartObj* object, const char* label, PointerMap& indices)
{
    const bool labelled = label != nullptr && *label != '\0';
    PointerMap::Entry& entry = indices.FindOrAdd(object);
    if (entry.queued || (labelled && m_labels.contains(label)))
        return;
    const BString name(labelled ? label : "");
    if (labelled && name.IsEmpty())
        throw std::bad_alloc();
    m_queue.push_back({SP<BSmartObj>(object), name, entry.index});
    try {
        if (labelled)
            m_labels.emplace(label);
    } catch (...) {
        m_queue.pop_back(); // or a second try would find the object queued
        throw;
    }
    entry.queued = true;
}

void Saver::WriteQueued(BArchive& archive)
{
    if (m_current != nullptr)
        return; // a `WriteData` that flushes: the walk that called it goes on
    while (m_writtenCount < m_queue.size() && file.IsGood()) {
        const ScopedValue<const Tupel*> current(m_current, &m_queue[m_writtenCount]);
        WriteRecord(*m_current, archive);
        ++m_writtenCount;
    }
}

void Saver::WriteRecord(const Tupel& entry, BArchive& archive)
{
    const std::uint64_t start = file.Position();
    try {
        entry.object->WritePrefix(archive, entry.label);
        const std::uint64_t payload = file.Position();
        entry.object->WriteData(archive);
        const std::uint64_t size = file.Position() - payload;
        const std::uint64_t sizeBytes = archive.Version() == 6 ? 4 : 8;
        if (sizeBytes == 4 && size > std::numeric_limits<std::int32_t>::max())
            archive.ThrowError();
        file.Patch(payload - sizeBytes, &size, sizeBytes);
    } catch (...) {
        file.TakeBack(start); // the records before stay good
        throw;
    }
}

} // namespace NArchive
