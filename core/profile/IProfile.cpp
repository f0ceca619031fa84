#include "core/profile/IProfile.h"

#include "core/base/BString.h"
#include "core/platform/CharClass.h"
#include "core/platform/Path.h"
#include "core/platform/ScanText.h"
#include "core/platform/SystemTime.h"
#include "core/platform/WideText.h"
#include "core/profile/BIniProfile.h"
#include "core/profile/MadeText.h"
#include "core/profile/TextProfile.h"
#include "core/profile/WriteBack.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <typeinfo>
#include <utility>

// All readers come down to `Read(key, WString&)`, all writers to `WriteKeyImpl`, by way of virtual
// functions: a derived class that keeps other texts, or keeps them elsewhere, overrides one of
// those and has the rest.
//
// Between a reader's look and the write of its default another process may put a value there, and a
// default must not replace it. The reader cannot lock the store, of which it knows nothing. So it
// leaves a mark with what it found (see WriteBack.h), and the store's `WriteKeyImpl` asks what it
// may replace, under its own lock.
//
// Each of them begins without a problem, as the function of that class may tell none.

namespace {

using platform::WideView;

// Day 0 of the dates that applications on Windows keep as numbers.
constexpr platform::TimeStamp kNoTime = {
    .month = 12, .day = 30, .year = 1899, .hour = 0, .minute = 0, .second = 0, .millisecond = 0};

void SkipBlanks(const WChar*& text)
{
    while (*text != 0 && platform::IsSpace(*text))
        ++text;
}

// A number with `separator` behind it, blanks around both; a blank stands for none.
bool ReadField(const WChar*& text, int& field, WChar separator)
{
    if (!platform::ReadInt(text, field))
        return false;
    SkipBlanks(text);
    if (separator == QD_W(' '))
        return true;
    return *text++ == separator;
}

// Intended: what follows the milliseconds does not matter, as scanning ends with them.
bool ReadTimeStamp(const WChar* text, platform::TimeStamp& stamp)
{
    return ReadField(text, stamp.month, QD_W('/')) && ReadField(text, stamp.day, QD_W('/')) &&
           ReadField(text, stamp.year, QD_W(' ')) && ReadField(text, stamp.hour, QD_W(':')) &&
           ReadField(text, stamp.minute, QD_W(':')) && ReadField(text, stamp.second, QD_W('.')) &&
           ReadField(text, stamp.millisecond, QD_W(' '));
}

// A text in another type of unit than ours is converted; ours is taken as it stands.
template <class Unit>
WString OwnUnits(const Unit* text)
{
    if constexpr (std::is_same_v<Unit, WChar>)
        return text;
    else if constexpr (std::is_same_v<Unit, char16_t>)
        return WString::FromUtf16(text);
    else
        return WString::FromWide(text);
}

// A number of 64 bits that has no text as an int.
template <class Whole>
WString WholeText(Whole value)
{
    WString text;
    text.Printf(std::is_signed_v<Whole> ? QD_W("%I64d") : QD_W("%I64u"), value);
    return Made(text);
}

enum class ELarge { None, Read, TooLarge };

// Reads the number that the text begins with when an int does not hold it.
template <class Whole>
ELarge ReadLarge(const WChar* text, Whole& value)
{
    SkipBlanks(text);
    const bool isNegative = *text == QD_W('-');
    std::uint64_t number = 0;
    for (text += isNegative || *text == QD_W('+'); *text >= QD_W('0') && *text <= QD_W('9');
         ++text) {
        const auto digit = static_cast<std::uint64_t>(*text - QD_W('0'));
        if (number > ((std::numeric_limits<std::uint64_t>::max)() - digit) / 10)
            return ELarge::TooLarge;
        number = number * 10 + digit;
    }
    constexpr std::uint64_t mostOfInt = std::numeric_limits<int>::max();
    if (number <= mostOfInt + isNegative)
        return ELarge::None;
    constexpr auto most = static_cast<std::uint64_t>((std::numeric_limits<Whole>::max)());
    if (isNegative ? std::is_unsigned_v<Whole> || number > most + 1 : number > most)
        return ELarge::TooLarge;
    value = static_cast<Whole>(isNegative ? 0 - number : number);
    return ELarge::Read;
}

} // namespace

