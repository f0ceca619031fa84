#include "core/profile/BBinProfile.h"

#include "core/base/BError.h"
#include "core/base/BlockReader.h"
#include "core/base/ErrorCodes.h"
#include "core/file/BFile.h"
#include "core/platform/FileReplacement.h"
#include "core/platform/FileSystem.h"
#include "core/platform/WChar.h"
#include "core/profile/BVariant.h"
#include "core/profile/MadeText.h"
#include "core/profile/TextProfile.h"

#include <cstdint>
#include <cstring>
#include <exception>
#include <new>
#include <utility>
#include <vector>

// The file, all integers little-endian:
//
//     offset  size  content
//     0       4     format id: what the records' keys are
//     4       ...   records up to the end of the file: a text record with the mapped key, the
//                   value's type code and the value
//
// An empty key ends the records. Text records and values are told in VariantBytes.h and BVariant.h.
//
// The whole file is in memory, and saved as a whole: a value in the file cannot grow in its place,
// and settings are few. Saving waits for the destructor, for a change a file would cost a
// synchronisation with the disk each.
//
// The system may fail to give the file, for want of rights or memory, say. Then the profile looks
// empty, and saving it would replace what is there by the little that was written since. So such a
// profile takes no value (`m_isUnread`), and the writer is told.

namespace {

constexpr std::uint32_t kAnsiFormatId = 0x59414C05; // narrow keys; read only
constexpr std::uint32_t kUnicodeFormatId = 0x69414C06;

} // namespace

BBinProfile::BBinProfile(WString path, EProfileMode mode)
    : m_path(std::move(path))
    , m_section(Made(QD_W("default")))
    , m_mode(mode)
{
    if (mode != ProfileNew)
        BBinProfile::Read();
}

BBinProfile::~BBinProfile()
{
    try {
        if (m_modified && m_mode != ProfileReadOnly)
            BBinProfile::Write();
    } catch (const std::exception&) {
        // A save that fails is silent.
    }
}

bool BBinProfile::IsValid() const
{
    return m_valid;
}

void BBinProfile::SetSection(WString section)
{
    m_section = std::move(section);
}

WString BBinProfile::GetSection()
{
    return m_section;
}

bool BBinProfile::WriteString(int index, WString key, WString value)
{
    return WriteString(IndexedKey(key, index), std::move(value));
}

bool BBinProfile::WriteString(WString key, WString value)
{
    CheckMode();
    return Store(key, new TVariant<WString>(value));
}

bool BBinProfile::WriteInt(int index, WString key, int value)
{
    return WriteInt(IndexedKey(key, index), value);
}

bool BBinProfile::WriteInt(WString key, int value)
{
    CheckMode();
    return Store(key, new TVariant<int>(value));
}

bool BBinProfile::WriteDouble(int index, WString key, double value)
{
    return WriteDouble(IndexedKey(key, index), value);
}

bool BBinProfile::WriteDouble(WString key, double value)
{
    CheckMode();
    return Store(key, new TVariant<double>(value));
}

bool BBinProfile::WriteMem(int index, WString key, void* data, unsigned int size)
{
    return WriteMem(IndexedKey(key, index), data, size);
}

bool BBinProfile::WriteMem(WString key, void* data, unsigned int size)
{
    CheckMode();
    return Store(key, new BVarMemBlock(data, size));
}

bool BBinProfile::WriteBoolean(WString key, bool value)
{
    CheckMode();
    return Store(key, new TVariant<bool>(value));
}

WString BBinProfile::ReadString(int index, WString key, WString defaultValue)
{
    return ReadString(IndexedKey(key, index), std::move(defaultValue));
}

WString BBinProfile::ReadString(WString key, WString defaultValue)
{
    if (const auto* const wide = Find<TVariant<WString>>(key))
        return wide->Value();
    if (const auto* const narrow = Find<TVariant<BString>>(key))
        return narrow->Value().IsEmpty() ? WString() : Made(narrow->Value());
    return defaultValue;
}

