#pragma once

#include "core/archive/Blocks.h"
#include "core/base/BSmartObj.h"
#include "core/base/SP.h"
#include "core/platform/SeededHash.h"

#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

class BlockReader;

namespace NArchive {

/// The records of an archive's file, found by index or by label, and the objects that were rebuilt
/// from them.
///
/// Indices are handed out in sequence, and mostly the records stand in it, too: then the index
/// tells the record. Otherwise an array leads from one to the other; a hash table holds the index
/// texts that are none an archive would have handed out.
class RecordDirectory {
public:
    struct Record {
        std::uint64_t position;    // in the file, of the object header
        SP<BSmartObj> object;      // once it is rebuilt
        std::uint32_t triedIn = 0; // the last `TakeOut` that tried to rebuild it
        bool pending = false;      // waits to be read
        std::uint8_t letGo = 0;    // what the object is told when it is refused: see the loader
    };
    static constexpr std::uint32_t kNone = (std::numeric_limits<std::uint32_t>::max)();

    /// Enters every record from the reader's position to its limit. False when they do not end
    /// there exactly; the reader is then at the one that is broken. Of two records with one label
    /// or index, the later counts.
    [[nodiscard]] bool Build(BlockReader& reader, int archiveVersion);

    /// The number of the record of that index, index text or label; `kNone` when there is none.
    [[nodiscard]] std::uint32_t FindIndex(std::uint64_t index) const
    {
        return m_isInOrder && index - 1 < m_records.Count() ? static_cast<std::uint32_t>(index - 1)
                                                            : FindElsewhere(index);
    }
    [[nodiscard]] std::uint32_t FindIndexText(std::string_view text) const;
    [[nodiscard]] std::uint32_t FindLabel(std::string_view label) const;

    [[nodiscard]] Record& operator[](std::uint32_t number) noexcept { return m_records[number]; }

private:
    // The number of a record by a text. Seeded: a file must not choose texts that collide.
    using Texts =
        std::unordered_map<std::string, std::uint32_t, platform::SeededTextHash, std::equal_to<>>;

    void Enter(std::uint64_t position, std::string_view indexText, std::string_view label);
    void LeaveOrder(std::uint32_t count);
    [[nodiscard]] std::uint32_t FindElsewhere(std::uint64_t index) const;

    Blocks<Record> m_records;
    bool m_isInOrder = true;              // the first record has index 1, the second 2, ...
    std::vector<std::uint32_t> m_byIndex; // otherwise: number of a record + 1, or 0
    std::uint64_t m_indexLimit = 0;       // indices from here on are in m_byIndexText
    Texts m_byIndexText;
    Texts m_byLabel;
};

/// The index that `text` is the index text of; none when no archive would write it so.
[[nodiscard]] std::optional<std::uint64_t> IndexOfText(std::string_view text) noexcept;

} // namespace NArchive
