#include "core/profile/BIniProfile.h"

#include "core/base/ErrorCodes.h"
#include "core/platform/PrivateProfile.h"
#include "core/profile/MadeText.h"
#include "core/profile/ProfileBuffer.h"
#include "core/profile/TextProfile.h"

#include <iterator>
#include <typeinfo>
#include <utility>

// The store behind `IProfile` for the text files of `BProfile`: what is written goes by the
// functions of TextProfile.h, so that both make the same files.

namespace {

// Intended: the system is told of one unit more than the limit of a value, which cuts a value or a
// list one unit later than a `BProfile` does.
constexpr std::size_t kExtraRoom = 1;

// Intended: cut to 32 bits, which the system's functions take.
unsigned int BlockSize(std::size_t size)
{
    return static_cast<unsigned int>(size);
}

BArray<WString> Split(const ProfileBuffer& list)
{
    BArray<WString> texts;
    for (std::size_t begin = 0; begin < list.Length();) {
        texts.Append(MadeOf(list.Text() + begin));
        begin += texts[texts.Count() - 1].Length() + 1;
    }
    return texts;
}

} // namespace

BIniProfile::BIniProfile(const WString& path, const WString& section, bool writeMissingKey)
    : IProfile(TypeIni, path, writeMissingKey)
{
    LoadSection(section, nullptr);
}

BIniProfile::BIniProfile(const BIniProfile& other) = default;
BIniProfile::BIniProfile(BIniProfile&& other) noexcept = default;
BIniProfile& BIniProfile::operator=(const BIniProfile& other) = default;
BIniProfile& BIniProfile::operator=(BIniProfile&& other) noexcept = default;
BIniProfile::~BIniProfile() = default;

bool BIniProfile::WriteInt(const WString& key, int value) const
{
    return Write(key, value);
}

int BIniProfile::GetInt(const WString& key, int defaultValue) const
{
    constexpr int most = 2147483645;
    int value = defaultValue;
    Read(key, value, -most, most);
    return value;
}

bool BIniProfile::GetSections(BArray<WString>& out) const
{
    out.RemoveAll();
    const WString path = Path();
    if (path.IsEmpty())
        return false;
    out = Split(ProfileBuffer(kExtraRoom, [&](WChar* buffer, std::size_t room) {
        return platform::ReadProfileSectionNames(path, buffer, room);
    }));
    return out.Count() != 0;
}

bool BIniProfile::WriteMem(const WString& key, void* data, std::size_t size) const
{
    return TellWritten(WriteTextProfileBlock(Path(), GetSection(), key, data, BlockSize(size)));
}

bool BIniProfile::ReadMem(const WString& key, void* data, std::size_t size) const
{
    const bool isRead =
        platform::ReadProfileBlock(Path(), GetSection(), key, data, BlockSize(size));
    WChar text[2] = {};
    if (!isRead)
        platform::ReadProfileText(Path().AsView(), GetSection().AsView(), key.AsView(), QD_W(""),
                                  text, std::size(text));
    TellRead(isRead ? EProblem::None : *text != 0 ? EProblem::OtherValue : EProblem::NoValue, key);
    return isRead;
}

void BIniProfile::DeleteKeyImpl(const WString& key) const
{
    TellWritten(platform::ProfileUpdate(Path()).SetText(GetSection(), key, nullptr));
}

bool BIniProfile::WriteKeyImpl(const WString& key, const WString& value) const
{
    return TellWritten(WriteTextProfile(Path(), GetSection(), key, value, Replaced(key)) ==
                       kErrorNone);
}

WString BIniProfile::GetString(const WString& key, const WString& defaultValue)
{
    const auto read = [&](const WString& missing) {
        const ProfileBuffer text(kExtraRoom, [&](WChar* buffer, std::size_t room) {
            return platform::ReadProfileText(Path().AsView(), GetSection().AsView(), key.AsView(),
                                             missing.AsView(), buffer, room);
        });
        return MadeOf(text.Text());
    };
    // Twice, as the system does not tell a missing key from one that has the default's text. A key
    // that comes between the two is as good as one that was there.
    WString found = read(WString());
    Found(key, found);
    if (!found.IsEmpty() || defaultValue.IsEmpty())
        return found;
    WString text = read(defaultValue); // still empty where the key is there
    if (text.IsEmpty() && WriteMissingKey())
        WriteDefault(key, defaultValue);
    return text;
}

bool BIniProfile::DeleteSectionImpl(const WString& section) const
{
    return TellWritten(platform::ProfileUpdate(Path()).RemoveSection(section));
}

BArray<WString> BIniProfile::GetAllKeys()
{
    return Split(ProfileBuffer(kExtraRoom, [&](WChar* buffer, std::size_t room) {
        return platform::ReadProfileText(Path().AsView(), GetSection().AsView(),
                                         platform::WideView(), QD_W(""), buffer, room);
    }));
}

const char* BIniProfile::CLASSNAME()
{
    return ClassName(typeid(BIniProfile));
}

// The interface's accessor is not constant.
WString BIniProfile::Path() const
{
    return const_cast<BIniProfile&>(*this).GetPath();
}