int BBinProfile::ReadInt(int index, WString key, int defaultValue)
{
    return ReadInt(IndexedKey(key, index), defaultValue);
}

int BBinProfile::ReadInt(WString key, int defaultValue)
{
    const auto* const found = Find<TVariant<int>>(key);
    return found != nullptr ? found->Value() : defaultValue;
}

double BBinProfile::ReadDouble(int index, WString key, double defaultValue)
{
    return ReadDouble(IndexedKey(key, index), defaultValue);
}

double BBinProfile::ReadDouble(WString key, double defaultValue)
{
    const auto* const found = Find<TVariant<double>>(key);
    return found != nullptr ? found->Value() : defaultValue;
}

bool BBinProfile::ReadMem(int index, WString key, void* data, unsigned int size)
{
    return ReadMem(IndexedKey(key, index), data, size);
}

bool BBinProfile::ReadMem(WString key, void* data, unsigned int size)
{
    const auto* const found = Find<BVarMemBlock>(key);
    if (found == nullptr)
        return false;
    if (found->Size() != size) {
        TellValue(m_valueProblem, EProblem::OtherValue, m_section, key);
        return false;
    }
    if (size != 0)
        std::memcpy(data, found->Data(), size);
    return true;
}

bool BBinProfile::ReadBoolean(WString key, bool defaultValue)
{
    const auto* const found = Find<TVariant<bool>>(key);
    return found != nullptr ? found->Value() : defaultValue;
}

void BBinProfile::DeleteKey(WString key)
{
    CheckMode();
    // Of a file that was not read: for `Save` to tell.
    if (m_values.Remove(MapKey(key)) || m_isUnread)
        m_modified = true;
}

void BBinProfile::DeleteSection()
{
    CheckMode();
    std::vector<WString> keys; // first, as the iteration must not lose its entry
    for (const auto& item : m_values) {
        if (Section(item.key).IEqual(m_section))
            keys.push_back(item.key);
    }
    for (const WString& key : keys)
        m_values.Remove(key);
    m_modified = m_modified || !keys.empty() || m_isUnread;
}

bool BBinProfile::ExistsSection(WString section) const
{
    // Telling a section from a key changes nothing.
    auto& self = const_cast<BBinProfile&>(*this);
    for (const auto& item : m_values) {
        if (self.Section(item.key).IEqual(section))
            return true;
    }
    return false;
}

WString BBinProfile::MapKey(WString key)
{
    const WString section = Made(QD_W("[") + m_section);
    return Made(Made(section + Made(QD_W("]") + key)).ToLower());
}

WString BBinProfile::Section(WString mappedKey)
{
    const WString section = mappedKey.SubCh(1, QD_W(']'));
    const bool hasName = mappedKey.Length() > 1 && mappedKey[1] != QD_W(']');
    return hasName ? Made(section) : section;
}

bool BBinProfile::Save()
try {
    m_valueProblem = {};
    if (!m_modified || m_mode == ProfileReadOnly)
        return true;
    m_modified = !Write();
    return !m_modified;
} catch (const std::bad_alloc&) {
    m_problem = {.code = EProblem::Memory};
    throw;
}

BProblem BBinProfile::Problem() const
{
    BProblem problem = m_problem ? m_problem : m_valueProblem;
    if (problem)
        problem.path = m_path;
    return problem;
}

