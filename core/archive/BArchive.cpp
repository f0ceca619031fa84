#include "core/archive/BArchive.h"

#include "core/archive/ObjectHeader.h"
#include "core/archive/PointerMap.h"
#include "core/archive/RecordDirectory.h"
#include "core/archive/RecordWriter.h"
#include "core/base/BError.h"
#include "core/base/BlockReader.h"
#include "core/base/ClassRegistry.h"
#include "core/platform/FileStream.h"
#include "core/platform/TypeName.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <deque>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

// An archive's file, little-endian, without padding:
//
//   document class    tag "S", 4-byte length, text: the caller's name for the document
//   document version  4-byte signed integer
//   archive class     tag "S", 4-byte length, text: "class BArchive"
//   format version    4-byte signed integer; 8 is written, 2 to 8 are read
//   records           to the end of the file, each an object header (see ObjectHeader.cpp) and the
//                     bytes of payload that it declares
//
// Values in a payload:
//
//   BString         tag "S", 4-byte unsigned length, the bytes
//   WString         4-byte signed count of units, the units; a count below 1 is the empty text
//   number          as it stands in memory: int 4 bytes, float 4, double 8, char 1,
//                   unsigned short 2, std::int64_t 8
//   reference       the object's index: 4 bytes up to version 6, 8 bytes from version 7 on

namespace {

constexpr int kFormatVersion = 8;
constexpr int kOldestReadable = 2;
constexpr int kNewestShortReference = 6; // references have 4 bytes up to this version
constexpr std::string_view kKeyword = "class ";

// A `Read` that takes another object out at once, and so on: a file must not exhaust the stack.
constexpr int kDeepestNesting = 64;

using ReadFunction = SP<BSmartObj> (*)(BArchive&, int);

std::string WithKeyword(std::string_view className)
{
    return className.starts_with(kKeyword) ? std::string(className)
                                           : std::string(kKeyword).append(className);
}

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

// Sets a variable for as long as a block runs.
template <typename T>
class ScopedValue {
public:
    ScopedValue(T& variable, T value)
        : m_variable(variable)
        , m_former(std::exchange(variable, value))
    {}
    ~ScopedValue() { m_variable = m_former; }
    ScopedValue(const ScopedValue&) = delete;
    ScopedValue& operator=(const ScopedValue&) = delete;

private:
    T& m_variable;
    T m_former;
};

} // namespace

namespace NArchive {

// Many small pieces of memory that are freed together.
class Scratch {
public:
    [[nodiscard]] void* Take(std::size_t size)
    {
        size = (size + kAlignment - 1) / kAlignment * kAlignment;
        if (size > m_left) {
            const std::size_t chunkSize = std::max(size, kChunkSize);
            m_next = m_chunks.emplace_back(new std::byte[chunkSize]).get();
            m_left = chunkSize;
        }
        m_left -= size;
        return std::exchange(m_next, m_next + size);
    }

private:
    static constexpr std::size_t kAlignment = 8;
    static constexpr std::size_t kChunkSize = 64 * 1024;

    std::vector<std::unique_ptr<std::byte[]>> m_chunks;
    std::byte* m_next = nullptr;
    std::size_t m_left = 0;
};

// An object that waits to be written, or has been.
struct Tupel {
    SP<BSmartObj> object;
    BString label;
    std::uint32_t index; // 0: the object had none when it was queued
};

// The writing half of an archive.
class Saver {
public:
    explicit Saver(const WChar* path)
        : file(platform::OpenStream(path, QD_W("wb")))
    {}

    void Insert(BSmartObj* object, const char* label, PointerMap& indices);
    void WriteQueued(BArchive& archive);

    // The object whose record is being written, so that its index mostly needs no look-up.
    [[nodiscard]] const Tupel* Current() const noexcept { return m_current; }

    RecordWriter file;

private:
    void WriteRecord(const Tupel& entry, BArchive& archive);

