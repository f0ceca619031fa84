// The input is a text profile. What was changed in memory must be what is read from the file, and
// a value that was written must come back.

#include "core/platform/ByteOrderMark.h"
#include "core/platform/WideText.h"
#include "core/platform/posix/IniText.h"
#include "core/profile/BIniProfile.h"
#include "core/profile/BProfile.h"

#include "fuzz/Target.h"
#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"

#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

using Names = BArray<WString>;

// Sections and keys that are changed: each change is compared with the text read anew.
constexpr std::uint64_t kMost = 2;

template <class Unit>
void RequireSame(const platform::IniText<Unit>& text, const Names& sections, const WChar* key)
{
    const platform::IniText<Unit> again(text.Whole());
    const std::size_t all = text.Whole().size();
    Require(text.Sections(all) == again.Sections(all));
    Require(text.Find(u"", key) == again.Find(u"", key));
    for (const WString& section : sections) {
        Require(text.Lines(section.CStr(), all) == again.Lines(section.CStr(), all));
        Require(text.Find(section.CStr(), key) == again.Find(section.CStr(), key));
    }
}

// Where somebody else changes it.
template <class Unit>
void UpdateText(const std::basic_string<Unit>& before, std::basic_string<Unit> whole,
                const Names& sections)
{
    platform::IniText<Unit> text(before);
    for (int place = 0; place != 4; ++place) {
        text.Update(whole);
        RequireSame(text, sections, u"new");
        if (whole.empty())
            break;
        Unit& unit = whole[whole.size() * 7919 / 7927 * static_cast<std::size_t>(place) / 4];
        unit = static_cast<Unit>(unit ^ 1);
    }
    text.Update(before);
    RequireSame(text, sections, u"new");
}

template <class Unit>
void ChangeText(platform::IniText<Unit> text, const Names& sections, const Names& keys)
{
    const std::basic_string<Unit> before = text.Whole();
    for (const WString& section : sections) {
        Names changed;
        changed.Append(section);
        text.Set(section.CStr(), u"new", u"1");
        RequireSame(text, changed, u"new");
        for (const WString& key : keys) {
            text.Set(section.CStr(), key.CStr(), u"a]\n[b");
            RequireSame(text, changed, key);
            text.RemoveKey(section.CStr(), key.CStr());
            RequireSame(text, changed, key);
        }
        RequireSame(text, sections, u"new");
    }
    UpdateText(before, text.Whole(), sections);
}

// Of a file that begins with the mark of UTF-16.
platform::WideText UnitsOf(const std::string& bytes)
{
    platform::WideText units(bytes.size() / sizeof(WChar) - 1, 0);
    bytes.copy(reinterpret_cast<char*>(units.data()), units.size() * sizeof(WChar),
               platform::kUtf16Mark.size());
    return units;
}

// Gives the names to change.
void ChangeFile(const WString& path, Names& sections, Names& keys)
{
    BIniProfile profile(path, WString(), true);
    Names all;
    profile.GetSections(all);
    for (const WString& section : all) {
        WString text;
        Names found;
        profile.LoadSection(section, &found);
        for (const WString& key : found) {
            profile.Read(key, text);
            if (keys.Count() < kMost)
                keys.Append(key);
        }
        if (sections.Count() == kMost)
            continue;
        sections.Append(section);
        Require(profile.WriteInt(QD_W("new"), 7));
        Require(profile.GetInt(QD_W("new"), 0) == 7);
    }
    BProfile(path, ProfileReadWrite).ExistsSection(QD_W("S"));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const HeapBound bound(size);
    static const TemporaryFolder folder;
    const std::string bytes(data, data + size);
    WriteFileBytes(folder / "p.ini", bytes);
    Names sections, keys;
    ChangeFile(folder.Path("p.ini"), sections, keys);
    if (bytes.starts_with(platform::kUtf16Mark)) {
        ChangeText(platform::IniText<WChar>(UnitsOf(bytes)), sections, keys);
        return 0;
    }
    for (const std::size_t unit : Turns(bytes, 2)) {
        if (unit == 0)
            ChangeText(platform::IniText<char>(bytes), sections, keys);
        else
            ChangeText(platform::IniText<WChar>({bytes.begin(), bytes.end()}), sections, keys);
    }
    return 0;
}
