// Paths, which no file need have; patterns over the files of a folder; streams of text.

#include "core/file/BDirEntry.h"
#include "core/file/BFile.h"

#include "soak/parity/Sheet.h"

#include <filesystem>

namespace {

WString RandomPath(Dice& dice)
{
    static const WChar* const kStarts[] = {QD_W(""),
                                           QD_W(""),
                                           QD_W(""),
                                           QD_W("C:\\"),
                                           QD_W("\\"),
                                           QD_W("C:"),
                                           QD_W("\\\\srv\\share\\"),
                                           QD_W("\\\\")};
    static const WChar* const kNames[] = {QD_W("a"),     QD_W("bc.txt"),       QD_W("d.e.f"),
                                          QD_W(" "),     QD_W("x.y z"),        QD_W("ä"),
                                          QD_W(".name"), QD_W("a longer name")};
    WString path = dice.Pick(kStarts);
    for (int left = dice.OneIn(20) ? 20 + dice.Below(30) : dice.Below(5); left > 0; --left) {
        path += dice.Pick(kNames);
        if (left > 1 || dice.OneIn(3))
            path += QD_W("\\");
    }
    return path;
}

} // namespace

void TryPath(Sheet& sheet, Dice& dice)
{
    const WString path = RandomPath(dice);
    WString other = RandomPath(dice);
    // No more steps back than there are below a root.
    if (path.StartsWith(QD_W("C:\\")) && path.Length() > 3)
        other = WString(path.TokenCount('\\') > 3 ? QD_W("..\\..\\n\\") : QD_W("..\\")) +
                Wide(RandomName(dice));
    BDirEntry entry(path);
    const auto tell = [&](const char* name, const auto&... results) {
        sheet.Tell(name, Words(path, other), Words(results..., entry.GetFull()));
    };
    switch (dice.Below(7)) {
    case 0: return tell("Path.Parts", entry.GetName(), entry.GetBase(), entry.GetExtension());
    case 1: return tell("Path.Parent", entry.GetPath().GetFull());
    case 2: return entry.ChangeExtension(other), tell("Path.ChangeExtension");
    case 3: return entry.ChangeName(other), tell("Path.ChangeName");
    case 4: return tell("Path.CutExtension", entry.CutExtension());
    default: return entry += BDirEntry(other), tell("Path.Combine");
    }
}

// Paths about as long as the shell has room for, alone or combined, which it cuts or refuses.
void TryLongPath(Sheet& sheet, Dice& dice)
{
    constexpr std::size_t kRoom = 260;
    WString folder = RandomPath(dice), path = RandomPath(dice);
    if (folder.StartsWith(QD_W("C:\\")) && folder.Length() > 3 && dice.OneIn(2))
        path = WString(QD_W("..\\")) + Wide(RandomName(dice)) + QD_W("\\");
    WString& longer = dice.OneIn(3) ? folder : path;
    const std::size_t other = dice.OneIn(2) ? 0 : (&longer == &path ? folder : path).Length();
    const std::size_t wanted = kRoom - 5 + dice.Next() % 9;
    while (longer.Length() + other < wanted)
        longer += 'n';
    BDirEntry entry(folder);
    entry += BDirEntry(path);
    sheet.Tell("LongPath.Combine", Words(folder, path), Words(entry.GetFull()));
    const BDirEntry alone(longer);
    sheet.Tell("LongPath.Parts", Words(longer),
               Words(alone.GetName(), alone.GetExtension(), alone.GetPath().GetFull()));
}

