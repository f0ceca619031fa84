#include "core/archive/ArchiveLoader.h"

#include "core/archive/BArchive.h"
#include "core/archive/ObjectHeader.h"
#include "core/archive/ScopedValue.h"
#include "core/base/ClassRegistry.h"
#include "core/platform/FileStream.h"

#include <algorithm>

namespace {

// A `Read` that takes another object out at once, and so on: a file must not exhaust the stack.
constexpr int kDeepestNesting = 64;

// Remembers where a reader stands, and goes back there.
class ReadingPlace {
public:
    explicit ReadingPlace(BlockReader& file)
        : m_file(file)
        , m_position(file.Position())
        , m_limit(file.Limit())
    {
        file.SetLimit(file.Size());
    }
    ~ReadingPlace()
    {
        m_file.SetLimit(m_limit);
        m_file.MoveTo(m_position);
    }
    ReadingPlace(const ReadingPlace&) = delete;
    ReadingPlace& operator=(const ReadingPlace&) = delete;

private:
    BlockReader& m_file;
    std::uint64_t m_position;
    std::uint64_t m_limit;
};

} // namespace

namespace NArchive {

Loader::Loader(const WChar* path)
    : file(platform::OpenStream(path, QD_W("rb")))
{}

void Loader::Open(int version)
{
    m_version = version;
    if (!directory.Build(file, version))
        file.Close();
}

SP<BSmartObj> Loader::TakeOut(std::string_view name, BArchive& archive)
{
    RecordDirectory::Record* record = directory.FindLabel(name);
    if (record == nullptr)
        record = directory.FindIndexText(name);
    if (record == nullptr || m_nesting >= kDeepestNesting)
        return nullptr;

    const bool outermost = m_nesting == 0;
    const ScopedValue<int> nesting(m_nesting, m_nesting + 1);
    if (!outermost)
        return Rebuild(*record, archive);

    ++m_takeOutNumber;
    SP<BSmartObj> object = Rebuild(*record, archive);
    do {
        RebuildPending(archive);
        UpdateAssociations(archive);
    } while (!m_pending.empty());

    // All new objects are asked, also after a "no": a tree that refuses itself tidies up meanwhile.
    bool sound = true;
    for (std::size_t i = m_verifiedCount; i < m_rebuilt.size(); ++i) {
        sound = m_rebuilt[i]->object->VerifyObj() && sound;
        if (sound)
            m_verifiedCount = i + 1;
    }
    return sound && file.IsGood() ? object : nullptr; // of a file that failed parts are missing
}

void Loader::TakeOutLater(RecordDirectory::Record* record)
{
    if (record == nullptr || record->object || record->pending ||
        (m_nesting != 0 && record->triedIn == m_takeOutNumber))
        return;
    record->pending = true;
    m_pending.push_back(record);
}

bool Loader::Verify() const
{
    return std::ranges::all_of(m_rebuilt, [](const RecordDirectory::Record* record) {
        return record->object->VerifyObj();
    });
}

// A record that cannot be read is tried once in a `TakeOut`, however many references lead to it.
SP<BSmartObj> Loader::Rebuild(RecordDirectory::Record& record, BArchive& archive)
{
    if (record.object || record.triedIn == m_takeOutNumber)
        return record.object;
    record.triedIn = m_takeOutNumber;

    const ReadingPlace former(file);
    file.MoveTo(record.position);
    ObjectHeader header;
    if (!ReadObjectHeader(file, m_version, header))
        return nullptr;
    file.SetLimit(file.Position() + header.size);
    record.object = CallRead(header, archive);
    if (record.object)
        m_rebuilt.push_back(&record);
    return record.object;
}

SP<BSmartObj> Loader::CallRead(const ObjectHeader& header, BArchive& archive)
{
    const ReadFunction read = FindReadFunction(header.className);
    if (read == nullptr)
        return nullptr;
    try {
        return read(archive, header.version);
    } catch (ARCHIVE_EXCEPTION) {
        return nullptr;
    }
}

Loader::ReadFunction Loader::FindReadFunction(std::string_view className)
{
    for (const auto& [name, read] : m_readFunctions) {
        if (name == className)
            return read;
    }
    const ReadFunction read = FindArchiveReader(WithKeyword(className).c_str());
    if (read != nullptr)
        m_readFunctions.emplace_back(className, read);
    return read;
}

void Loader::RebuildPending(BArchive& archive)
{
    while (!m_pending.empty()) {
        RecordDirectory::Record* record = m_pending.front();
        m_pending.pop_front();
        record->pending = false;
        static_cast<void>(Rebuild(*record, archive));
    }
}

void Loader::UpdateAssociations(BArchive& archive)
{
    while (m_associatedCount < m_rebuilt.size()) {
        m_rebuilt[m_associatedCount++]->object->UpdateAssociations(archive);
    }
}

} // namespace NArchive
