// Settings of every kind: scripts of a few steps over one file.
//
// Text profiles start as a file that somebody wrote by hand ("Wild"), of which what is read is
// told, or as one that the library wrote alone ("Tidy"), of which the bytes are told as well.

#include "core/base/BError.h"
#include "core/file/StdPath.h"
#include "core/profile/BBinProfile.h"
#include "core/profile/BConfigRegistry.h"
#include "core/profile/BIniProfile.h"
#include "core/profile/BProfile.h"
#include "core/profile/OpenProfile.h"

#include "soak/parity/Sheet.h"

#include <filesystem>

#if __has_include(<windows.h>)
# include <windows.h>
#endif

namespace {

// Only such a text is asked for as a block: for Wine every letter is a digit ("ini-block-digit").
bool IsHex(const WString& text)
{
    return text.AsView().find_first_not_of(QD_W("0123456789ABCDEFabcdef")) == text.AsView().npos;
}

const WString kIniPath = QD_W(".\\settings.ini");
constexpr const char* kIni = "settings.ini";
const char* const kNames[] = {"Window", "window", "Probe", "Key1", "Key2", "Path", "default"};

WString RandomKey(Dice& dice)
{
    return Wide(dice.Pick(kNames));
}

WString RandomValue(Dice& dice)
{
    switch (dice.Below(6)) {
    case 0: return RandomText(dice);
    case 1: return RandomNumberText(dice);
    case 2: return WString(QD_W("\"")) + Wide(RandomName(dice)) + QD_W(" \"");
    case 3: return dice.OneIn(2) ? QD_W("TRUE") : QD_W("false");
    default: return Wide(RandomName(dice));
    }
}

// Without signs that end a line or the text, blanks at its ends, and what is a number in a text on
// one platform alone.
WString OneLine(WString text)
{
    text.TrimLeft();
    text.TrimRight();
    int digits = 0; // in a row; 64 bits hold 18
    for (std::size_t i = 0; i < text.Length(); ++i) {
        const WChar unit = text.GetAt(i);
        digits = unit >= '0' && unit <= '9' ? digits + 1 : 0;
        const bool isForeign = unit > 0x7F && (WString() += unit).IsDigit();
        if (unit < ' ' || unit == 0x7F || unit == 'd' || unit == 'D' || isForeign ||
            digits % 19 == 18)
            text.SetAt(i, QD_W('_'));
    }
    return text;
}

std::string RandomIniBytes(Dice& dice)
{
    static constexpr std::string_view kOdd[] = {
        "; comment", "", "[Window", "] x", "text", " [Probe] ", "[window]x", "Key1", "k = \"v\""};
    const std::string end = dice.OneIn(4) ? "\n" : "\r\n";
    std::string bytes;
    for (int lines = dice.Below(12); lines > 0; --lines) {
        const int kind = dice.Below(8);
        if (kind == 0)
            bytes += dice.Pick(kOdd);
        else if (kind < 3)
            bytes += std::string("[") + dice.Pick(kNames) + ']';
        else {
            bytes += dice.Pick(kNames);
            bytes += dice.OneIn(4) ? " = " : "=";
            bytes += OneLine(RandomValue(dice)).AsString().CStr();
        }
        bytes += lines > 1 || dice.OneIn(2) ? end : "";
    }
    if (!dice.OneIn(4))
        return bytes;
    return "\xFF\xFE" + UnitBytes(WString(BString(bytes.c_str())));
}

/// A file for a script to begin with; its kind.
std::string StartIni(Sheet& sheet, Dice& dice, const std::string& of)
{
    if (dice.OneIn(2)) {
        std::remove(kIni);
        BProfile::WriteString(kIniPath, QD_W("Probe"), QD_W("Key1"), QD_W("1"));
        return of + ".Tidy.";
    }
    const std::string bytes = RandomIniBytes(dice);
    PutFile(kIni, bytes);
    sheet.Tell(of + ".Wild.Start", "", ShowBytes(bytes));
    return of + ".Wild.";
}

std::string ShowNames(const BArray<WString>& names)
{
    std::string shown;
    for (const WString& name : names)
        shown += Show(name) + ' ';
    return shown;
}

template <class Value>
std::string ReadValue(const BIniProfile& profile, const WString& key, Value value)
{
    const bool isRead = profile.Read(key, value);
    return Words(isRead, value);
}

template <class Value>
std::string ReadBounded(const BIniProfile& profile, const WString& key, Value value, int bound)
{
    const bool isRead = profile.Read(key, value, -bound, bound);
    return Words(isRead, static_cast<std::int64_t>(value));
}

struct IniStep {
    const char* name;
    std::string (*apply)(BIniProfile& profile, Dice& dice, const WString& key);
};

const IniStep kIniSteps[] = {
    {"Read.text", [](BIniProfile& p, Dice&,
                     const WString& key) { return ReadValue(p, key, WString(QD_W("default"))); }},
    {"Read.bool",
     [](BIniProfile& p, Dice&, const WString& key) { return ReadValue(p, key, true); }},
    {"Read.double",
     [](BIniProfile& p, Dice&, const WString& key) { return ReadValue(p, key, 0.1); }},
    {"Read.int", [](BIniProfile& p, Dice& dice,
                    const WString& key) { return ReadBounded(p, key, 7, dice.Below(100000)); }},
    {"Read.short",
     [](BIniProfile& p, Dice& dice, const WString& key) {
         return ReadBounded<short>(p, key, 7, dice.Below(100000));
     }},
    {"Read.long",
     [](BIniProfile& p, Dice& dice, const WString& key) {
         return ReadBounded<long>(p, key, 7, dice.Below(100000));
     }},
    {"Read.int64",
     [](BIniProfile& p, Dice&, const WString& key) { return ReadValue(p, key, std::int64_t{7}); }},
    {"ReadHex",
     [](BIniProfile& p, Dice& dice, const WString& key) {
         unsigned long value = 7;
         const bool isRead = p.ReadHex(key, value, 1 + dice.Below(8));
         return Words(isRead, value);
     }},
    {"GetInt", [](BIniProfile& p, Dice&, const WString& key) { return Words(p.GetInt(key, 40)); }},
    {"ReadMem",
     [](BIniProfile& p, Dice&, const WString& key) {
         char block[4] = {};
         WString text;
         p.Read(key, text);
         const bool isRead = IsHex(text) && p.ReadMem(key, block, sizeof block);
         return Words(isRead, isRead ? ShowBytes({block, sizeof block}) : "");
     }},
    {"Sections",
     [](BIniProfile& p, Dice&, const WString&) {
         BArray<WString> names;
         const bool isRead = p.GetSections(names);
         return Words(isRead, ShowNames(names));
     }},
    {"LoadSection",
     [](BIniProfile& p, Dice&, const WString& key) {
         BArray<WString> names;
         const bool isRead = p.LoadSection(key, &names);
         return Words(isRead, ShowNames(names));
     }},
    {"SetSection",
     [](BIniProfile& p, Dice&, const WString& key) { return p.SetSection(key), Words(); }},
    {"Write.text",
     [](BIniProfile& p, Dice& dice, const WString& key) {
         const WString value = OneLine(RandomValue(dice));
         return Words(value, p.Write(key, value));
     }},
    {"Write.double",
     [](BIniProfile& p, Dice& dice, const WString& key) {
         const double value = RandomDouble(dice);
         return Words(value, p.Write(key, value));
     }},
    {"Write.int",
     [](BIniProfile& p, Dice& dice, const WString& key) {
         const auto value = static_cast<int>(RandomInteger(dice));
         return Words(value, p.Write(key, value));
     }},
    {"Write.int64",
     [](BIniProfile& p, Dice& dice, const WString& key) {
         const long long value = RandomInteger(dice);
         return Words(value, p.Write(key, value));
     }},
    {"Write.bool", [](BIniProfile& p, Dice& dice,
                      const WString& key) { return Words(p.Write(key, dice.OneIn(2))); }},
    {"WriteMem",
     [](BIniProfile& p, Dice& dice, const WString& key) {
         std::uint32_t block =
             static_cast<unsigned>(dice.Below(10)) * 0x01010101U; // whose text has no "D"
         return Words(block, p.WriteMem(key, &block, sizeof block));
     }},
    {"DeleteKey",
     [](BIniProfile& p, Dice&, const WString& key) { return p.DeleteKey(key), Words(); }},
    {"DeleteSection",
     [](BIniProfile& p, Dice&, const WString& key) {
         const bool isDeleted = p.DeleteSection(key);
         p.SetSection(QD_W("Probe")); // else it is the one without a name
         return Words(isDeleted);
     }},
};

} // namespace