IProfile::IProfile(ETypes type, const WString& path, bool writeMissingKey)
    : m_path(path)
    , m_type(type)
    , m_writeMissingKey(writeMissingKey)
{}

IProfile::IProfile()
{
    Init();
}

IProfile::IProfile(const IProfile& other) = default;
IProfile& IProfile::operator=(const IProfile& other) = default;
IProfile::~IProfile()
{
    assert(m_defaults.innermost == nullptr); // no reader is at work
}

WString IProfile::GetSubProfileEntry(const WString& section, const WString& key)
{
    WString value;
    if (!LoadSection(section, nullptr) || !Read(key, value))
        return {};
    return HasDir(value) ? value : GetDir() + value;
}

// Intended: a path with a part that is longer than the runtime library takes has no folder.
bool IProfile::HasDir(const WString& path) const
{
    constexpr std::size_t partRoom = 256;
    WideView rest = path.CStr();
    const bool hasDrive = rest.size() > 1 && rest[1] == QD_W(':');
    if (hasDrive)
        rest.remove_prefix(2);
    const std::size_t folderLength = rest.find_last_of(QD_W("/\\")) + 1; // 0 when there is none
    rest.remove_prefix(folderLength);
    const std::size_t nameLength = std::min(rest.rfind(QD_W('.')), rest.size());
    return (hasDrive || folderLength != 0) && folderLength < partRoom && nameLength < partRoom &&
           rest.size() - nameLength < partRoom;
}

WString IProfile::GetPath()
{
    return m_path;
}

WString IProfile::GetDir()
{
    WString folder = GetPath();
    folder.CutAfter(platform::SeparatorFor(folder), false);
    return folder;
}

const bool& IProfile::WriteMissingKey() const
{
    return m_writeMissingKey;
}

const WString& IProfile::GetSection() const
{
    return m_section;
}

bool IProfile::GetSections(BArray<WString>&) const
{
    return false;
}

bool IProfile::LoadSection(const WString& section, BArray<WString>* keys) const
{
    m_section = section;
    if (m_section.IsEmpty())
        return false;
    const BArray<WString> found = Store().GetAllKeys();
    if (keys != nullptr)
        *keys = found;
    TellRead(found.Count() != 0 ? EProblem::None : EProblem::NoValue, WString());
    return found.Count() != 0;
}

void IProfile::SetSection(const WString& section) const
{
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): it may be the current one itself
    const WString chosen = section;
    // A derived class that keeps a section hears by this that it is left, but reads no new one yet.
    LoadSection(WString(), nullptr);
    m_section = chosen;
}

bool IProfile::DeleteSection(const WString& section) const
{
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): it may be the current one itself
    const WString deleted = section;
    // Left before it goes, by the same way.
    if (deleted.IEqual(m_section))
        LoadSection(WString(), nullptr);
    TellRead(EProblem::None, WString());
    return DeleteSectionImpl(deleted);
}

bool IProfile::Write(const WString& key, const _SYSTEMTIME& value) const
{
    TellRead(EProblem::None, key);
    const platform::TimeStamp stamp = platform::ToTimeStamp(value);
    WString text;
    text.Printf(QD_W("%02d/%02d/%04d %02d:%02d:%02d.%03d"), stamp.month, stamp.day, stamp.year,
                stamp.hour, stamp.minute, stamp.second, stamp.millisecond);
    return WriteString(key, Made(text));
}

bool IProfile::Write(const WString& key, bool value) const
{
    TellRead(EProblem::None, key);
    return WriteString(key, Store().Convert(value));
}

// Intended: a number of 32 bits has the text of the int, also on Linux, where an unsigned long has
// 64: the file may be read on Windows.
bool IProfile::Write(const WString& key, unsigned long value) const
{
    if (!std::in_range<std::uint32_t>(value))
        return Write(key, static_cast<unsigned long long>(value));
    return Write(key, static_cast<int>(value));
}

