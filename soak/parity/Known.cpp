// What is known to differ, once each: an entry of docs/platform-differences.md shows what either
// platform answers. The random operations have none of it among their arguments.

#include "core/base/BError.h"
#include "core/file/BDirEntry.h"
#include "core/file/BFile.h"
#include "core/profile/BConfigRegistry.h"
#include "core/profile/BIniProfile.h"
#include "core/profile/BProfile.h"

#include "soak/parity/Sheet.h"

#include <filesystem>
#include <functional>

namespace {

template <class String, class... Values>
std::string Printed(const char* format, Values... values)
{
    String text;
    text.Printf(String(BString(format)), values...);
    return Show(text);
}

std::string Combined(const WChar* folder, const WChar* path)
{
    BDirEntry entry(folder);
    entry += BDirEntry(path);
    return Show(entry.GetFull());
}

std::string Double(const WChar* text)
{
    double value = 0;
    const bool isRead = WString(text).Convert(value);
    return Words(isRead, value);
}

/// What a pattern finds among files of these names.
bool Finds(const char* pattern, std::initializer_list<const char*> names)
{
    std::filesystem::remove_all("known");
    std::filesystem::create_directory("known");
    for (const char* const name : names)
        PutFile(std::string("known/") + name, "");
    return BFile::Exist(WString(QD_W("known\\")) + Wide(pattern));
}

const WString kPath = QD_W(".\\known.ini");

/// A text profile that holds `bytes`; nothing of it is there for null.
void PutProfile(const char* bytes)
{
    std::remove("known.ini");
    if (bytes != nullptr)
        PutFile("known.ini", bytes);
}

std::string ReadFrom(const char* bytes, const WChar* section, const WChar* key)
{
    PutProfile(bytes);
    WString text = QD_W("none");
    BIniProfile(kPath, section, false).Read(key, text);
    return Show(text);
}

/// The file when "k=1" was written to its section "S".
std::string Written(const char* bytes)
{
    PutProfile(bytes);
    BProfile::WriteString(kPath, QD_W("S"), QD_W("k"), QD_W("1"));
    return ShowBytes(BytesOfFile("known.ini"));
}

std::string Time(const char* text)
{
    PutProfile((std::string("[s]\nk=") + text + "\n").c_str());
    const BIniProfile profile(kPath, QD_W("s"), false);
    // As a text: the structure is the system's own.
    alignas(8) unsigned char time[16] = {};
    profile.Read(QD_W("k"), reinterpret_cast<_SYSTEMTIME&>(time));
    return Show(static_cast<int>(time[4])); // the day of the week
}

std::string LinesOf(const char* bytes, const WChar* mode)
{
    PutProfile(bytes);
    BFile file(kPath, mode);
    WString line;
    std::string lines;
    while (line.ReadLn(file))
        lines += (lines.empty() ? "" : " ") + Show(line);
    return lines;
}

struct Known {
    const char* name;
    std::function<std::string()> answer;
};

const Known kKnown[] = {
    {"format-hh", [] { return Printed<WString>("%hhd", 300); }},
    {"format-zeros", [] { return Printed<WString>("%08.3d", 7); }},
    {"format-octal-zero", [] { return Printed<WString>("<%#.0o>", 0); }},
    {"format-unit-precision", [] { return Printed<WString>("<%.0c>", 'x'); }},
    {"format-narrow-unit", [] { return Printed<BString>("<%5C>", 0x20AC); }},
    {"format-hexadecimal-left", [] { return Printed<BString>("<%-9.0a>", 1.0); }},
    {"number-digits", [] { return Double(QD_W("\uFF17")); }},
    {"number-exponent", [] { return Double(QD_W("1d5")); }},
    {"number-overflow",
     [] {
         PutProfile("[S]\nk=85999999999945000000\n");
         BProfile profile(kPath, ProfileReadOnly);
         profile.SetSection(QD_W("S"));
         return Show(profile.ReadInt(QD_W("k"), 7));
     }},
    {"class-vowel-signs", [] { return Show(WString(QD_W("\u0E31")).IsAlpha()); }},
    {"collation-jamo",
     [] { return Show(Sign(WString(QD_W("\u115F\u1161")).Cmp(QD_W("\u1161")))); }},
    {"path-slash", [] { return Show(BDirEntry(QD_W("a\\b/c.d")).GetPath().GetFull()); }},
    {"path-doubled", [] { return Show(BDirEntry(QD_W("C:\\a\\\\b")).GetPath().GetFull()); }},
    {"path-dots", [] { return Combined(QD_W("C:\\a"), QD_W("..b\\...")); }},
    {"path-dot-at-end", [] { return Combined(QD_W("C:\\a\\"), QD_W("b\\.")); }},
    {"path-nothing-left", [] { return Combined(QD_W("a"), QD_W("..\\b")); }},
    {"path-drive-alone", [] { return Combined(QD_W("C:"), QD_W("C:..\\b")); }},
    {"path-server-dots", [] { return Combined(QD_W("\\\\..\\a"), QD_W("b")); }},
    {"path-verbatim", [] { return Combined(QD_W("\\\\?\\C:\\a"), QD_W("..\\..\\b")); }},
    {"pattern-mark", [] { return Show(Finds("???", {"ab"})); }},
    {"file-name-case", [] { return Show(Finds("AB", {"ab"})); }},
    {"stream-cut-character", [] { return LinesOf("x\r\n\xC3", QD_W("r,ccs=UTF-8")); }},
    {"ini-delete-in-missing",
     [] {
         PutProfile(nullptr);
         BProfile(kPath, ProfileReadWrite);
         std::remove("known.ini");
         BIniProfile(kPath, QD_W("S"), false).DeleteKey(QD_W("k"));
         return DigestOfFile("known.ini");
     }},
    {"ini-other-lines", [] { return Written("; c\n\nx\n[S] ; d\nk = 2\n"); }},
    {"ini-no-name", [] { return ReadFrom("k=1\n[]\nk=2\n", QD_W(""), QD_W("k")); }},
    {"ini-utf8-mark", [] { return ReadFrom("\xEF\xBB\xBF[S]\nk=1\n", QD_W("S"), QD_W("k")); }},
    {"ini-name-case", [] { return ReadFrom("[\xC4]\nk=1\n", QD_W("\u00E4"), QD_W("k")); }},
    {"ini-no-key",
     [] {
         PutProfile("[S]\n=x\n");
         BArray<WString> keys;
         return Show(BIniProfile(kPath, QD_W(""), false).LoadSection(QD_W("S"), &keys));
     }},
    {"ini-block-digit",
     [] {
         PutProfile("[S]\nk=0G10\n");
         unsigned char byte = 0;
         return Show(BIniProfile(kPath, QD_W("S"), false).ReadMem(QD_W("k"), &byte, 1));
     }},
    {"time-leap-day", [] { return Time("02/29/2117 00:00:00.000"); }},
    {"time-last-year", [] { return Time("01/04/30828 00:00:00.000"); }},
    {"registry-long-name",
     [] {
         WString path = QD_W("Software\\qd.core parity\\");
         for (int i = 0; i < 256; ++i)
             path += QD_W("n");
         try {
             const BConfigRegistry config(path);
             return std::string("made");
         } catch (const BError&) {
             return std::string("refused");
         }
     }},
    {"long-size", [] { return Show(sizeof(long)); }},
};

} // namespace

void TellKnown(Sheet& sheet)
{
    for (const Known& known : kKnown)
        sheet.Tell("Known", known.name, known.answer());
}