void TryIni(Sheet& sheet, Dice& dice)
{
    const std::string kind = StartIni(sheet, dice, "Ini");
    BIniProfile profile(kIniPath, Wide(dice.Pick(kNames)), dice.OneIn(2));
    for (int steps = 10; steps > 0; --steps) {
        const IniStep& step = dice.Pick(kIniSteps);
        const WString key = RandomKey(dice);
        const std::string result = step.apply(profile, dice, key);
        const auto problem = static_cast<int>(profile.Problem().code);
        sheet.Tell(kind + step.name, Words(profile.GetSection(), key), Words(result, problem));
    }
    if (kind == "Ini.Tidy.")
        sheet.Tell(kind + "File", "", ShowBytes(BytesOfFile(kIni)));
}

// --- what BProfile and BBinProfile have in common ------------------------------------------------

namespace {

std::string ReadAny(BProfileBase& profile, Dice& dice, const WString& key)
{
    char block[4] = {};
    switch (dice.Below(6)) {
    case 0: return "string " + Show(profile.ReadString(key, QD_W("default")));
    case 1: return "int " + Show(profile.ReadInt(key, 7));
    case 2: return "double " + Show(profile.ReadDouble(key, 0.1));
    case 3: return "bool " + Show(profile.ReadBoolean(key, true));
    case 4: return "exists " + Show(profile.ExistsSection(key));
    default: {
        const bool isRead =
            IsHex(profile.ReadString(key, QD_W(""))) && profile.ReadMem(key, block, sizeof block);
        return "block " + Words(isRead, ShowBytes({block, isRead ? sizeof block : 0}));
    }
    }
}

std::string WriteAny(BProfileBase& profile, Dice& dice, const WString& key)
{
    const WString text = OneLine(RandomValue(dice));
    const double number = RandomDouble(dice);
    auto integer = static_cast<int>(RandomInteger(dice));
    switch (dice.Below(8)) {
    case 0: return Words(number, profile.WriteDouble(key, number));
    case 1: return Words(integer, profile.WriteInt(key, integer));
    case 2: return Words(integer, profile.WriteInt(dice.Below(3), key, integer));
    case 3: {
        auto block = static_cast<unsigned>(dice.Below(10)) * 0x01010101U;
        return Words(block, profile.WriteMem(key, &block, sizeof block));
    }
    case 4: return Words("bool", profile.WriteBoolean(key, dice.OneIn(2)));
    case 5: return profile.DeleteKey(key), "delete";
    case 6:
        if (dice.OneIn(3))
            return profile.DeleteSection(), "delete section";
        [[fallthrough]];
    default: return Words(text, profile.WriteString(key, text));
    }
}

// Reads and writes in turn; what was thrown is a result, too.
void RunSteps(Sheet& sheet, Dice& dice, BProfileBase& profile, const std::string& kind, int steps)
{
    for (; steps > 0; --steps) {
        const WString key = RandomKey(dice);
        const int step = dice.Below(8);
        std::string name, result;
        try {
            if (step == 0)
                name = "SetSection", profile.SetSection(key);
            else if (step < 4)
                name = "Read", result = ReadAny(profile, dice, key);
            else
                name = "Write", result = WriteAny(profile, dice, key);
        } catch (const BError& error) {
            result = "throws " + Show(error.Error());
        }
        const auto problem = static_cast<int>(profile.Problem().code);
        sheet.Tell(kind + name, Words(profile.GetSection(), key), Words(result, problem));
    }
}

EProfileMode RandomMode(Dice& dice)
{
    return static_cast<EProfileMode>(dice.OneIn(8) ? dice.Below(4) : ProfileReadWrite);
}

} // namespace

