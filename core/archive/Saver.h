#pragma once

#include "core/archive/Blocks.h"
#include "core/archive/PointerMap.h"
#include "core/archive/RecordWriter.h"
#include "core/base/BProblem.h"
#include "core/base/BSmartObj.h"
#include "core/base/BString.h"
#include "core/platform/SeededHash.h"
#include "core/platform/WChar.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <unordered_set>

namespace NArchive {

/// The writing half of an archive: the objects that wait for their records, and the file.
///
/// It calls neither the archive nor the objects. The archive walks through the queue and has each
/// object write itself between the beginning and the end of a `Record`.
class Saver {
public:
    /// `objects` outlives it.
    Saver(const WChar* path, PointerMap& objects);
    ~Saver();
    Saver(const Saver&) = delete;
    Saver& operator=(const Saver&) = delete;

    /// Queues `object`, of which `number` is the entry, unless it is queued already or another has
    /// the label, which may be null. `PointerMap::kNone` is ignored.
    void Insert(const BSmartObj& object, std::uint32_t number, const char* label);
    /// The same without a label, for who has the entry of that number at hand.
    void Insert(const BSmartObj& object, std::uint32_t number, PointerMap::Entry& entry)
    {
        if (entry.queued)
            return;
        m_queue.Append(number);
        Hold(object, entry);
    }

    /// An object waits, the file is good and no record is being written.
    [[nodiscard]] bool MayBeginRecord() const noexcept
    {
        return m_current == nullptr && m_writtenCount < m_queue.Count() && file.IsGood();
    }

    /// The number of `pointer`, which is not null, if it is the object whose record is being
    /// written, so that its index needs no look-up; `PointerMap::kNone` otherwise.
    [[nodiscard]] std::uint32_t NumberIfCurrent(const void* pointer) noexcept
    {
        return m_current == pointer ? m_currentNumber : PointerMap::kNone;
    }

    /// The record of the object that waits longest, for as long as it is being written. Unless it
    /// is ended, all that was written of it is taken back and the object goes on waiting.
    class Record {
    public:
        /// `MayBeginRecord()` must be true.
        explicit Record(Saver& saver);
        ~Record();
        Record(const Record&) = delete;
        Record& operator=(const Record&) = delete;

        [[nodiscard]] const BSmartObj& Object() const noexcept { return *m_saver.m_current; }
        [[nodiscard]] BString Label() const;
        /// To be called when the object header is written.
        void BeginPayload() noexcept { m_payloadStart = m_saver.file.Position(); }
        /// To be called when the payload is written. False, and the record is not ended, where the
        /// header has no room for its size.
        [[nodiscard]] bool End(int archiveVersion);

    private:
        Saver& m_saver;
        std::uint64_t m_start;
        std::uint64_t m_payloadStart = 0;
        bool m_isEnded = false;
    };

    /// Why the file is not good, or else an object could not be written; without the path.
    [[nodiscard]] BProblem Problem() const;
    /// For the object whose record is being written.
    void TellUnwritten(EProblem code) noexcept;
    void ClearProblem() noexcept { m_problem = {}; }

    RecordWriter file;

private:
    struct Label {
        std::size_t place; // in m_queue
        BString text;
    };

    static void Hold(const BSmartObj& object, PointerMap::Entry& entry) noexcept
    {
        entry.pointer = &object;
        entry.queued = true;
        object.Ref();
    }
    void Keep(const char* label, std::size_t place);
    [[nodiscard]] bool CurrentHasLabel() const noexcept;

    PointerMap& m_objects;
    // Numbers of entries, in order of insertion, the written ones first.
    Blocks<std::uint32_t> m_queue;
    std::size_t m_writtenCount = 0;
    const BSmartObj* m_current = nullptr; // the first that waits, while its record is written
    std::uint32_t m_currentNumber = 0;    // of its entry
    std::unordered_set<std::string, platform::SeededTextHash, std::equal_to<>> m_labels;
    BProblem m_problem;                // of an object
    std::deque<Label> m_waitingLabels; // of those that wait
};

} // namespace NArchive
