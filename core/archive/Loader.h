#pragma once

#include "core/archive/Blocks.h"
#include "core/archive/RecordDirectory.h"
#include "core/base/BProblem.h"
#include "core/base/BSmartObj.h"
#include "core/base/BlockReader.h"
#include "core/base/SP.h"
#include "core/platform/SeededHash.h"
#include "core/platform/WChar.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
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

    /// Closes the file, which is not what it should be or of which parts are missing from now on.
    /// What was left out before may be the reason, and is told with it.
    void Fail(BProblem reason);

    /// Tells why the file failed of itself; nothing where somebody here let go of it.
    void TellFileFailure();

    /// Reads the directory from the reader's position on; closes the file when it is broken.
    void Open(int version);

    /// As `BArchive::TakeOut`, `TakeOutLater`, `VerifyObjects` and `OnRefusal`.
    [[nodiscard]] SP<BSmartObj> TakeOut(std::string_view label, BArchive& archive);
    /// Null, and why where nobody else has asked: there is no object under `label`.
    [[nodiscard]] SP<BSmartObj> TakeOutNothing(std::string_view label);
    void TakeOutLater(std::uint32_t number);
    /// As `BArchive::QueryObject`; not counted.
    [[nodiscard]] BSmartObj* QueryObject(std::uint64_t index);
    [[nodiscard]] bool Verify();
    void OnRefusal(BSmartObj& object, void (*letGo)(BSmartObj&));

    RecordDirectory directory;
    BlockReader file;
    /// Why the last `TakeOut` gave null, or what it left out; without the path.
    BProblem problem;

private:
    using ReadFunction = SP<BSmartObj> (*)(BArchive&, int);
    using ReadFunctions =
        std::unordered_map<std::string, ReadFunction, platform::SeededTextHash, std::equal_to<>>;
    using LetGoFunction = void (*)(BSmartObj&);
    struct Holder {
        SP<BSmartObj> object;
        LetGoFunction letGo;
    };

    [[nodiscard]] SP<BSmartObj> TakeOutInside(std::uint32_t number, BArchive& archive);
    [[nodiscard]] SP<BSmartObj> RebuildBetween(std::uint32_t number, BArchive& archive);
    [[nodiscard]] const SP<BSmartObj>& Rebuild(std::uint32_t number, BArchive& archive);
    [[nodiscard]] SP<BSmartObj> CallRead(const ObjectHeader& header, BArchive& archive,
                                         EProblem& fault);
    [[nodiscard]] BProblem OfRecord(EProblem code, std::uint32_t number) noexcept;
    void LeaveOut(EProblem code, std::uint32_t number);
    void TellRefusal(std::size_t place);
    [[nodiscard]] ReadFunction FindReadFunction(std::string_view className);
    [[nodiscard]] std::uint8_t NumberOf(LetGoFunction letGo);
    [[nodiscard]] bool IsNew(const BSmartObj& object);
    [[nodiscard]] bool Complete(BArchive& archive);
    void RebuildPending(BArchive& archive);
    void UpdateAssociations(BArchive& archive);
    [[nodiscard]] bool AreSound();
    void LetGo();
    void Forget(std::size_t rebuiltCount, std::size_t doubleCount);
    [[nodiscard]] SP<BSmartObj>& Rebuilt(std::size_t i) noexcept
    {
        return directory[m_rebuilt[i]].object;
    }

    int m_version = 0;
    // Records are told by their numbers.
    std::deque<std::uint32_t> m_pending;
    // With their objects, in order of reading; an object that has several records stands here once.
    Blocks<std::uint32_t> m_rebuilt;
    std::vector<std::uint32_t> m_doubles; // the further records of these
    std::size_t m_associatedCount = 0;    // of m_rebuilt, those told to update their associations
    std::size_t m_soundCount = 0;         // of m_rebuilt, those that passed their self-check once
    std::size_t m_nextAsked = 0;          // of these, where it is to be repeated
    std::size_t m_repeats = 0;            // self-checks that may be repeated so far
    std::unordered_set<const BSmartObj*> m_known; // of the first of m_rebuilt: see IsNew
    std::size_t m_knownCount = 0;
    bool m_isFailureTold = false;
    bool m_isSpoiled = false; // a new object said that it is not sound
    // What hangs on the success of the `TakeOut` at hand. Objects ask for it when they update their
    // associations, nearly all of them with one function, so that a number in the record, that of
    // the function + 1, stands for most of it.
    std::vector<LetGoFunction> m_letGo;
    std::size_t m_heldFrom = 0;    // of m_rebuilt, the first of the `TakeOut` at hand
    std::vector<Holder> m_holders; // the others
    std::uint32_t m_associating = RecordDirectory::kNone; // the record whose object does so
    std::uint32_t m_takeOutNumber = 0;
    int m_nesting = 0;                                      // of `TakeOut` calls
    ReadFunctions m_readFunctions;                          // as found so far
    const ReadFunctions::value_type* m_lastClass = nullptr; // of these
};

} // namespace NArchive