void TryTextProfile(Sheet& sheet, Dice& dice)
{
    const std::string kind = StartIni(sheet, dice, "Profile");
    BProfile profile(kIniPath, RandomMode(dice));
    RunSteps(sheet, dice, profile, kind, 10);
    if (kind == "Profile.Tidy.")
        sheet.Tell(kind + "File", "", ShowBytes(BytesOfFile(kIni)));
}

void TryBinaryProfile(Sheet& sheet, Dice& dice)
{
    const WString path = QD_W(".\\settings.bin");
    std::remove("settings.bin");
    for (int rounds = 1 + dice.Below(3); rounds > 0; --rounds) {
        BBinProfile profile(path, RandomMode(dice));
        RunSteps(sheet, dice, profile, "BinProfile.", 8);
        const bool isSaved = profile.Save();
        sheet.Tell("BinProfile.Save", "", Words(isSaved, DigestOfFile("settings.bin")));
    }
    std::string bytes = BytesOfFile("settings.bin"); // and what is read of a damaged one
    if (bytes.empty())
        return;
    const std::size_t at = dice.Next() % bytes.size();
    if (dice.OneIn(2))
        bytes.resize(at);
    else
        bytes[at] = static_cast<char>(dice.Next());
    PutFile("settings.bin", bytes);
    BBinProfile profile(path, ProfileReadOnly);
    sheet.Tell("BinProfile.Damaged", ShowBytes(bytes), Words(profile.IsValid()));
    RunSteps(sheet, dice, profile, "BinProfile.Damaged.", 6);
    BProblem problem;
    const bool isOpen = OpenProfile(path, problem) != nullptr;
    sheet.Tell("OpenProfile", "", Words(isOpen, static_cast<int>(problem.code)));
}

