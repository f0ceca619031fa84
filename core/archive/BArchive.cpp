#include "core/archive/BArchive.h"

#include "core/archive/Encoding.h"
#include "core/archive/Loader.h"
#include "core/archive/PointerMap.h"
#include "core/archive/Saver.h"
#include "core/archive/Scratch.h"
#include "core/base/BError.h"
#include "core/base/BlockReader.h"
#include "core/base/ErrorCodes.h"
#include "core/platform/TypeName.h"

#include <bit>
#include <cstddef>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

// An archive's file, little-endian, without padding:
//
//   document class    tag "S", 4-byte length, text: the caller's name for the document
//   document version  4-byte signed integer
//   archive class     tag "S", 4-byte length, text: "class BArchive", or a derived class
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
//
// An archive is a `Saver` or a `Loader`, which know how a graph becomes records and comes back.
// Here are the values and the file's header. Objects call the operators once for each field, so
// these only copy bytes to and from memory; none of them looks at the system.

static_assert(std::endian::native == std::endian::little, "numbers are written as they stand");

namespace {

constexpr int kFormatVersion = 8;
constexpr int kOldestReadable = 2;

struct FileHeader {
    std::string docClass;
    int docVersion = 0;
    std::string archiveClass;
    int formatVersion = 0;
};

BProblem OtherName(EProblem code, const std::string& found, const std::string& wanted)
{
    return {.code = code,
            .name = WString(BString(found.c_str())),
            .detail = WString(BString(wanted.c_str()))};
}

// What is wrong with the header of a file, which ends at `position`.
BProblem FaultOf(const FileHeader& file, const FileHeader& wanted, std::uint64_t position)
{
    const bool isDocument = file.docClass == wanted.docClass;
    if (file.formatVersion == 0) {
        return isDocument ? BProblem{.code = EProblem::Damaged, .position = position}
                          : BProblem{.code = EProblem::OtherKind, .name = QD_W("archive")};
    }
    if (!isDocument)
        return OtherName(EProblem::OtherDocument, file.docClass, wanted.docClass);
    if (file.archiveClass != wanted.archiveClass)
        return OtherName(EProblem::OtherArchive, file.archiveClass, wanted.archiveClass);
    if (file.docVersion < wanted.docVersion) {
        return {.code = EProblem::OldDocument,
                .number = file.docVersion,
                .detail = WString::FromInt(wanted.docVersion)};
    }
    if (file.formatVersion > kFormatVersion)
        return {.code = EProblem::NewerFormat, .number = file.formatVersion};
    if (file.formatVersion < kOldestReadable)
        return {.code = EProblem::Damaged, .position = position - sizeof file.formatVersion};
    return {};
}

} // namespace

class BArchive::Impl {
public:
    Impl(const WChar* archivePath, MODE archiveMode)
        : path(archivePath)
        , mode(archiveMode)
    {
        if (path.IsEmpty() && archivePath != nullptr && *archivePath != 0)
            throw std::bad_alloc(); // a text that gets no memory is empty
        if (mode == ModeWrite)
            saver = std::make_unique<NArchive::Saver>(path.CStr(), objects);
        else
            loader = std::make_unique<NArchive::Loader>(path.CStr());
    }

    void WriteFileHeader(BArchive& archive, const BString& docClass, int docVersion,
                         const char* archiveClass);
    // Leaves the loader without a file when the archive is not what was asked for.
    void ReadFileHeader(BArchive& archive, FileHeader wanted);
    // The object's entry; null when there is none left and the archive's `ThrowError` did not
    // throw.
    NArchive::PointerMap::Found EntryOf(const BArchive& owner, const BSmartObj& object)
    {
        return Told(owner, objects.FindOrAdd(object));
    }
    static NArchive::PointerMap::Found Told(const BArchive& owner,
                                            NArchive::PointerMap::Found found)
    {
        if (found.entry == nullptr)
            owner.ThrowError();
        return found;
    }
    // False when a record was refused and the archive's `ThrowError` did not throw.
    bool WriteQueued(BArchive& archive);

    // The index of an object, which is queued: its record is written from it as it is then.
    std::uint32_t Mention(const BArchive& owner, const BSmartObj& object)
    {
        const NArchive::PointerMap::Found found = EntryOf(owner, object);
        if (found.entry == nullptr)
            return 0;
        saver->Insert(object, found);
        return objects.Mention(*found.entry);
    }