bool IProfile::Write(const WString& key, long value) const
{
    if (!std::in_range<int>(value))
        return Write(key, static_cast<long long>(value));
    return Write(key, static_cast<int>(value));
}

bool IProfile::Write(const WString& key, int value) const
{
    return Write(key, Store().Convert(value));
}

bool IProfile::Write(const WString& key, double value) const
{
    TellRead(EProblem::None, key);
    return WriteString(key, Store().Convert(value));
}

bool IProfile::Write(const WString& key, const WString& value) const
{
    TellRead(EProblem::None, key);
    return WriteString(key, value);
}

// Intended: a missing time stamp resets the caller's, and a default is never written.
bool IProfile::Read(const WString& key, _SYSTEMTIME& value) const
{
    TellRead(EProblem::None, key);
    WString text;
    platform::TimeStamp stamp = {};
    const bool isRead = Read(key, text) && IsUsable(key, ReadTimeStamp(text, stamp));
    platform::SetTime(value, isRead ? stamp : kNoTime);
    return isRead;
}

// Intended: unlike a bad number, a text that is neither true nor false is not overwritten.
bool IProfile::Read(const WString& key, bool& value) const
{
    TellRead(EProblem::None, key);
    WString text = DefaultText(value);
    return Read(key, text) && IsUsable(key, Convert(text, value));
}

bool IProfile::Read(const WString& key, unsigned char& value, int min, int max) const
{
    return ReadInteger(key, value, min, max);
}

bool IProfile::Read(const WString& key, unsigned short& value, int min, int max) const
{
    return ReadInteger(key, value, min, max);
}

bool IProfile::Read(const WString& key, unsigned long& value, int min, int max) const
{
    // By 32 bits on Linux, too, so that a file means the same on both systems.
    auto number = static_cast<std::uint32_t>(value);
    if (!ReadInteger(key, number, min, max))
        return false;
    value = number;
    return true;
}

bool IProfile::Read(const WString& key, long& value, int min, int max) const
{
    return ReadInteger(key, value, min, max);
}

bool IProfile::Read(const WString& key, short& value, int min, int max) const
{
    return ReadInteger(key, value, min, max);
}

// Intended: a number out of bounds is clamped, and yet the answer is false; callers go by both.
bool IProfile::Read(const WString& key, int& value, int min, int max) const
{
    TellRead(EProblem::None, key);
    WriteBack writeBack(m_defaults, m_section, key);
    WString text = DefaultText(value);
    if (!Read(key, text))
        return false;
    int number = 0;
    if (!Convert(text, number)) {
        // The bad text is replaced, as long as it is still that one.
        writeBack.Begin(text);
        if (!WriteMissingKey() || Write(key, value))
            TellRead(EProblem::OtherValue, key);
        return false;
    }
    value = number < min ? min : number > max ? max : number;
    if (value != number)
        TellRead(EProblem::OutOfRange, key, number);
    return value == number;
}

// Intended: single precision, as the texts of this interface have six digits.
bool IProfile::Read(const WString& key, double& value) const
{
    auto narrowed = static_cast<float>(value);
    if (!Read(key, narrowed))
        return false;
    value = static_cast<double>(narrowed);
    return true;
}

bool IProfile::Read(const WString& key, float& value) const
{
    TellRead(EProblem::None, key);
    const auto widened = static_cast<double>(value);
    WriteBack writeBack(m_defaults, m_section, key);
    WString text = DefaultText(widened);
    if (!Read(key, text))
        return false;
    if (Convert(text, value))
        return true;
    writeBack.Begin(text);
    if (!WriteMissingKey() || Write(key, widened))
        TellRead(EProblem::OtherValue, key);
    return false;
}