    std::deque<Tupel> m_queue; // in order of insertion, the written ones first
    std::size_t m_writtenCount = 0;
    std::unordered_set<std::string> m_labels;
    const Tupel* m_current = nullptr;
};

void Saver::Insert(BSmartObj* object, const char* label, PointerMap& indices)
{
    const bool labelled = label != nullptr && *label != '\0';
    PointerMap::Entry& entry = indices.FindOrAdd(object);
    if (entry.queued || (labelled && !m_labels.emplace(label).second))
        return;
    entry.queued = true;
    m_queue.push_back({SP<BSmartObj>(object), labelled ? BString(label) : BString(), entry.index});
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

// The reading half of an archive.
class Loader {
public:
    explicit Loader(const WChar* path)
        : file(platform::OpenStream(path, QD_W("rb")))
    {}

    // Reads the directory from the reader's position on; closes the file when it is broken.
    void Open(int version);

    [[nodiscard]] SP<BSmartObj> TakeOut(std::string_view name, BArchive& archive);
    void TakeOutLater(RecordDirectory::Record* record);
    [[nodiscard]] bool Verify() const;

    RecordDirectory directory;
    BlockReader file;

private:
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

ReadFunction Loader::FindReadFunction(std::string_view className)
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

class BArchive::Impl {
public:
    Impl(const WChar* archivePath, MODE archiveMode)
        : path(archivePath)
        , mode(archiveMode)
    {
        if (mode == ModeWrite)
            saver = std::make_unique<NArchive::Saver>(path.CStr());
        else
            loader = std::make_unique<NArchive::Loader>(path.CStr());
    }

    template <typename T>
    void Write(T value) const
    {
        if (saver)
            saver->file.Write(&value, sizeof value);
    }

    template <typename T>
    bool Read(T& value) const
    {
        T read;
        if (!loader || !loader->file.Read(&read, sizeof read))
            return false;
        value = read;
        return true;
    }

    WString path;
    MODE mode;
    int version = kFormatVersion;
    PointerMap indices;
    NArchive::Scratch scratch;
    std::unique_ptr<NArchive::Saver> saver;   // when writing
    std::unique_ptr<NArchive::Loader> loader; // when reading
};

BArchive::BArchive(const WChar* path, MODE mode, BString docClass, int docVersion)
    : m_impl(new Impl(path, mode))
{
    if (m_impl->saver) {
        *this << docClass << docVersion << BString(ClassName()) << kFormatVersion;
        return;
    }
    BString fileClass;
    BString archiveClass;
    int fileVersion = 0;
    int formatVersion = 0;
    bool accepted = IsGood();
    try {
        *this >> fileClass >> fileVersion >> archiveClass >> formatVersion;
    } catch (ARCHIVE_EXCEPTION) {
        accepted = false;
    }
    std::string documentClass(docClass.CStr());
    std::string fileDocumentClass(fileClass.CStr());
    std::string fileArchiveClass(archiveClass.CStr());
    if (!fileDocumentClass.starts_with(kKeyword)) { // written before names had the keyword
        documentClass = WithKeyword(documentClass);
        fileDocumentClass = WithKeyword(fileDocumentClass);
        fileArchiveClass = WithKeyword(fileArchiveClass);
    }
    accepted = accepted && fileDocumentClass == documentClass && fileArchiveClass == ClassName() &&
               fileVersion >= docVersion && formatVersion >= kOldestReadable &&
               formatVersion <= kFormatVersion;
    if (!accepted) {
        m_impl->loader->file.Close();
        return;
    }
    m_impl->version = formatVersion;
    m_impl->loader->Open(formatVersion);
}

BArchive::~BArchive()
{
    try {
        BArchive::Flush();
    } catch (...) { // a destructor does not throw; `Flush()` has told whoever asked
    }
    delete m_impl;
}

int BArchive::Version() const
{
    return m_impl->version;
}

void BArchive::ThrowError() const
{
    throw BError(32767, QD_W("$IDS_ErrorHint16"), nullptr, nullptr, nullptr);
}

bool BArchive::Flush()
{
    if (!m_impl->saver)
        return false;
    m_impl->saver->WriteQueued(*this);
    return m_impl->saver->file.Flush();
}

const char* BArchive::CLASSNAME()
{
    return platform::TypeName(typeid(BArchive));
}

bool BArchive::IsGood() const noexcept
{
    return m_impl->saver ? m_impl->saver->file.IsGood() : m_impl->loader->file.IsGood();
}

BArchive::MODE BArchive::Mode() const noexcept
{
    return m_impl->mode;
}

WString BArchive::Path() const
{
    return m_impl->path;
}

void BArchive::Insert(BSmartObj* obj, const char* label)
{
    if (m_impl->saver && obj != nullptr)
        m_impl->saver->Insert(obj, label, m_impl->indices);
}

SP<BSmartObj> BArchive::TakeOut(const char* label)
{
    if (!m_impl->loader || !IsGood() || label == nullptr || *label == '\0')
        return nullptr;
    return m_impl->loader->TakeOut(label, *this);
}

void BArchive::TakeOutLater(BString id)
{
    if (m_impl->loader && !id.IsEmpty())
        m_impl->loader->TakeOutLater(m_impl->loader->directory.FindIndexText(id.CStr()));
}

void BArchive::TakeOutLater(std::uint64_t index)
{
    if (m_impl->loader && index != 0)
        m_impl->loader->TakeOutLater(m_impl->loader->directory.FindIndex(index));
}

SP<BSmartObj> BArchive::QueryObject(void* index)
{
    if (!m_impl->loader || index == nullptr)
        return nullptr;
    const auto number = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(index));
    const RecordDirectory::Record* record = m_impl->loader->directory.FindIndex(number);
    return record == nullptr ? nullptr : record->object;
}

unsigned int BArchive::MapPointerToIndex(const void* p)
{
    if (p == nullptr)
        return 0;
    const NArchive::Tupel* current = m_impl->saver ? m_impl->saver->Current() : nullptr;
    if (current != nullptr && current->object.Get() == p && current->index != 0)
        return current->index;
    PointerMap::Entry& entry = m_impl->indices.FindOrAdd(p);
    if (!m_impl->indices.Mention(entry))
        ThrowError();
    return entry.index;
}

void* BArchive::IndexToPtr(std::uint64_t index) const noexcept
{
    return reinterpret_cast<void*>(static_cast<std::uintptr_t>(index));
}

bool BArchive::VerifyObjects()
{
    return !m_impl->loader || m_impl->loader->Verify();
}

void* BArchive::Scratch(std::size_t size)
{
    return m_impl->scratch.Take(size);
}

std::uint64_t BArchive::BytesLeft() const noexcept
{
    return m_impl->loader ? m_impl->loader->file.Left() : 0;
}

void BArchive::WriteMemoryBlock(const void* block, std::uint64_t size)
{
    if (m_impl->saver)
        m_impl->saver->file.Write(block, size);
}

bool BArchive::ReadMemoryBlock(void* block, std::uint64_t size)
{
    return m_impl->loader && m_impl->loader->file.Read(block, size);
}

BArchive& BArchive::operator<<(const BString& text)
{
    const auto length = static_cast<std::uint32_t>(text.Length());
    m_impl->Write(kTextTag);
    m_impl->Write(length);
    WriteMemoryBlock(text.CStr(), length);
    return *this;
}

BArchive& BArchive::operator<<(const WString& text)
{
    const auto count = static_cast<std::int32_t>(text.Length());
    m_impl->Write(count);
    WriteMemoryBlock(text.CStr(), static_cast<std::uint64_t>(count) * sizeof(WChar));
    return *this;
}

BArchive& BArchive::operator<<(int value)
{
    m_impl->Write(value);
    return *this;
}

BArchive& BArchive::operator<<(float value)
{
    m_impl->Write(value);
    return *this;
}

BArchive& BArchive::operator<<(double value)
{
    m_impl->Write(value);
    return *this;
}

BArchive& BArchive::operator<<(char value)
{
    m_impl->Write(value);
    return *this;
}

BArchive& BArchive::operator<<(unsigned short value)
{
    m_impl->Write(value);
    return *this;
}

BArchive& BArchive::operator<<(std::int64_t value)
{
    m_impl->Write(value);
    return *this;
}

BArchive& BArchive::operator<<(const BSmartObj* object)
{
    if (!m_impl->saver)
        return *this;
    const unsigned int index = MapPointerToIndex(object);
    if (object != nullptr) // the record is written from the object as it is then
        m_impl->saver->Insert(const_cast<BSmartObj*>(object), nullptr, m_impl->indices);
    if (Version() <= kNewestShortReference)
        m_impl->Write(static_cast<std::uint32_t>(index));
    else
        m_impl->Write(static_cast<std::uint64_t>(index));
    return *this;
}

BArchive& BArchive::operator>>(BString& text)
{
    if (!m_impl->loader || !IsGood())
        return *this;
    BlockReader& file = m_impl->loader->file;
    std::uint64_t end = 0;
    if (!PeekText(file, end))
        throw ArchiveFormatFault;
    const std::uint64_t length = end - kTextPrefix;
    text.Fill(length, ' ');
    if (const char* start = file.Peek(end); start != nullptr && length != 0)
        std::memcpy(text.Str(), start + kTextPrefix, length);
    file.MoveTo(file.Position() + end);
    return *this;
}

void BArchive::SkipText()
{
    if (!m_impl->loader || !IsGood())
        return;
    std::uint64_t end = 0;
    if (!PeekText(m_impl->loader->file, end))
        throw ArchiveFormatFault;
    m_impl->loader->file.MoveTo(m_impl->loader->file.Position() + end);
}

BArchive& BArchive::operator>>(WString& text)
{
    std::int32_t count = 0;
    if (!m_impl->Read(count))
        return *this;
    BlockReader& file = m_impl->loader->file;
    const std::uint64_t size = count < 1 ? 0 : static_cast<std::uint64_t>(count) * sizeof(WChar);
    if (size > file.Left()) {
        file.MoveTo(file.Limit());
        return *this;
    }
    text.Fill(static_cast<std::size_t>(size / sizeof(WChar)), QD_W(' '));
    if (size != 0 && !file.Read(text.Str(), size))
        text.Clear();
    return *this;
}

BArchive& BArchive::operator>>(int& value)
{
    m_impl->Read(value);
    return *this;
}

BArchive& BArchive::operator>>(float& value)
{
    m_impl->Read(value);
    return *this;
}

BArchive& BArchive::operator>>(double& value)
{
    m_impl->Read(value);
    return *this;
}

BArchive& BArchive::operator>>(char& value)
{
    m_impl->Read(value);
    return *this;
}

BArchive& BArchive::operator>>(unsigned short& value)
{
    m_impl->Read(value);
    return *this;
}

BArchive& BArchive::operator>>(std::int64_t& value)
{
    m_impl->Read(value);
    return *this;
}

BArchive& BArchive::operator>>(void*& index)
{
    if (Version() <= kNewestShortReference) {
        std::uint32_t shortIndex = 0;
        if (m_impl->Read(shortIndex))
            index = IndexToPtr(shortIndex);
    } else {
        std::uint64_t longIndex = 0;
        if (m_impl->Read(longIndex))
            index = IndexToPtr(longIndex);
    }
    return *this;
}
