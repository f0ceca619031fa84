#pragma once

#include "core/archive/ObjectHeader.h"
#include "core/archive/PointerMap.h"
#include "core/archive/RecordWriter.h"
#include "core/base/BProblem.h"
#include "core/base/BSmartObj.h"
#include "core/base/BString.h"
#include "core/platform/SeededHash.h"
#include "core/platform/WChar.h"

#include <cassert>
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

    /// Queues `object`, of which `found` is the entry, unless it is queued already or another has
    /// the label, which may be null.
    void Insert(const BSmartObj& object, PointerMap::Found found, const char* label);
    void Insert(const BSmartObj& object, PointerMap::Found found) noexcept
    {
        if (!found.entry->IsQueued())
            Queue(object, found);
    }

    /// An object waits, the file is good and no record is being written.
    [[nodiscard]] bool MayBeginRecord() const noexcept
    {
        return m_current == nullptr && m_waiting != PointerMap::kNone && file.IsGood();
    }

    /// The entry of `pointer`, which is not null, if it is the object whose record is being
    /// written, so that its index needs no look-up; null otherwise.
    [[nodiscard]] PointerMap::Entry* EntryIfCurrent(const void* pointer) noexcept
    {
        return m_current == pointer ? &m_objects[m_currentNumber] : nullptr;
    }

    /// The record of the object that waits longest, for as long as it is being written. Unless it
    /// is ended, all that was written of it is taken back and the object goes on waiting.
    class Record {
    public:
        /// `MayBeginRecord()` must be true.
        explicit Record(Saver& saver) noexcept
            : m_saver(saver)
            , m_start(saver.file.Position())
        {
            assert(saver.MayBeginRecord());
            saver.m_currentNumber = saver.m_waiting;
            saver.m_current = &saver.ObjectOf(saver.m_waiting);
        }
        ~Record()
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
        Record(const Record&) = delete;
        Record& operator=(const Record&) = delete;

        [[nodiscard]] const BSmartObj& Object() const noexcept { return *m_saver.m_current; }
        [[nodiscard]] BString Label() const
        {
            return m_saver.CurrentHasLabel() ? m_saver.m_waitingLabels.front().text : BString();
        }
        /// To be called when the object header is written.
        void BeginPayload() noexcept { m_payloadStart = m_saver.file.Position(); }
        /// To be called when the payload is written. False, and the record is not ended, where the
        /// header has no room for its size.
        [[nodiscard]] bool End(int archiveVersion)
        {
            assert(m_payloadStart >= m_start);
            m_isEnded = PatchPayloadSize(m_saver.file, m_payloadStart, archiveVersion);
            if (m_isEnded)
                m_saver.file.EndRecord();
            return m_isEnded;
        }

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
        std::uint32_t number; // of the object's entry
        BString text;
    };

    void Queue(const BSmartObj& object, PointerMap::Found found) noexcept
    {
        found.entry->pointer = &object;
        found.entry->next = PointerMap::kNone;
        object.Ref();
        if (m_last != PointerMap::kNone)
            m_objects[m_last].next = found.number + 1;
        else
            m_first = found.number;
        m_last = found.number;
        if (m_waiting == PointerMap::kNone)
            m_waiting = found.number;
    }
    // The number of the entry that was queued after that one; `kNone` behind the last.
    [[nodiscard]] std::uint32_t After(std::uint32_t number) const noexcept
    {
        const std::uint32_t next = m_objects[number].next;
        return next != PointerMap::kNone ? next - 1 : next;
    }
    // Of the entry of that number, which is queued.
    [[nodiscard]] const BSmartObj& ObjectOf(std::uint32_t number) const noexcept
    {
        const PointerMap::Entry& entry = m_objects[number];
        assert(entry.IsQueued());
        return *static_cast<const BSmartObj*>(entry.pointer);
    }
    void Keep(const char* label, std::uint32_t number);
    [[nodiscard]] bool CurrentHasLabel() const noexcept
    {
        return !m_waitingLabels.empty() && m_waitingLabels.front().number == m_currentNumber;
    }

    PointerMap& m_objects;
    // Numbers of entries, which lead from one to the next, the written ones first.
    std::uint32_t m_first = PointerMap::kNone;
    std::uint32_t m_waiting = PointerMap::kNone; // the first without its record
    std::uint32_t m_last = PointerMap::kNone;
    const BSmartObj* m_current = nullptr; // the first that waits, while its record is written
    std::uint32_t m_currentNumber = 0;    // of its entry
    std::unordered_set<std::string, platform::SeededTextHash, std::equal_to<>> m_labels;
    BProblem m_problem;                // of an object
    std::deque<Label> m_waitingLabels; // of those that wait
};

} // namespace NArchive