    template <typename T>
    void Write(T value) const
    {
        if (saver)
            saver->file.Put(value);
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

    // Reads a text of that many characters, which the record holds. Where memory for it runs out
    // the file is closed, so that no object without its text passes for a whole one.
    template <class Text>
    void ReadText(Text& text, std::uint64_t length)
    {
        if (length == 0) {
            text.Clear();
            return;
        }
        BlockReader& file = loader->file;
        const auto read = [&file, length](auto* units) {
            return file.Read(units, length * sizeof *units);
        };
        if (!text.FillBy(static_cast<std::size_t>(length), read)) {
            loader->Fail({.code = EProblem::Memory});
            throw ArchiveFormatFault;
        }
    }

    WString path;
    MODE mode;
    int version = kFormatVersion;
    NArchive::PointerMap objects;
    NArchive::Scratch scratch;
    std::unique_ptr<NArchive::Saver> saver;   // when writing
    std::unique_ptr<NArchive::Loader> loader; // when reading
};

void BArchive::Impl::WriteFileHeader(BArchive& archive, const BString& docClass, int docVersion,
                                     const char* archiveClass)
{
    archive << docClass << docVersion;
    NArchive::WriteText(archive, archiveClass);
    archive << kFormatVersion;
}

void BArchive::Impl::ReadFileHeader(BArchive& archive, FileHeader wanted)
{
    if (!loader->file.IsGood())
        return;
    FileHeader header;
    BString docClass, archiveClass;
    try {
        archive >> docClass >> header.docVersion >> archiveClass >> header.formatVersion;
    } catch (ARCHIVE_EXCEPTION) { // the format's version, which stands last, is none
    }
    header.docClass = docClass.CStr();
    header.archiveClass = archiveClass.CStr();
    if (!header.docClass.starts_with(NArchive::kClassKeyword)) { // written before names had it
        header.docClass = NArchive::WithKeyword(header.docClass);
        header.archiveClass = NArchive::WithKeyword(header.archiveClass);
        wanted.docClass = NArchive::WithKeyword(wanted.docClass);
    }
    if (!loader->file.IsGood()) { // for want of memory, say, which is told already
        loader->TellFileFailure();
        return;
    }
    if (BProblem fault = FaultOf(header, wanted, loader->file.Position())) {
        loader->Fail(std::move(fault));
        return;
    }
    version = header.formatVersion;
    loader->Open(version);
}

// The way out goes one way: from here to the object, from the object through the archive's
// operators to the saver, and from there to the file. Objects that a `WriteData` mentions join the
// end of the queue. A `WriteData` that flushes begins no second record: the walk that called it
// goes on.
bool BArchive::Impl::WriteQueued(BArchive& archive)
{
    saver->ClearProblem();
    while (saver->MayBeginRecord()) {
        NArchive::Saver::Record record(*saver);
        try {
            const BSmartObj& object = record.Object();
            object.WritePrefix(archive, record.Label());
            record.BeginPayload();
            object.WriteData(archive);
        } catch (const std::bad_alloc&) {
            saver->TellUnwritten(EProblem::Memory);
            throw;
        } catch (...) {
            saver->TellUnwritten(EProblem::ObjectUnwritten);
            throw;
        }
        if (!record.End(archive.Version())) {
            saver->TellUnwritten(EProblem::ObjectUnwritten);
            archive.ThrowError();
            return false;
        }
    }
    return true;
}

char* NArchive::FieldWriter::RoomIn(BArchive& archive, std::uint64_t size)
{
    Saver* const saver = archive.m_impl->saver.get();
    return saver != nullptr ? saver->file.Room(size) : nullptr;
}

void NArchive::FieldWriter::Fill(BArchive& archive, std::uint64_t size) noexcept
{
    archive.m_impl->saver->file.Fill(size);
}

std::uint32_t NArchive::FieldWriter::IndexOf(BArchive& archive, const BSmartObj& object)
{
    return archive.m_impl->saver ? archive.m_impl->Mention(archive, object) : 0;
}

BArchive::BArchive(const WChar* path, MODE mode, BString docClass, int docVersion)
    : BArchive(path, mode, docClass, docVersion, CLASSNAME())
{}

BArchive::BArchive(const WChar* path, MODE mode, BString docClass, int docVersion,
                   const char* archiveClass)
    : m_impl(std::make_unique<Impl>(path, mode))
{
    const char* const name = archiveClass == nullptr ? CLASSNAME() : archiveClass;
    if (m_impl->saver)
        m_impl->WriteFileHeader(*this, docClass, docVersion, name);
    else
        m_impl->ReadFileHeader(*this, {docClass.CStr(), docVersion, name, kFormatVersion});
}

BArchive::~BArchive()
{
    try {
        BArchive::Flush();
    } catch (...) { // a destructor does not throw; `Flush()` has told whoever asked
    }
}

int BArchive::Version() const
{
    return m_impl->version;
}

void BArchive::ThrowError() const
{
    throw BError(kErrorGeneral, QD_W("$IDS_ErrorHint16"), nullptr, nullptr, nullptr);
}

bool BArchive::Flush()
{
    if (!m_impl->saver)
        return false;
    const bool allWritten = m_impl->WriteQueued(*this);
    return m_impl->saver->file.Flush() && allWritten;
}

const char* BArchive::CLASSNAME()
{
    return platform::TypeName(typeid(BArchive));
}

BProblem BArchive::Problem() const
{
    BProblem problem = m_impl->saver ? m_impl->saver->Problem() : m_impl->loader->problem;
    if (problem)
        problem.path = m_impl->path;
    return problem;
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
    if (!m_impl->saver || obj == nullptr)
        return;
    const NArchive::PointerMap::Found found = m_impl->EntryOf(*this, *obj);
    if (found.entry != nullptr)
        m_impl->saver->Insert(*obj, found, label);
}

SP<BSmartObj> BArchive::TakeOut(const char* label)
{
    if (!m_impl->loader || !IsGood())
        return nullptr;
    if (label == nullptr || *label == '\0')
        return m_impl->loader->TakeOutNothing({});
    return m_impl->loader->TakeOut(label, *this);
}

void BArchive::TakeOutLater(BString indexText)
{
    if (m_impl->loader && !indexText.IsEmpty())
        m_impl->loader->TakeOutLater(m_impl->loader->directory.FindIndexText(indexText.CStr()));
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
    return m_impl->loader->QueryObject(reinterpret_cast<std::uintptr_t>(index));
}

unsigned int BArchive::MapPointerToIndex(const void* p)
{
    if (p == nullptr)
        return 0;
    // Each record begins with the index of its own object, which its place in the queue tells.
    NArchive::PointerMap::Entry* entry = m_impl->saver ? m_impl->saver->EntryIfCurrent(p) : nullptr;
    if (entry == nullptr)
        entry = Impl::Told(*this, m_impl->objects.FindOrAddAddress(p)).entry;
    return entry != nullptr ? m_impl->objects.Mention(*entry) : 0;
}

void* BArchive::IndexToPtr(std::uint64_t index) const noexcept
{
    return reinterpret_cast<void*>(static_cast<std::uintptr_t>(index));
}

bool BArchive::VerifyObjects()
{
    return !m_impl->loader || m_impl->loader->Verify();
}

void BArchive::OnRefusal(BSmartObj& object, void (*letGo)(BSmartObj& object))
{
    if (m_impl->loader)
        m_impl->loader->OnRefusal(object, letGo);
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
    NArchive::WriteText(*this, std::string_view(text.CStr(), text.Length()));
    return *this;
}

BArchive& BArchive::operator<<(const WString& text)
{
    const platform::WideView units(text.CStr(), text.Length());
    NArchive::FieldWriter fields(*this, NArchive::FieldWriter::SizeOf(units));
    fields.PutText(units);
    fields.End();
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
    const std::uint32_t index = object != nullptr ? m_impl->Mention(*this, *object) : 0;
    if (NArchive::ReferenceSize(Version()) == sizeof index)
        m_impl->Write(index);
    else
        m_impl->Write(std::uint64_t{index});
    return *this;
}

BArchive& BArchive::operator>>(BString& text)
{
    if (!m_impl->loader || !IsGood())
        return *this;
    BlockReader& file = m_impl->loader->file;
    const std::optional<std::uint64_t> size = NArchive::EndOfText(file, 0);
    if (!size)
        throw ArchiveFormatFault;
    const std::uint64_t start = file.Position();
    file.MoveTo(start + NArchive::kTagAndLengthSize);
    m_impl->ReadText(text, *size - NArchive::kTagAndLengthSize);
    file.MoveTo(start + *size); // also where the bytes could not be read
    return *this;
}

void BArchive::SkipText()
{
    if (!m_impl->loader || !IsGood())
        return;
    BlockReader& file = m_impl->loader->file;
    const std::optional<std::uint64_t> size = NArchive::EndOfText(file, 0);
    if (!size)
        throw ArchiveFormatFault;
    file.MoveTo(file.Position() + *size);
}

BArchive& BArchive::operator>>(WString& text)
{
    std::int32_t count = 0;
    if (!m_impl->Read(count))
        return *this;
    BlockReader& file = m_impl->loader->file;
    const std::uint64_t size = count < 1 ? 0 : static_cast<std::uint64_t>(count) * sizeof(WChar);
    if (size > file.Left()) { // nothing behind it may be taken for the next value
        file.MoveTo(file.Limit());
        return *this;
    }
    m_impl->ReadText(text, size / sizeof(WChar));
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
    if (NArchive::ReferenceSize(Version()) == sizeof(std::uint32_t)) {
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
