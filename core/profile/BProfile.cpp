#include "core/profile/BProfile.h"

#include "core/base/BError.h"
#include "core/base/ErrorCodes.h"
#include "core/file/BFile.h"
#include "core/platform/PrivateProfile.h"
#include "core/platform/ScanText.h"
#include "core/profile/MadeText.h"
#include "core/profile/ProfileBuffer.h"
#include "core/profile/TextProfile.h"
#include "core/profile/WriteBack.h"

#include <cassert>
#include <cstddef>
#include <iterator>
#include <utility>

// Nothing of the file is kept here: several objects and processes share it, and what is kept would
// be out of date. A read is cheap all the same, as the seam, or on Windows the system, keeps the
// file while it does not change.
//
// A reader of numbers asks for the text with an empty default, so that it knows a missing key from
// one that has the default's text, and writes the default by the virtual writer of its kind.

namespace {

// Fifteen digits: what a user typed comes back as it was typed, where seventeen would show how a
// double rounds it.
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

// Whether `text` is the default as it is given: the blanks at its end are not.
bool IsDefault(platform::WideView text, platform::WideView defaultValue)
{
    return text == defaultValue.substr(0, defaultValue.find_last_not_of(u' ') + 1);
}

} // namespace

BProfile::BProfile(WString path, EProfileMode mode)
    : m_path(std::move(path))
    , m_section(Made(QD_W("default")))
    , m_mode(mode)
{
    // Made beforehand, as the system would make one in the ANSI code page, which loses texts.
    if (m_mode != ProfileReadOnly)
        Tell(m_problem, MakeTextProfile(m_path, m_mode == ProfileNew));
}

BProfile::BProfile(const BProfile& other) = default;
BProfile& BProfile::operator=(const BProfile& other) = default;
BProfile::~BProfile()
{
    assert(m_defaults.innermost == nullptr); // no reader is at work
}

int BProfile::WriteString(const WString& path, const WString& section, const WString& key,
                          const WString& value)
{
    return WriteTextProfile(path, section, key, value, nullptr);
}

bool BProfile::IsValid() const
{
    return Tell(m_problem, BFile().OpenShared(m_path, QD_W("a+b"))); // to read and write
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
    // Where this is a reader's default on its way: what the reader found, which alone it replaces.
    const WString* const replaced = WriteBack::Replaced(m_defaults, m_section, key);
    return Tell(m_problem, WriteTextProfile(m_path, m_section, key, value, replaced) == kErrorNone);
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
    return Tell(m_problem, platform::ProfileUpdate(m_path).SetBlock(m_section, key, data, size));
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
        return platform::ReadProfileText(m_path.AsView(), m_section.AsView(), key.AsView(),
                                         defaultValue.AsView(), buffer, room);
    });
    if (*text.Text() != 0) {
        WString given = Made(text.Text());
        TellRead(IsDefault(text.Text(), platform::WideView(defaultValue)) ? EProblem::NoValue
                                                                          : EProblem::None,
                 key);
        m_default = given; // looked at when asked
        return given;
    }
    TellRead(EProblem::NoValue, key);
    // Empty: the key is there without a text, or there is neither key nor default.
    const WString nothing;
    const WriteBack writeBack(m_defaults, m_section, key, nothing);
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
    WChar text[256];
    ReadShort(key, text, std::size(text));
    if (*text == 0) {
        TellRead(EProblem::NoValue, key);
        const WriteBack writeBack(m_defaults, m_section, key, WString());
        if (m_mode != ProfileReadOnly)
            WriteInt(key, defaultValue);
        return defaultValue;
    }
    const WChar* rest = text;
    int value = defaultValue;
    const bool isNumber = platform::ReadInt(rest, value);
    TellRead(isNumber ? EProblem::None : EProblem::OtherValue, key);
    return isNumber ? value : defaultValue;
}

double BProfile::ReadDouble(int index, WString key, double defaultValue)
{
    return ReadDouble(IndexedKey(key, index), defaultValue);
}

double BProfile::ReadDouble(WString key, double defaultValue)
{
    WChar text[128];
    ReadShort(key, text, std::size(text));
    if (*text == 0) {
        TellRead(EProblem::NoValue, key);
        const WriteBack writeBack(m_defaults, m_section, key, WString());
        if (m_mode != ProfileReadOnly)
            WriteDouble(key, defaultValue);
        return defaultValue;
    }
    double value = defaultValue; // kept when there is no number; what follows one does not matter
    const bool isNumber = platform::ScanDouble(text, value);
    TellRead(isNumber ? EProblem::None : EProblem::OtherValue, key);
    return value;
}

bool BProfile::ReadMem(int index, WString key, void* data, unsigned int size)
{
    return ReadMem(IndexedKey(key, index), data, size);
}

bool BProfile::ReadMem(WString key, void* data, unsigned int size)
{
    const bool isRead = platform::ReadProfileBlock(m_path, m_section, key, data, size);
    WChar text[2] = {};
    if (!isRead)
        ReadShort(key, text, std::size(text));
    TellRead(isRead ? EProblem::None : *text != 0 ? EProblem::OtherValue : EProblem::NoValue, key);
    return isRead;
}

bool BProfile::ReadBoolean(WString key, bool defaultValue)
{
    WChar text[256];
    ReadShort(key, text, std::size(text));
    // Any other text is false, and stays in the file.
    if (*text != 0) {
        TellRead(EProblem::None, key);
        return MadeOf(text).IEqual(QD_W("TRUE"));
    }
    TellRead(EProblem::NoValue, key);
    const WriteBack writeBack(m_defaults, m_section, key, WString());
    if (m_mode != ProfileReadOnly)
        WriteBoolean(key, defaultValue);
    return defaultValue;
}

void BProfile::DeleteKey(WString key)
{
    CheckMode();
    Tell(m_problem, platform::ProfileUpdate(m_path).SetText(m_section, key, nullptr));
}

void BProfile::DeleteSection()
{
    CheckMode();
    Tell(m_problem, platform::ProfileUpdate(m_path).RemoveSection(m_section));
}

bool BProfile::ExistsSection(WString section) const
{
    constexpr std::size_t room = 1024; // any text of it will do
    WChar buffer[room];
    return platform::ReadProfileSection(m_path, section, buffer, room) > 0;
}

BProblem BProfile::Problem() const
{
    BProblem problem = Explained(m_problem, m_path);
    if (problem.code != EProblem::NoValue || m_default.IsEmpty())
        return problem;
    // Another text that is there now was not read for want of memory, say.
    const ProfileBuffer text(0, [&](WChar* buffer, std::size_t room) {
        return platform::ReadProfileText(m_path.AsView(), problem.detail.AsView(),
                                         problem.name.AsView(), QD_W(""), buffer, room);
    });
    const bool isDefault = platform::WideView(text.Text()) == platform::WideView(m_default);
    return isDefault ? BProblem() : problem;
}

void BProfile::CheckMode() const
{
    if (m_mode == ProfileReadOnly)
        throw BError(kErrorGeneral, QD_W("$IDS_ErrorHint61"), nullptr, nullptr, nullptr);
}

// What a longer text has behind that is cut off: no number is as long.
void BProfile::ReadShort(const WString& key, WChar* text, std::size_t room) const
{
    platform::ReadProfileText(m_path.AsView(), m_section.AsView(), key.AsView(), QD_W(""), text,
                              room);
}

void BProfile::TellRead(EProblem code, const WString& key) const
{
    m_default.Clear();
    if (code != EProblem::None)
        TellValue(m_problem, code, m_section, key);
    else if (m_problem)
        m_problem = {};
}
