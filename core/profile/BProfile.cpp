#include "core/profile/BProfile.h"

#include "core/base/BError.h"
#include "core/base/ErrorCodes.h"
#include "core/file/BDirEntry.h"
#include "core/file/BFile.h"
#include "core/platform/ByteOrderMark.h"
#include "core/platform/FileReplacement.h"
#include "core/platform/FileSystem.h"
#include "core/platform/PrivateProfile.h"
#include "core/platform/ScanText.h"
#include "core/profile/MadeText.h"
#include "core/profile/ProfileBuffer.h"
#include "core/profile/WriteBack.h"

#include <cstdio>
#include <iterator>
#include <string_view>
#include <utility>
#include <vector>

namespace {

// Who updates a profile locks its folder, so that comes first.
bool MakeFolder(const WString& path)
{
    BDirEntry folder(path);
    if (!folder.RemoveFileSpec()) // too long to tell
        return true;
    // Another process may make it meanwhile.
    return folder.Exists() || folder.MakeDir() || folder.Exists();
}

bool WriteEmptyFile(const WString& path)
{
    constexpr std::string_view mark = platform::kUtf16Mark;
    platform::FileReplacement file(path, platform::FileReplacement::ESync::No);
    return file.Stream() != nullptr &&
           std::fwrite(mark.data(), 1, mark.size(), file.Stream()) == mark.size() && file.Commit();
}

WString DoubleText(double value)
{
    WString text;
    text.Printf(QD_W("%.15g"), value);
    return Made(text);
}

WString BooleanText(bool value)
{
    return Made(value ? QD_W("TRUE") : QD_W("FALSE"));
}

bool IsMissing(const WString& path)
{
    return platform::Presence(path) == platform::EPresence::Missing;
}

} // namespace

BProfile::BProfile(WString path, EProfileMode mode)
    : m_path(std::move(path))
    , m_section(Made(QD_W("default")))
    , m_mode(mode)
{
    if (m_mode == ProfileReadOnly || (m_mode != ProfileNew && !IsMissing(m_path)) ||
        !MakeFolder(m_path))
        return;
    const platform::ProfileUpdate update(m_path);
    if (update.IsLocked() && (m_mode == ProfileNew || IsMissing(m_path)))
        CreateNew(m_path);
}

BProfile::BProfile(const BProfile& other)
    : BProfileBase(other)
    , m_path(other.m_path)
    , m_section(other.m_section)
    , m_mode(other.m_mode)
{}

BProfile& BProfile::operator=(const BProfile& other)
{
    BProfileBase::operator=(other);
    m_path = other.m_path;
    m_section = other.m_section;
    m_mode = other.m_mode;
    return *this;
}

BProfile::~BProfile() = default;

int BProfile::WriteString(const WString& path, const WString& section, const WString& key,
                          const WString& value)
{
    return Write(path, section, key, value, nullptr);
}

bool BProfile::IsValid() const
{
    return BFile().OpenShared(m_path, QD_W("a+b"));
}

void BProfile::SetSection(WString section)
{
    m_section = std::move(section);
}

WString BProfile::GetSection()
{
    return m_section;
}

bool BProfile::WriteString(int index, WString key, WString value)
{
    return WriteString(IndexedKey(key, index), std::move(value));
}

bool BProfile::WriteString(WString key, WString value)
{
    CheckMode();
    return Write(m_path, m_section, key, value, WriteBack::Replaced(m_writeBack, m_section, key)) ==
           0;
}

bool BProfile::WriteInt(int index, WString key, int value)
{
    return WriteInt(IndexedKey(key, index), value);
}

bool BProfile::WriteInt(WString key, int value)
{
    return WriteString(std::move(key), Made(WString::FromInt(value)));
}

bool BProfile::WriteDouble(int index, WString key, double value)
{
    return WriteDouble(IndexedKey(key, index), value);
}

bool BProfile::WriteDouble(WString key, double value)
{
    return WriteString(std::move(key), DoubleText(value));
}

bool BProfile::WriteMem(int index, WString key, void* data, unsigned int size)
{
    return WriteMem(IndexedKey(key, index), data, size);
}

bool BProfile::WriteMem(WString key, void* data, unsigned int size)
{
    CheckMode();
    return platform::ProfileUpdate(m_path).SetBlock(m_section, key, data, size);
}

bool BProfile::WriteBoolean(WString key, bool value)
{
    return WriteString(std::move(key), BooleanText(value));
}

WString BProfile::ReadString(int index, WString key, WString defaultValue)
{
    return ReadString(IndexedKey(key, index), std::move(defaultValue));
}