bool IProfile::Read(const WString& key, WString& value) const
{
    WriteBack writeBack(m_defaults, m_section, key);
    const WString text = Store().GetString(key, WString());
    if (!text.IsEmpty()) {
        value = text;
        TellRead(EProblem::None, key);
        return true;
    }
    writeBack.Begin(text);
    // A default that cannot be written is what is told.
    if (!WriteMissingKey() || value.IsEmpty() || Write(key, value))
        TellRead(EProblem::NoValue, key);
    return false;
}

bool IProfile::WriteString(const WString& key, const WString& value) const
{
    TellRead(EProblem::None, key);
    return WriteKeyImpl(key, value);
}

bool IProfile::WriteMem(const WString&, void*, std::size_t) const
{
    return false;
}

bool IProfile::ReadMem(const WString&, void*, std::size_t) const
{
    return false;
}

bool IProfile::ReadHex(const WString& key, unsigned short& value) const
{
    unsigned long number = 0;
    if (!ReadHex(key, number, 4))
        return false;
    value = static_cast<unsigned short>(number); // four digits fit
    return true;
}

bool IProfile::ReadHex(const WString& key, unsigned long& value, int digits) const
{
    TellRead(EProblem::None, key);
    WString text;
    if (!Read(key, text))
        return false;
    text.TrimLeft();
    text.TrimRight();
    // Intended: the prefix counts whether it is there or not, so that "FF" is too short.
    constexpr std::size_t prefixLength = 2;
    const std::size_t length = text.Length();
    if (length <= prefixLength || digits < 0 ||
        length - prefixLength > static_cast<std::size_t>(digits))
        return IsUsable(key, false);
    const WChar* end = nullptr;
    const unsigned long number = platform::ParseHex(text, end);
    if (*end != 0 && !platform::IsSpace(*end))
        return IsUsable(key, false);
    value = number;
    return true;
}

void IProfile::DeleteKey(const WString& key)
{
    TellRead(EProblem::None, key);
    DeleteKeyImpl(key);
}

// A profile without a store, which derived classes give it: nothing is kept, every text is missing.

void IProfile::DeleteKeyImpl(const WString&) const {}

bool IProfile::WriteKeyImpl(const WString&, const WString&) const
{
    return false;
}

WString IProfile::GetString(const WString&, const WString& defaultValue)
{
    return defaultValue;
}

bool IProfile::DeleteSectionImpl(const WString&) const
{
    return false;
}

bool IProfile::Convert(WString text, bool& value) const
{
    text.ToUpper();
    const bool isTrue = WideView(text) == QD_W("TRUE");
    if (!isTrue && WideView(text) != QD_W("FALSE"))
        return false;
    value = isTrue;
    return true;
}

WString IProfile::Convert(bool value)
{
    return Made(value ? QD_W("TRUE") : QD_W("FALSE"));
}

bool IProfile::Convert(const WString& text, float& value) const
{
    // What follows a number does not matter.
    const WChar* rest = text;
    return platform::ReadFloat(rest, value);
}

WString IProfile::Convert(double value)
{
    WString text;
    text.Printf(QD_W("%g"), value);
    return Made(text);
}

bool IProfile::Convert(const WString& text, int& value) const
{
    const WChar* rest = text;
    return platform::ReadInt(rest, value);
}

// By way of a signed number, as its text was written: "-1" stands for the largest one.
bool IProfile::Convert(const WString& text, unsigned long& value) const
{
    int number = 0;
    if (!Convert(text, number))
        return false;
    value = static_cast<std::uint32_t>(number);
    return true;
}

WString IProfile::Convert(int value)
{
    return Made(WString::FromInt(value));
}

bool IProfile::Write(const WString& key, const WChar* value) const
{
    return Write(key, TextOf(value));
}

bool IProfile::Write(const WString& key, const BString& value) const
{
    return Write(key, TextOf(value.CStr()));
}

bool IProfile::Write(const WString& key, long long value) const
{
    if (std::in_range<int>(value))
        return Write(key, static_cast<int>(value));
    return Write(key, WholeText(value));
}

bool IProfile::Write(const WString& key, unsigned long long value) const
{
    if (std::in_range<std::uint32_t>(value))
        return Write(key, static_cast<unsigned long>(value));
    return Write(key, WholeText(value));
}