void TryRegistry(Sheet& sheet, Dice& dice)
{
    static int number = 0; // no round sees the keys of another, and no run of another folder
    const WString run = QDFromStdPath(std::filesystem::current_path().parent_path().filename());
    const WString root =
        WString(QD_W("Software\\qd.core parity\\")) + run + QD_W(" ") + WString::FromInt(++number);
    const SP<BConfig> top(new BConfigRegistry(root));
    const SP<BConfig> below = top->Child(Wide(RandomName(dice)));
    for (int steps = 10; steps > 0; --steps) {
        BConfig& config = dice.OneIn(2) ? *top : *below;
        const WString name = dice.OneIn(3) ? RandomText(dice) : RandomKey(dice);
        const WString text = OneLine(RandomValue(dice));
        const double number64 = RandomDouble(dice);
        const auto integer = static_cast<int>(RandomInteger(dice));
        std::string result;
        WString read = QD_W("default");
        double real = 0.1;
        float single = 0.1F;
        int whole = 7;
        bool flag = false;
        const int kind = dice.Below(10);
        switch (kind) {
        case 0: result = Words(config.WriteInt(name, integer)); break;
        case 1: result = Words(config.WriteDouble(name, number64)); break;
        case 2: result = Words(config.WriteFloat(name, static_cast<float>(integer) / 7)); break;
        case 3: result = Words(config.WriteBool(name, integer % 2 == 0)); break;
        case 4:
        case 5: result = Words(text, config.WriteString(name, text)); break;
        case 6: result = Words(config.ReadInt(name, whole)); break;
        case 7: result = Words(config.ReadDouble(name, real)); break;
        case 8: result = Words(config.ReadFloat(name, single), config.ReadBool(name, flag)); break;
        default: result = Words(config.ReadString(name, read)); break;
        }
        sheet.Tell("Registry", Words(kind, name, integer, number64),
                   Words(result, read, real, static_cast<double>(single), whole, flag));
    }
}

void TryTimes(Sheet& sheet, Dice& dice)
{
    static constexpr std::string_view kOdd[] = {"/", ":", ".", " ", "x", "-", ""};
    const auto number = [&](int end) {
        std::string text = std::to_string(dice.OneIn(12) ? dice.Below(30000) : dice.Below(end));
        return text.size() < 2 && dice.OneIn(2) ? '0' + text : text;
    };
    std::string text;
    for (const auto& [end, separator] : std::initializer_list<std::pair<int, std::string_view>>{
             {13, "/"}, {29, "/"}, {3000, " "}, {24, ":"}, {60, ":"}, {60, "."}, {1000, ""}}) {
        text += number(end);
        text += dice.OneIn(40) ? dice.Pick(kOdd) : separator;
    }
    PutFile(kIni, "[s]\r\nk=" + text + "\r\n");
    const BIniProfile profile(kIniPath, QD_W("s"), false);
    SYSTEMTIME time = {};
    const bool isRead = profile.Read(QD_W("k"), time);
    const bool isWritten = profile.Write(QD_W("again"), time);
    WString again;
    profile.Read(QD_W("again"), again);
    sheet.Tell("Time", ShowBytes(text), Words(isRead, time.wDayOfWeek, isWritten, again));
}

void ReadProfile(Sheet& sheet, const std::string& name)
{
    const SP<BProfileBase> profile = OpenProfile(WString(QD_W(".\\")) + Wide(name));
    if (profile == nullptr)
        return sheet.Tell("Read.Open", name, "no");
    for (const char* const section : kNames) {
        profile->SetSection(Wide(section));
        for (const char* const key : kNames)
            sheet.Tell("Read", name,
                       Words(std::string(section), std::string(key),
                             profile->ReadString(Wide(key), QD_W("none")),
                             profile->ReadInt(Wide(key), -7), profile->ReadDouble(Wide(key), -7),
                             profile->ReadBoolean(Wide(key), true)));
    }
}
