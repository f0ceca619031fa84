#pragma once

#include "core/archive/PointerMap.h"
#include "core/archive/RecordWriter.h"
#include "core/base/BSmartObj.h"
#include "core/base/BString.h"
#include "core/base/SP.h"
#include "core/platform/SeededHash.h"
#include "core/platform/WChar.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <unordered_set>

namespace NArchive {

/// An object that waits to be written, or has been.
struct Tupel {
    SP<BSmartObj> object;
    BString label;
    std::uint32_t index; // 0: the object had none when it was queued
};

/// The writing half of an archive: the objects that wait for their records, and the file.
///
/// It calls neither the archive nor the objects. The archive walks through the queue and has each
/// object write itself between the beginning and the end of a `Record`.
class Saver {
public:
    explicit Saver(const WChar* path);

    /// Queues `object` unless it is queued already or another has the label, which may be null.
    void Insert(BSmartObj* object, const char* label, PointerMap& indices);

    /// An object waits, the file is good and no record is being written.
    [[nodiscard]] bool MayBeginRecord() const noexcept;

    /// The object whose record is being written, so that its index mostly needs no look-up; null
    /// when there is none.
    [[nodiscard]] const Tupel* Current() const noexcept { return m_current; }

    /// The record of the object that waits longest, for as long as it is being written. Unless it
    /// is ended, all that was written of it is taken back and the object goes on waiting.
    class Record {
    public:
        /// `MayBeginRecord()` must be true.
        explicit Record(Saver& saver);
        ~Record();
        Record(const Record&) = delete;
        Record& operator=(const Record&) = delete;

        [[nodiscard]] const Tupel& Entry() const noexcept { return *m_saver.m_current; }
        /// To be called when the object header is written.
        void BeginPayload() noexcept;
        /// To be called when the payload is written. False, and the record is not ended, where the
        /// header has no room for its size.
        [[nodiscard]] bool End(int archiveVersion);

    private:
        Saver& m_saver;
        std::uint64_t m_start;
        std::uint64_t m_payloadStart = 0;
        bool m_isEnded = false;
    };

    RecordWriter file;

private:
    std::deque<Tupel> m_queue; // in order of insertion, the written ones first
    std::size_t m_writtenCount = 0;
    std::unordered_set<std::string, platform::SeededTextHash, std::equal_to<>> m_labels;
    const Tupel* m_current = nullptr; // in m_queue
};

} // namespace NArchive