// A folder of files with short names of small letters, as other ones have a second name on Windows
// and its file system does not tell the case.
void TryPatterns(Sheet& sheet, Dice& dice)
{
    const std::filesystem::path folder = "patterns";
    std::filesystem::remove_all(folder);
    std::filesystem::create_directory(folder);
    std::string names;
    for (int left = 1 + dice.Below(6); left > 0; --left) {
        std::string name = RandomName(dice, 3);
        if (dice.OneIn(2))
            name += '.' + RandomName(dice, 3);
        names += ' ' + name;
        PutFile("patterns/" + name, "x");
    }
    for (int left = 4; left > 0; --left) {
        std::string pattern;
        for (int pieces = 1 + dice.Below(4); pieces > 0; --pieces) {
            pattern += "**ab12"[dice.Below(6)];
        }
        if (dice.OneIn(2))
            pattern += dice.OneIn(2) ? ".*" : '.' + RandomName(dice, 1) + '*';
        const WString path = WString(QD_W("patterns\\")) + Wide(pattern);
        const bool isThere = BFile::Exist(path);
        const int deleted = dice.OneIn(2) ? BFile::Delete(path) : -2;
        sheet.Tell("Patterns", pattern + " of" + names, Words(isThere, deleted));
    }
}

namespace {

// Lines with all kinds of ends, of 8 bits or UTF-16, with and without marks, and odd bytes.
// In what is read as UTF-8, Wine loses broken characters at the ends of its buffers.
std::string RandomTextBytes(Dice& dice, bool asUtf8)
{
    static constexpr std::string_view kMarks[] = {
        "", "", "\xFF\xFE", "\xFF\xFE", "\xEF\xBB\xBF", "\xFE\xFF"};
    static constexpr std::string_view kEnds[] = {"\r\n", "\r\n", "\r\n", "\n",
                                                 "\r",   "\n\r", "\x1A"};
    std::string bytes(dice.Pick(kMarks));
    const bool isMarked = bytes == "\xFF\xFE", isOdd = dice.OneIn(3);
    const bool isUtf8 = bytes.size() == 3 || (asUtf8 && !isMarked);
    const bool isWide = isMarked || (!isUtf8 && (bytes.size() == 2 || isOdd));
    for (int lines = dice.Below(5); lines > 0; --lines) {
        WString line = RandomText(dice);
        line += Wide(dice.OneIn(20) ? kEnds[6] : kEnds[dice.Next() % 6]);
        if (isWide)
            bytes += UnitBytes(line);
        else
            bytes += isUtf8 ? line.AsUtf8() : std::string(line.AsString().CStr());
    }
    if (dice.OneIn(8))
        bytes += static_cast<char>(dice.Below(0xC0));
    return bytes;
}

template <class String>
std::string ReadLines(const BFile& file)
{
    std::string lines;
    String line;
    for (int left = 20; left > 0 && line.ReadLn(file); --left)
        lines += Show(line) + ' ';
    return lines;
}

} // namespace

void TryStream(Sheet& sheet, Dice& dice)
{
    static constexpr std::string_view kModes[] = {"r,ccs=UTF-16LE", "rt,ccs=UNICODE", "r,ccs=UTF-8",
                                                  "rb", "r"};
    const std::string_view mode = dice.Pick(kModes);
    const std::string bytes = RandomTextBytes(dice, mode == "r,ccs=UTF-8");
    const std::string arguments = ShowBytes(bytes);
    const WString path = QD_W(".\\text.txt");
    PutFile("text.txt", bytes);
    sheet.Tell("File.Kind", arguments, Words(BFile::IsUnicode(path), BFile::Size(path)));
    if (BFile file(path, Wide(mode)); mode.size() > 2)
        sheet.Tell("WString.ReadLn." + std::string(mode), arguments, ReadLines<WString>(file));
    else
        sheet.Tell("BString.ReadLn." + std::string(mode), arguments, ReadLines<BString>(file));
    if (BFile file(path, QD_W("rb")); dice.OneIn(2)) {
        WString wide = QD_W("unchanged");
        const bool isRead = wide.FRead(file);
        sheet.Tell("WString.FRead", arguments, Words(isRead, wide));
    }
    const int result = BFile::ConvertToUnicode(path);
    sheet.Tell("ConvertToUnicode", arguments, Words(result, ShowBytes(BytesOfFile("text.txt"))));
    if (BFile file(path, QD_W("wb")); file != nullptr) {
        const bool isWritten = RandomText(dice).FWrite(file) && RandomNarrow(dice).FWrite(file);
        file.Close();
        sheet.Tell("FWrite", "", Words(isWritten, DigestOfFile("text.txt")));
    }
}