bool BBinProfile::Read()
try {
    m_isUnread = false;
    m_problem = {};
    BFile file(m_path, QD_W("rb"));
    if (file == nullptr) {
        const BProblem reason = BProblem::OfSystem();
        // A file that is missing is an empty profile; one that cannot be opened is none.
        m_isUnread = platform::Presence(m_path) != platform::EPresence::Missing;
        if (m_isUnread || m_mode == ProfileReadOnly)
            m_problem = reason;
        return true;
    }
    std::uint32_t formatId = 0;
    const bool hasId = std::fread(&formatId, sizeof formatId, 1, file) == 1;
    m_isUnread = !hasId && std::ferror(file) != 0;
    if (m_isUnread) {
        m_problem = BProblem::OfSystem();
        return true;
    }
    m_valid = hasId && (formatId == kAnsiFormatId || formatId == kUnicodeFormatId);
    if (!m_valid) {
        m_problem = {.code = EProblem::OtherKind, .name = QD_W("binary profile")};
        return false;
    }
    // Virtual for a derived class that reads again; the constructor reaches this class's own.
    return formatId == kAnsiFormatId ? ReadAnsiFormat(file) : ReadUnicodeFormat(file);
} catch (const std::bad_alloc&) {
    // What was read so far would pass for all.
    m_isUnread = true;
    m_problem = {.code = EProblem::Memory};
    return true;
}

bool BBinProfile::ReadAnsiFormat(BFile& file)
{
    return ReadRecords<BString>(file);
}

bool BBinProfile::ReadUnicodeFormat(BFile& file)
{
    return ReadRecords<WString>(file);
}

bool BBinProfile::Write() const
{
    if (m_isUnread)
        return false;
    constexpr std::size_t pieceSize = 64 * 1024; // value by value would take much longer
    platform::FileReplacement replacement(m_path);
    std::FILE* const stream = replacement.Stream();
    if (stream == nullptr)
        return Tell(m_problem, false);
    VariantBytes bytes;
    bytes.Append(kUnicodeFormatId);
    for (const auto& item : m_values) {
        bytes.AppendText(item.key);
        bytes.Append(item.value->Type());
        item.value->AppendValue(bytes);
        if (bytes.Size() >= pieceSize && !bytes.MoveTo(stream))
            return Tell(m_problem, false);
    }
    return Tell(m_problem, bytes.MoveTo(stream) && replacement.Commit());
}

void BBinProfile::CheckMode() const
{
    if (m_mode == ProfileReadOnly)
        throw BError(kErrorGeneral, QD_W("$IDS_ErrorHint61"), nullptr, nullptr, nullptr);
}

// Intended: damage in a key ends the records quietly, a value of no known type discards them all.
template <class Text>
bool BBinProfile::ReadRecords(BFile& file)
{
    BlockReader reader(*static_cast<std::FILE*>(file));
    reader.MoveTo(sizeof kUnicodeFormatId);
    VariantSource source(reader);
    bool isKnown = true, isWhole = true;
    std::uint64_t start = 0; // of the record at hand
    while (isKnown && isWhole) {
        start = reader.Position();
        Text key;
        isWhole = start == reader.Size() || source.ReadText(key);
        if (key.IsEmpty())
            break;
        SP<BVariant> value = LoadVariant(source);
        isKnown = static_cast<bool>(value);
        isWhole = !source.IsCut();
        if (isKnown)
            m_values.Insert({Made(std::move(key)), std::move(value)}); // made of a narrow one
    }
    m_isUnread = !reader.IsGood();
    if (m_isUnread)
        m_problem = BProblem::OfSystem(reader.Failure().value_or(0));
    else if (!isKnown || !isWhole)
        m_problem = {.code = EProblem::Damaged, .position = start};
    if (!isKnown && !m_isUnread)
        m_values.RemoveAll();
    return isKnown || m_isUnread;
}

bool BBinProfile::Store(const WString& key, SP<BVariant> value)
{
    if (m_isUnread)
        return false;
    m_values.Insert({MapKey(key), std::move(value)});
    m_modified = true;
    return true;
}

template <class Variant>
const Variant* BBinProfile::Find(const WString& key)
{
    const auto* const item = m_values.Find(MapKey(key));
    const auto* const value =
        item != nullptr ? dynamic_cast<const Variant*>(item->value.Get()) : nullptr;
    if (value == nullptr) {
        TellValue(m_valueProblem, item != nullptr ? EProblem::OtherValue : EProblem::NoValue,
                  m_section, key);
    } else if (m_valueProblem) {
        m_valueProblem = {};
    }
    return value;
}
