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
#include <unordered_set>
#include <utility>
#include <vector>

class BArchive;

namespace NArchive {

struct ObjectHeader;

/// The reading half of an archive: its file, the directory of its records, and the objects that
/// were rebuilt from them. The classes that it calls get the archive itself to read from, which
/// comes down here again for each value.
class Loader {
public:
    explicit Loader(const WChar* path);
    ~Loader();
    Loader(const Loader&) = delete;
    Loader& operator=(const Loader&) = delete;

    /// Reads the directory from the reader's position on; closes the file when it is broken.
    void Open(int version);

    /// As `BArchive::TakeOut`, `TakeOutLater`, `VerifyObjects` and `OnRefusal`.
    [[nodiscard]] SP<BSmartObj> TakeOut(std::string_view label, BArchive& archive);
    void TakeOutLater(RecordDirectory::Record* record);
    [[nodiscard]] bool Verify() const;
    void OnRefusal(BSmartObj& object, void (*letGo)(BSmartObj&));

    RecordDirectory directory;
    BlockReader file;

private:
    using ReadFunction = SP<BSmartObj> (*)(BArchive&, int);
    struct Holder {
        SP<BSmartObj> object;
        void (*letGo)(BSmartObj&);
    };

    [[nodiscard]] SP<BSmartObj> TakeOutInside(RecordDirectory::Record& record, BArchive& archive);
    [[nodiscard]] SP<BSmartObj> Rebuild(RecordDirectory::Record& record, BArchive& archive);
    [[nodiscard]] SP<BSmartObj> CallRead(const ObjectHeader& header, BArchive& archive);
    [[nodiscard]] ReadFunction FindReadFunction(std::string_view className);
    [[nodiscard]] bool IsNew(const BSmartObj& object);
    [[nodiscard]] bool Complete(BArchive& archive);
    void RebuildPending(BArchive& archive);
    void UpdateAssociations(BArchive& archive);
    [[nodiscard]] bool AreSound();
    void LetGo();
    void Forget(std::size_t rebuiltCount, std::size_t doubleCount);

    int m_version = 0;
    std::deque<RecordDirectory::Record*> m_pending;
    // With their objects, in order of reading; an object that has several records stands here once.
    std::vector<RecordDirectory::Record*> m_rebuilt;
    std::vector<RecordDirectory::Record*> m_doubles; // the further records of these
    std::size_t m_associatedCount = 0; // of m_rebuilt, those told to update their associations
    std::size_t m_soundCount = 0;      // of m_rebuilt, those that passed their self-check once
    std::size_t m_nextAsked = 0;       // of these, where it is to be repeated
    std::size_t m_repeats = 0;         // self-checks that may be repeated so far
    std::unordered_set<const BSmartObj*> m_known; // of the first of m_rebuilt: see IsNew
    std::size_t m_knownCount = 0;
    bool m_isSpoiled = false;      // a new object said that it is not sound
    std::vector<Holder> m_holders; // what hangs on the success of the `TakeOut` at hand
    std::uint32_t m_takeOutNumber = 0;
    int m_nesting = 0;                                                 // of `TakeOut` calls
    std::vector<std::pair<std::string, ReadFunction>> m_readFunctions; // as found so far
};

} // namespace NArchive
