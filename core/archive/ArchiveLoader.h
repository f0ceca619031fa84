#pragma once

#include "core/archive/RecordDirectory.h"
#include "core/base/BSmartObj.h"
#include "core/base/BlockReader.h"
#include "core/base/SP.h"
#include "core/platform/WChar.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

class BArchive;
struct ObjectHeader;

namespace NArchive {

/// The reading half of an archive.
class Loader {
public:
    explicit Loader(const WChar* path);

    /// Reads the directory from the reader's position on; closes the file when it is broken.
    void Open(int version);

    /// As `BArchive::TakeOut`, `TakeOutLater` and `VerifyObjects`.
    [[nodiscard]] SP<BSmartObj> TakeOut(std::string_view name, BArchive& archive);
    void TakeOutLater(RecordDirectory::Record* record);
    [[nodiscard]] bool Verify() const;

    RecordDirectory directory;
    BlockReader file;

private:
    using ReadFunction = SP<BSmartObj> (*)(BArchive&, int);

    [[nodiscard]] SP<BSmartObj> Rebuild(RecordDirectory::Record& record, BArchive& archive);
    [[nodiscard]] SP<BSmartObj> CallRead(const ObjectHeader& header, BArchive& archive);
    [[nodiscard]] ReadFunction FindReadFunction(std::string_view className);
    void RebuildPending(BArchive& archive);
    void UpdateAssociations(BArchive& archive);

    int m_version = 0;
    std::deque<RecordDirectory::Record*> m_pending;
    std::vector<const RecordDirectory::Record*>
        m_rebuilt;                     // with their objects, in order of reading
    std::size_t m_associatedCount = 0; // of m_rebuilt, those told to update their associations
    std::size_t m_verifiedCount = 0;   // of m_rebuilt, those that passed their self-check
    std::uint32_t m_takeOutNumber = 0;
    int m_nesting = 0;                                                 // of `TakeOut` calls
    std::vector<std::pair<std::string, ReadFunction>> m_readFunctions; // as found so far
};

} // namespace NArchive