WString BProfile::ReadString(WString key, WString defaultValue)
{
    const ProfileBuffer text(0, [&](WChar* buffer, std::size_t room) {
        return platform::ReadProfileText(m_path, m_section, key, defaultValue, buffer, room);
    });
    if (*text.Text() != 0)
        return Made(text.Text());
    const WString nothing;
    const WriteBack writeBack(m_writeBack, m_section, key, nothing);
    if (m_mode != ProfileReadOnly && !defaultValue.IsEmpty())
        WriteString(key, defaultValue);
    return defaultValue;
}

int BProfile::ReadInt(int index, WString key, int defaultValue)
{
    return ReadInt(IndexedKey(key, index), defaultValue);
}

int BProfile::ReadInt(WString key, int defaultValue)
{
    constexpr std::size_t room = 256;
    const WString text = ReadShort(key, room);
    if (text.IsEmpty()) {
        const WriteBack writeBack(m_writeBack, m_section, key, text);
        if (m_mode != ProfileReadOnly)
            WriteInt(key, defaultValue);
        return defaultValue;
    }
    const WChar* rest = text;
    int value = defaultValue;
    return platform::ReadInt(rest, value) ? value : defaultValue;
}

double BProfile::ReadDouble(int index, WString key, double defaultValue)
{
    return ReadDouble(IndexedKey(key, index), defaultValue);
}

double BProfile::ReadDouble(WString key, double defaultValue)
{
    constexpr std::size_t room = 128;
    const WString text = ReadShort(key, room);
    if (text.IsEmpty()) {
        const WriteBack writeBack(m_writeBack, m_section, key, text);
        if (m_mode != ProfileReadOnly)
            WriteDouble(key, defaultValue);
        return defaultValue;
    }
    double value = defaultValue; // kept when there is no number; what follows one does not matter
    static_cast<void>(platform::ScanDouble(text, value));
    return value;
}

bool BProfile::ReadMem(int index, WString key, void* data, unsigned int size)
{
    return ReadMem(IndexedKey(key, index), data, size);
}

bool BProfile::ReadMem(WString key, void* data, unsigned int size)
{
    return platform::ReadProfileBlock(m_path, m_section, key, data, size);
}

bool BProfile::ReadBoolean(WString key, bool defaultValue)
{
    constexpr std::size_t room = 256;
    const WString text = ReadShort(key, room);
    if (!text.IsEmpty())
        return text.IEqual(QD_W("TRUE"));
    const WriteBack writeBack(m_writeBack, m_section, key, text);
    if (m_mode != ProfileReadOnly)
        WriteBoolean(key, defaultValue);
    return defaultValue;
}

void BProfile::DeleteKey(WString key)
{
    CheckMode();
    static_cast<void>(platform::ProfileUpdate(m_path).SetText(m_section, key, nullptr));
}

void BProfile::DeleteSection()
{
    CheckMode();
    static_cast<void>(platform::ProfileUpdate(m_path).RemoveSection(m_section));
}

bool BProfile::ExistsSection(WString section) const
{
    constexpr std::size_t room = 1024;
    WChar buffer[room];
    return platform::ReadProfileSection(m_path, section, buffer, room) > 0;
}

int BProfile::Write(const WString& path, const WString& section, const WString& key,
                    const WString& value, const WString* replaced)
{
    using platform::EPresence;
    if (IsMissing(path) && !MakeFolder(path))
        return kErrorFileNotWritten;
    platform::ProfileUpdate update(path);
    const EPresence presence = update.IsLocked() ? platform::Presence(path) : EPresence::Unknown;
    if (presence == EPresence::Unknown || (presence == EPresence::Missing && CreateNew(path) != 0))
        return kErrorFileNotWritten;
    // Eight bits would keep another text than this one.
    if (presence == EPresence::There && value.Includes16bitChars() &&
        BFile::ConvertToUnicode(path) != 0)
        return kErrorFileNotWritten;
    const bool isWritten = replaced != nullptr ? update.ExchangeText(section, key, *replaced, value)
                                               : update.SetText(section, key, value);
    return isWritten ? 0 : kErrorFileNotWritten;
}

int BProfile::CreateNew(const WString& path)
{
    return MakeFolder(path) && WriteEmptyFile(path) ? 0 : kErrorFileNotWritten;
}

void BProfile::CheckMode() const
{
    if (m_mode == ProfileReadOnly)
        throw BError(kErrorGeneral, QD_W("$IDS_ErrorHint61"), nullptr, nullptr, nullptr);
}

WString BProfile::ReadShort(const WString& key, std::size_t room) const
{
    constexpr std::size_t largestRoom = 256;
    WChar buffer[largestRoom];
    platform::ReadProfileText(m_path, m_section, key, QD_W(""), buffer, room);
    return MadeOf(buffer);
}