bool IProfile::Read(const WString& key, std::int64_t& value) const
{
    return ReadWhole(key, value);
}

bool IProfile::Read(const WString& key, std::uint64_t& value) const
{
    return ReadWhole(key, value);
}

BProblem IProfile::Problem() const
{
    const WString path = Store().GetPath();
    if (dynamic_cast<const BIniProfile*>(this) != nullptr)
        return Explained(m_problem, path);
    BProblem problem = m_problem; // of a store whose path may be no file's
    if (problem)
        problem.path = path;
    return problem;
}

bool IProfile::TellWritten(bool isWritten) const
{
    return Tell(m_problem, isWritten);
}

void IProfile::TellRead(EProblem code, const WString& key, int number) const
{
    if (code != EProblem::None)
        TellValue(m_problem, code, m_section, key, number);
    else if (m_problem)
        m_problem = {};
}

bool IProfile::IsUsable(const WString& key, bool isValue) const
{
    if (!isValue)
        TellRead(EProblem::OtherValue, key);
    return isValue;
}

void IProfile::Found(const WString& key, const WString& text) const
{
    WriteBack::Found(m_defaults, m_section, key, text);
}

const WString* IProfile::Replaced(const WString& key) const
{
    return WriteBack::Replaced(m_defaults, m_section, key);
}

bool IProfile::WriteDefault(const WString& key, const WString& value) const
{
    // As a reader that found nothing: a text that was put there meanwhile stays.
    const WString nothing; // is what was found
    const WriteBack writeBack(m_defaults, m_section, key, nothing);
    return WriteString(key, value);
}

void IProfile::Init() noexcept
{
    m_type = TypeNone;
    m_writeMissingKey = false;
}

const char* IProfile::CLASSNAME()
{
    return ClassName(typeid(IProfile));
}

// The text of a default is made only where it may be written: most reads find what they look for.
template <class Value>
WString IProfile::DefaultText(Value value) const
{
    return WriteMissingKey() ? Store().Convert(value) : WString();
}

WString IProfile::TextOf(const char* text)
{
    return text != nullptr && *text != 0 ? Made(WString(BString(text))) : WString();
}

WString IProfile::TextOf(const char8_t* text)
{
    return text != nullptr && *text != 0 ? Made(WString::FromUtf8(text)) : WString();
}

WString IProfile::TextOf(const char16_t* text)
{
    return text != nullptr && *text != 0 ? Made(OwnUnits(text)) : WString();
}

WString IProfile::TextOf(const wchar_t* text)
{
    return text != nullptr && *text != 0 ? Made(OwnUnits(text)) : WString();
}

// What an int does not hold is read here, as it was written; the rest by way of the int, whose text
// may be another one in a derived class.
template <class Whole>
bool IProfile::ReadWhole(const WString& key, Whole& value) const
{
    using Small = std::conditional_t<std::is_signed_v<Whole>, int, std::uint32_t>;
    TellRead(EProblem::None, key);
    WString text;
    if (WriteMissingKey())
        text = std::in_range<Small>(value) ? Store().Convert(static_cast<int>(value))
                                           : WholeText(value);
    if (!Read(key, text))
        return false;
    switch (ReadLarge(text, value)) {
    case ELarge::Read: return true;
    case ELarge::TooLarge: return IsUsable(key, false);
    case ELarge::None: break;
    }
    int number = 0;
    if (!IsUsable(key, Convert(text, number)))
        return false;
    value = static_cast<Small>(number);
    return true;
}

// Intended: out of bounds the value stays, other than with an int, which is clamped.
template <class Integer>
bool IProfile::ReadInteger(const WString& key, Integer& value, int min, int max) const
{
    auto number = static_cast<int>(value);
    if (!Read(key, number, min, max))
        return false;
    value = static_cast<Integer>(number);
    return true;
}

// The readers are constant, while some of the primitives that they go by are not.
IProfile& IProfile::Store() const noexcept
{
    return const_cast<IProfile&>(*this);
}
