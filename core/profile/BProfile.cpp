#include "core/profile/BProfile.h"

#include "core/base/BError.h"
#include "core/base/ErrorCodes.h"
#include "core/file/BFile.h"
#include "core/platform/FormatText.h"
#include "core/platform/PrivateProfile.h"
#include "core/platform/ScanText.h"
#include "core/profile/MadeText.h"
#include "core/profile/ProfileBuffer.h"
#include "core/profile/TextProfile.h"
#include "core/profile/WriteBack.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <iterator>
#include <type_traits>
#include <typeinfo>
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

// A key of a numbered family that takes no memory: programs read thousands of values by such keys.
// Written from its end, as digits come.
class NumberedKey {
public:
    NumberedKey(platform::WideView key, int index)
    {
        if (key.size() > std::size(m_text) - platform::kIntegerTextRoom)
            return;
        WChar* begin = m_text + kEnd;
        *begin = 0;
        auto number = static_cast<unsigned>(index);
        number = index < 0 ? 0 - number : number;
        do {
            *--begin = static_cast<WChar>(QD_W('0') + number % 10);
        } while ((number /= 10) != 0);
        if (index < 0)
            *--begin = QD_W('-');
        m_length = static_cast<std::size_t>(m_text + kEnd - begin) + key.size();
        std::copy_backward(key.begin(), key.end(), begin);
    }
    [[nodiscard]] bool IsTooLong() const { return m_length == 0; }
    [[nodiscard]] platform::WideView Text() const { return {m_text + kEnd - m_length, m_length}; }

private:
    static constexpr std::size_t kEnd = 255;

    WChar m_text[kEnd + 1];
    std::size_t m_length = 0;
};

bool ReadNumber(const WChar* text, int& value)
{
    return platform::ReadInt(text, value);
}

// What follows one is told, but does not matter.
bool ReadNumber(const WChar* text, double& value)
{
    return platform::ScanDouble(text, value);
}

// Whether `text` is the default as it is given: the blanks at its end are not.
bool IsDefault(platform::WideView text, platform::WideView defaultValue)
{
    return text == defaultValue.substr(0, defaultValue.find_last_not_of(u' ') + 1);
}

} // namespace

// These are what each read of a number runs through. They are small and in one piece with it:
// behind a call of the system each return is one that the processor did not foresee.

// What a longer text has behind that is cut off: no number is as long.
inline void BProfile::ReadShort(platform::WideView key, WChar* text, std::size_t room) const
{
    platform::ReadProfileText(m_path.AsView(), m_section.AsView(), key, QD_W(""), text, room);
}

inline bool BProfile::ReadNumbered(const WString& key, int index, WChar* text,
                                   std::size_t room) const
{
    const NumberedKey numbered(key.AsView(), index);
    // A derived class may read plain keys in another way.
    if (numbered.IsTooLong() || typeid(*this) != typeid(BProfile))
        return false;
    ReadShort(numbered.Text(), text, room);
    return true;
}

inline void BProfile::TellFound() const
{
    if (!m_default.IsEmpty())
        m_default.Clear();
    if (m_problem)
        m_problem = {};
}

template <class Value>
bool BProfile::Take(const WChar* text, Value& value) const
{
    if (!ReadNumber(text, value))
        return false;
    TellFound();
    return true;
}

template <class Value>
Value BProfile::Default(const WChar* text, const WString& key, Value value)
{
    if (*text != 0) {
        TellRead(EProblem::OtherValue, key);
        return value;
    }
    TellRead(EProblem::NoValue, key);
    const WriteBack writeBack(m_defaults, m_section, key, WString());
    if (m_mode == ProfileReadOnly)
        return value;
    if constexpr (std::is_same_v<Value, int>)
        WriteInt(key, value);
    else
        WriteDouble(key, value);
    return value;
}

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
    return Tell(m_problem, WriteTextProfileBlock(m_path, m_section, key, data, size));
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
    WChar text[256];
    if (!ReadNumbered(key, index, text, std::size(text)))
        return ReadInt(IndexedKey(key, index), defaultValue);
    int value = defaultValue;
    return Take(text, value) ? value : Default(text, IndexedKey(key, index), value);
}

int BProfile::ReadInt(WString key, int defaultValue)
{
    WChar text[256];
    ReadShort(key.AsView(), text, std::size(text));
    int value = defaultValue;
    return Take(text, value) ? value : Default(text, key, value);
}

double BProfile::ReadDouble(int index, WString key, double defaultValue)
{
    WChar text[128];
    if (!ReadNumbered(key, index, text, std::size(text)))
        return ReadDouble(IndexedKey(key, index), defaultValue);
    double value = defaultValue;
    return Take(text, value) ? value : Default(text, IndexedKey(key, index), value);
}

double BProfile::ReadDouble(WString key, double defaultValue)
{
    WChar text[128];
    ReadShort(key.AsView(), text, std::size(text));
    double value = defaultValue;
    return Take(text, value) ? value : Default(text, key, value);
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
        ReadShort(key.AsView(), text, std::size(text));
    TellRead(isRead ? EProblem::None : *text != 0 ? EProblem::OtherValue : EProblem::NoValue, key);
    return isRead;
}

bool BProfile::ReadBoolean(WString key, bool defaultValue)
{
    WChar text[256];
    ReadShort(key.AsView(), text, std::size(text));
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

void BProfile::TellRead(EProblem code, const WString& key) const
{
    if (code == EProblem::None)
        return TellFound();
    m_default.Clear();
    TellValue(m_problem, code, m_section, key);
}
