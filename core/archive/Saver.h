#pragma once

#include "core/archive/PointerMap.h"
#include "core/archive/RecordWriter.h"
#include "core/base/BSmartObj.h"
#include "core/base/BString.h"
#include "core/base/SP.h"
#include "core/platform/WChar.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <unordered_set>

class BArchive;

namespace NArchive {

/// An object that waits to be written, or has been.
struct Tupel {
    SP<BSmartObj> object;
    BString label;
    std::uint32_t index; // 0: the object had none when it was queued
};

/// The writing half of an archive.
class Saver {
public:
    explicit Saver(const WChar* path);

    /// Queues `object` unless it is queued already or another has the label, which may be null.
    void Insert(BSmartObj* object, const char* label, PointerMap& indices);
    /// Writes what is queued and what is queued meanwhile.
    void WriteQueued(BArchive& archive);

    /// The object whose record is being written, so that its index mostly needs no look-up.
    [[nodiscard]] const Tupel* Current() const noexcept { return m_current; }

    RecordWriter file;

private:
    void WriteRecord(const Tupel& entry, BArchive& archive);

    std::deque<Tupel> m_queue; // in order of insertion, the written ones first
    std::size_t m_writtenCount = 0;
    std::unordered_set<std::string> m_labels;
    const Tupel* m_current = nullptr;
};

} // namespace NArchive
