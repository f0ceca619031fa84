#include "core/language/BLanguageMap.h"

#include "core/base/ErrorCodes.h"
#include "core/file/BFile.h"
#include "core/platform/WideText.h"

#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace {

using platform::WideText;

constexpr WChar kNone[] = QD_W("(none)");

WideText TextOf(const BLanguageMap& map, const WChar* key, bool translated = true)
{
    WString text = kNone;
    map.Find(key, text, translated);
    return text.CStr();
}

TEST(BLanguageMap, ChecksEntriesInAFixedOrder)
{
    struct Case {
        const WChar *key, *defaultText, *text;
        bool overwrite, fillMissing, report;
        int code;
        const WChar *kept, *keptDefault;
    };
    constexpr bool keep = false, overwrite = true, leave = false, fill = true;
    const WChar *const none = kNone, *const empty = QD_W("");
    constexpr int invalid = kErrorLanguageKeyInvalid, known = kErrorLanguageKeyTwice;
    constexpr int missing = kErrorLanguageTextMissing, twice = kErrorLanguageTextTwice;
    const Case cases[] = {
        {QD_W("$A_B"), QD_W("Yes"), QD_W("Ja"), keep, leave, true, 0, QD_W("Ja"), QD_W("Yes")},
        {QD_W("$"), QD_W("Sign"), empty, keep, leave, true, 0, empty, QD_W("Sign")},
        {QD_W("$\u00C4\u0662_"), QD_W("x"), empty, keep, leave, true, 0, empty, QD_W("x")},
        {empty, QD_W("Yes"), QD_W("Ja"), keep, fill, true, invalid, none, none},
        {QD_W("A"), QD_W("Yes"), QD_W("Ja"), keep, fill, true, invalid, none, none},
        {QD_W("$A-1"), QD_W("Yes"), QD_W("Ja"), keep, fill, true, invalid, none, none},
        // A missing text is filled and reported, on request.
        {QD_W("$C_1"), QD_W("No"), empty, keep, fill, true, missing, QD_W("No"), QD_W("No")},
        {QD_W("$C_2"), QD_W("No"), empty, keep, fill, false, 0, QD_W("No"), QD_W("No")},
        {QD_W("$C_3"), empty, QD_W("Nein"), keep, fill, true, missing, QD_W("Nein"), empty},
        {QD_W("$C_4"), empty, empty, keep, leave, false, 0, empty, empty},
        // A known key: whatever else is wrong with the entry.
        {QD_W("$A_B"), empty, empty, keep, fill, true, known, QD_W("Ja"), QD_W("Yes")},
        {QD_W("$A_B"), empty, QD_W("Jo"), overwrite, fill, true, missing, QD_W("Jo"), empty},
        // Equal default texts matter among plain keys alone, and hide a missing text.
        {QD_W("$D"), QD_W("No"), QD_W("Nein"), keep, fill, true, 0, QD_W("Nein"), QD_W("No")},
        {QD_W("$D_1"), QD_W("No"), QD_W("Nein"), keep, fill, true, 0, QD_W("Nein"), QD_W("No")},
        {QD_W("$E"), QD_W("nO"), empty, keep, fill, true, twice, QD_W("nO"), QD_W("nO")},
        {QD_W("$E"), QD_W("Off"), empty, overwrite, fill, false, 0, QD_W("Off"), QD_W("Off")},
        {QD_W("$D"), QD_W("NO"), QD_W("Nein"), overwrite, fill, true, 0, QD_W("Nein"), QD_W("NO")},
        {QD_W("$H"), empty, empty, keep, fill, false, 0, empty, empty},
        {QD_W("$I"), QD_W("\u00AD"), empty, keep, fill, false, twice, QD_W("\u00AD"),
         QD_W("\u00AD")},
    };
    BLanguageMap map;
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::Message() << "row " << &row - cases);
        map.SetReportMissingTranslations(row.report);
        EXPECT_EQ(map.GetReportMissingTranslations(), row.report);
        EXPECT_EQ(map.Add(row.key, row.defaultText, row.text, row.overwrite, row.fillMissing),
                  row.code);
        EXPECT_EQ(TextOf(map, row.key), row.kept);
        EXPECT_EQ(TextOf(map, row.key, false), row.keptDefault);
        EXPECT_EQ(map.Includes(row.key), row.kept != none);
    }
    EXPECT_EQ(map.StdDefaultMap().Count(), 12u);
    map.Clear();
    EXPECT_EQ(map.StdDefaultMap().Count(), 0u);
    EXPECT_EQ(map.Add(QD_W("$D"), QD_W("No"), QD_W("Nein"), false, false), 0);
    for (int text = 0; text < 4000; ++text) { // each default text makes way for another one
        const WString key = QD_W("$F") + WString::FromInt(text % 2000);
        EXPECT_EQ(map.Add(key, WString::FromInt(text), key, true, false), 0);
    }
}

TEST(BLanguageMap, FindsAndOrdersKeysByCollation)
{
    BLanguageMap map;
    for (const WChar* const key :
         {QD_W("$b"), QD_W("$Stra\u00DFe"), QD_W("$B"), QD_W("$a_1"), QD_W("$a_1")})
        EXPECT_EQ(map.Add(key, key, QD_W("text"), true, false),
                  key[1] == 'B' ? kErrorLanguageTextTwice : 0);
    EXPECT_TRUE(map.Includes(QD_W("$Strasse")));
    EXPECT_TRUE(map.Includes(QD_W("$a_1\u00AD")));
    EXPECT_FALSE(map.Includes(QD_W("$a")));
    EXPECT_EQ(map.Add(QD_W("$Strasse"), QD_W("x"), QD_W("x"), false, false),
              kErrorLanguageKeyTwice);

    // Overwriting takes the new spelling of the key, the old one is still equal to it.
    EXPECT_EQ(map.Add(QD_W("$Strasse"), QD_W("x"), QD_W("y"), true, false), 0);
    EXPECT_EQ(TextOf(map, QD_W("$Stra\u00DFe")), QD_W("y"));
    std::vector<WideText> keys;
    for (const auto& item : map.StdDefaultMap())
        keys.emplace_back(item.key);
    EXPECT_EQ(keys,
              (std::vector<WideText>{QD_W("$a_1"), QD_W("$b"), QD_W("$B"), QD_W("$Strasse")}));
}

TEST(BLanguageMap, TranslatesKeysAloneAndInTexts)
{
    BLanguageMap map;
    map.Add(QD_W("$A"), QD_W("Hello"), QD_W("Hallo"), false, false);
    map.Add(QD_W("$A_1"), QD_W("Price"), QD_W("$A kostet"), false, false);
    map.Add(QD_W("$"), QD_W("dollar"), QD_W(""), false, false);
    const struct {
        const WChar *text, *translated, *marked, *extended, *extendedMarked;
    } cases[] = {
        {QD_W("$A"), QD_W("Hallo"), QD_W("*Hallo*"), QD_W("Hallo"), QD_W("*Hallo*")},
        {QD_W("$X"), QD_W("$X"), QD_W("$X"), QD_W("$X"), QD_W("$X")},
        {QD_W(""), QD_W(""), QD_W(""), QD_W(""), QD_W("")},
        {QD_W("$A, $A!"), QD_W("$A, $A!"), QD_W("$A, $A!"), QD_W("Hallo, Hallo!"),
         QD_W("*Hallo*, *Hallo*!")},
        // What is inserted is not searched again.
        {QD_W("<$A_1>"), QD_W("<$A_1>"), QD_W("<$A_1>"), QD_W("<$A kostet>"),
         QD_W("<*$A kostet*>")},
        {QD_W("$$A$X$"), QD_W("$$A$X$"), QD_W("$$A$X$"), QD_W("Hallo$X"), QD_W("***Hallo*$X**")},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(&row - cases);
        map.ActivateTestMode(false);
        EXPECT_EQ(WideText(map.Translate(row.text)), row.translated);
        EXPECT_EQ(WideText(map.TranslateExt(row.text)), row.extended);
        map.ActivateTestMode(true);
        EXPECT_EQ(WideText(map.Translate(row.text)), row.marked);
        EXPECT_EQ(WideText(map.TranslateExt(row.text)), row.extendedMarked);
    }
}

TEST(BLanguageMap, IsTheInstanceWhileItIsRegistered)
{
    const SP<BLanguageMap> map = new BLanguageMap;
    map->SetCurrentLanguage(QD_W("Deutsch"));
    EXPECT_EQ(map->CurrentLanguage(), QD_W("Deutsch"));
    EXPECT_EQ(BLanguageMap::Instance(), nullptr);
    BLanguageMap::RegisterInstance(map);
    EXPECT_EQ(BLanguageMap::Instance(), map);
    BLanguageMap::RegisterInstance(nullptr);
    EXPECT_EQ(map->RefCount(), 1);
}

TEST(BLanguageMap, TranslatesTextsBackToTheirKeys)
{
    BLanguageMap map;
    map.Add(QD_W("$Go_On"), QD_W("Next"), QD_W("Weiter"), false, false);
    map.Add(QD_W("$Go"), QD_W("Go"), QD_W("WEITER"), false, false);
    map.Add(QD_W("$Dlg_Go"), QD_W("next"), QD_W("Los"), false, false);
    const struct {
        const WChar *text, *prefix;
        ELanguage language;
        int count;
        const WChar* keys;
    } cases[] = {
        {QD_W("weiter"), QD_W(""), LanguageCurrent, 2, QD_W("$Go,$Go_On")},
        {QD_W("weiter"), QD_W("$"), LanguageCurrent, 1, QD_W("$Go")},
        {QD_W("weiter"), QD_W("$gO"), LanguageCurrent, 1, QD_W("$Go_On")},
        {QD_W("weiter"), QD_W("$G"), LanguageCurrent, 0, QD_W("(as before)")},
        {QD_W("NEXT"), QD_W(""), LanguageDefault, 2, QD_W("$Dlg_Go,$Go_On")},
        {QD_W("NEXT"), QD_W(""), static_cast<ELanguage>(2), 0, QD_W("(as before)")},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::Message() << "row " << &row - cases);
        WString keys = QD_W("(as before)");
        EXPECT_EQ(map.TranslateBack(row.text, keys, row.prefix, row.language), row.count);
        EXPECT_EQ(WideText(keys), row.keys);
    }
}

constexpr WChar kMode[] = QD_W("r,ccs=UTF-16LE");
const std::string kMark = "\xFF\xFE";

std::string Units(const WideText& text)
{
    return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(WChar)};
}

class LanguageFile : public testing::Test {
protected:
    /// Writes a whole file and gives its path.
    WString Put(const char* name, const WideText& text) const
    {
        WriteFileBytes(m_folder / name, kMark + Units(text));
        return m_folder.Path(name);
    }

    const TemporaryFolder m_folder;
    const WString m_path = m_folder.Path("x.lng");
};

TEST_F(LanguageFile, ReadsLinesIntoCells)
{
    struct Case {
        WideText file, cells; // "a|b|c/" is a line of three cells
    };
    const Case cases[] = {
        {QD_W(""), QD_W("")},
        {QD_W("\n"), QD_W("||/")},
        {QD_W("a\tb\tc\td\te\nf"), QD_W("a|b|c/f||/")},
        {QD_W("a\tb\t\n\tc"), QD_W("a|b|/|c|/")},
        {QD_W("\"a\t\"\"b\n\"\tc\"d\"\t\"\"\"\"\n"), QD_W("a\t\"b\n|c\"d\"|\"/")},
        {QD_W("\"a\"b\"\"\t\"\"\tc"), QD_W("ab\"\"||c/")},
        {QD_W("\"\\n\\x41\"\t\\t\\\\n\t\\q\\"), QD_W("\nA|\t\\n|\\q\\/")},
        {QD_W("\"a\tb\nc"), QD_W("a\tb\nc||/")},
        {QD_W("a") + WideText(2, 0) + QD_W("b\t\xFFFF\xFFFFz"), QD_W("ab||/||/z||/")},
    };
    BArray<WString> cells;
    for (int i = 0; i < 5; ++i)
        cells.Append(QD_W("more than a line has"));
    for (const auto& row : cases) {
        BFile file(Put("x.lng", row.file), kMode);
        WideText read;
        while (BLanguageMap::ReadLn(file, cells, 3))
            read += cells[0].CStr() + WideText(1, '|') + cells[1].CStr() + WChar('|') +
                    cells[2].CStr() + WChar('/');
        EXPECT_EQ(read, row.cells) << testing::PrintToString(row.file);
    }
    EXPECT_EQ(cells.Count(), 3u);
    BFile closed;
    EXPECT_FALSE(BLanguageMap::ReadLn(closed, cells, 3));
}

TEST_F(LanguageFile, ReadsNoUnitAhead)
{
    BFile file(Put("x.lng", QD_W("a\t\"b\"\r\nc\td\r\n\r\ne\nf")), kMode);
    WString cell;
    EXPECT_EQ(BLanguageMap::ReadCell(file, cell), '\t');
    EXPECT_EQ(BLanguageMap::ReadCell(file, cell), '\n');
    EXPECT_EQ(WideText(cell), QD_W("b"));
    BLanguageMap::SkipLn(file);
    BArray<WString> cells;
    for (int line = 0; line < 2; ++line) // one is empty
        EXPECT_TRUE(BLanguageMap::ReadLn(file, cells, 0));
    EXPECT_EQ(BLanguageMap::ReadCell(file, cell), 65535);
    EXPECT_EQ(WideText(cell), QD_W("f"));
    EXPECT_EQ(BLanguageMap::ReadCell(file, cell), 65535);
    EXPECT_TRUE(cell.IsEmpty());
}

TEST_F(LanguageFile, IsImportedWithALog)
{
    Put("x.lng", QD_W("; comment\n$A\tHello\tHallo\n$A-1\tb\n\n")
                     QD_W("$A\tBye\t\"Tsch\\n\"\tmore\n$B\tOnly"));
    BLanguageMap map;
    WString log = QD_W("before\n");
    EXPECT_EQ(map.ImportMapFile(m_path, &log, false, true), kErrorLanguageLines);
    EXPECT_EQ(WideText(log), QD_W("before\nImport Language File ") + WideText(m_path) +
                                 QD_W("\nLine 3 : Error 7356 [$A-1] [b] []\n")
                                     QD_W("Line 5 : Error 7359 [$A] [Bye] [Tsch\n]\n")
                                         QD_W("4 entries loaded\n\n"));
    EXPECT_EQ(map.Problem().Text(), m_path + QD_W(": line 3: \"$A-1\" is no key"));
    EXPECT_EQ(TextOf(map, QD_W("$A")), QD_W("Hallo"));
    EXPECT_EQ(TextOf(map, QD_W("$B")), QD_W("Only"));
    EXPECT_EQ(map.ImportMapFile(m_path, nullptr, true, false), kErrorLanguageLines);
    EXPECT_EQ(TextOf(map, QD_W("$A")), QD_W("Tsch\n"));
    EXPECT_EQ(TextOf(map, QD_W("$B")), QD_W(""));

    for (const WString& missing : {WString(), m_folder.Path("none.lng"), m_folder.Path(".")}) {
        log.Clear();
        EXPECT_EQ(map.ImportMapFile(missing, &log, true, true), kErrorLanguageFile);
        EXPECT_TRUE(map.Problem());
        EXPECT_EQ(WideText(log), QD_W("Import Language File ") + WideText(missing) + QD_W("\n"));
    }
}

// Marks, encodings and lone units are tested in FileStreamTest.cpp.
TEST_F(LanguageFile, KeepsWhatIsGoodOfABrokenFile)
{
    const auto units = [](std::string_view text) { return Utf16(text, ""); };
    const std::string good = units("$A\tHello\tHallo\r\n"), later = units("$B\tBye\tCiao\r\n");
    const struct {
        const char* name;
        std::string bytes;
        std::uint64_t entries;
        const WChar *key, *text;
    } cases[] = {
        {"two marks", kMark + kMark + good + later, 1, QD_W("$B"), QD_W("Ciao")},
        {"open quote", kMark + good + units("$B\t\"Bye\tCiao\r\n$C\tx\ty\r\n"), 2, QD_W("$B"),
         QD_W("Bye\tCiao\n$C\tx\ty\n")},
        {"U+FFFF", kMark + Units(QD_W("$A\t\tx\xFFFFy\n")) + later, 2, QD_W("$A"), QD_W("x")},
        {"U+FFFF first", kMark + Units(QD_W("\xFFFF\xFFFF")) + good, 1, QD_W("$A"), QD_W("Hallo")},
        {"zeros", kMark + units("$A\t\tx" + std::string(300, 0) + "y\r\n") + later, 2, QD_W("$A"),
         QD_W("xy")},
        {"zero behind other lines", kMark + later + units("$A\t\tx" + std::string(1, 0) + "y\r\n"),
         2, QD_W("$A"), QD_W("xy")},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.name);
        WriteFileBytes(m_folder / "x.lng", row.bytes);
        BLanguageMap map;
        EXPECT_EQ(map.ImportMapFile(m_path, nullptr, false, true), kErrorNone);
        EXPECT_EQ(map.StdDefaultMap().Count(), row.entries);
        EXPECT_EQ(TextOf(map, row.key), row.text);
    }
}

TEST_F(LanguageFile, MayHaveTextsOfAnyLength)
{
    const WideText megabyte(1 << 20, '\\');
    Put("x.lng", QD_W("$B\t\"") + megabyte + QD_W("\"\n") + megabyte + QD_W("\n$C\tx"));
    BLanguageMap map;
    EXPECT_EQ(map.ImportMapFile(m_path, nullptr, false, true), kErrorNone);
    EXPECT_EQ(TextOf(map, QD_W("$B")), megabyte.substr(megabyte.size() / 2));
    EXPECT_EQ(TextOf(map, QD_W("$C")), QD_W("x"));
}

TEST_F(LanguageFile, IsImportedWithAllThatMatchInOrderOfTheirNames)
{
    Put("B.lng", QD_W("$A\tsecond\n$B\tb\n"));
    Put("a.lng", QD_W("$A\tfirst\n$-\n"));
    Put("c.txt", QD_W("$C\tc\n"));
    std::filesystem::create_directory(m_folder / "d.lng");
    const WString directory = m_folder.Path("");
    BLanguageMap map;
    WString log;
    EXPECT_EQ(map.ImportMapFiles(directory, QD_W("*.lng"), &log, true), kErrorLanguageLines);
    EXPECT_EQ(TextOf(map, QD_W("$A")), QD_W("second"));
    EXPECT_EQ(map.StdDefaultMap().Count(), 2u);
    EXPECT_EQ(log.GetTokenCount('\n'), 8u);
    EXPECT_EQ(map.ImportMapFiles(directory, QD_W("B.*"), nullptr, false), kErrorLanguageLines);
    EXPECT_EQ(map.Problem().code, EProblem::KeyTwice);
    EXPECT_EQ(map.Problem().name, QD_W("$A"));
    EXPECT_EQ(map.ImportMapFiles(directory, QD_W("?.txt"), nullptr, false), kErrorNone);
    EXPECT_FALSE(map.Problem());
    EXPECT_EQ(map.ImportMapFiles(directory, QD_W("*.none"), &log, false), kErrorLanguageFile);
    EXPECT_EQ(map.Problem().code, EProblem::NotThere);

    map.SetReportMissingTranslations(true);
    Put("d.txt", QD_W("$C\tc\n$D\tc\n"));
    EXPECT_EQ(map.ImportMapFile(m_folder.Path("d.txt"), nullptr, true, false), kErrorLanguageLines);
    EXPECT_EQ(map.Problem().code, EProblem::TextTwice);
    EXPECT_EQ(map.Problem().position, 2U);
    Put("d.txt", QD_W("$E\n"));
    EXPECT_EQ(map.ImportMapFile(m_folder.Path("d.txt"), nullptr, true, true), kErrorLanguageLines);
    EXPECT_EQ(map.Problem().Text(), m_folder.Path("d.txt") + QD_W(": line 1: \"$E\" lacks a text"));
}

TEST_F(LanguageFile, IsWrittenAlikeOnEveryPlatformAndReadsBack)
{
    const WChar awkward[] = {'\t', 0xD800, 0x1A, 0xE000, 0};
    const WideText texts[] = {QD_W("Hallo"),
                              QD_W(""),
                              QD_W("\u00D6l \u20AC"),
                              QD_W("a\nb\r\nc\td"),
                              QD_W("\"quoted\" \""),
                              QD_W("\""),
                              QD_W("c:\\new\\x41"),
                              QD_W("\\"),
                              QD_W("\\\\n\\q\\\n"),
                              QD_W("\\\x1A\\"),
                              awkward,
                              QD_W("\" $A\\t")};
    BLanguageMap map, read;
    for (std::size_t index = 0; index < std::size(texts); ++index) {
        const WString key = QD_W("$T_") + WString::FromInt(static_cast<int>(index));
        map.Add(key, texts[std::size(texts) - 1 - index].c_str(), texts[index].c_str(), false,
                false);
    }
    EXPECT_EQ(map.ExportMapFile(m_path), kErrorNone);
    EXPECT_EQ(FileBytes(m_folder / "x.lng"), FileBytes(GoldenFile("language/export.lng")));
    EXPECT_EQ(read.ImportMapFile(m_path, nullptr, false, false), kErrorNone);
    for (std::size_t index = 0; index < std::size(texts); ++index)
        EXPECT_EQ(TextOf(read, QD_W("$T_") + WString::FromInt(static_cast<int>(index))),
                  texts[index]);
    EXPECT_EQ(read.ExportMapFile(m_folder.Path("y.lng")), kErrorNone);
    EXPECT_EQ(FileBytes(m_folder / "y.lng"), FileBytes(m_folder / "x.lng"));
}

TEST_F(LanguageFile, IsWrittenAsFarAsItCan)
{
    // U+FFFF goes first, so that no escape comes of what stood around it.
    BLanguageMap ended;
    ended.Add(QD_W("$A"), QD_W(""), QD_W("\\\xFFFFn"), false, false);
    EXPECT_EQ(ended.ExportMapFile(m_path), kErrorNone);
    EXPECT_EQ(ended.ImportMapFile(m_path, nullptr, true, false), kErrorNone);
    EXPECT_EQ(TextOf(ended, QD_W("$A")), QD_W("\\n"));
    WString text = QD_W("a\nb\\n");
    BLanguageMap::ReplaceControlChars(text);
    EXPECT_EQ(WideText(text), QD_W("a\\nb\\\\n"));

    EXPECT_EQ(BLanguageMap().ExportMapFile(m_folder.Path("none/x.lng")), kErrorLanguageFile);
    EXPECT_EQ(BLanguageMap().ExportMapFile(m_path), kErrorNone);
    EXPECT_EQ(FileBytes(m_folder / "x.lng"), kMark);
}

class LanguageMerge : public LanguageFile {
protected:
    LanguageMerge()
    {
        for (const char* const name : {"master", "translated", "out"})
            std::filesystem::create_directory(m_folder / name);
    }
    int Merge(const WChar* name, const char* output = "out")
    {
        return BLanguageMap::MergeMapFile(m_folder.Path("master"), m_folder.Path("translated"),
                                          m_folder.Path(output), name, m_newEntries);
    }

    int m_newEntries = 0;
};

TEST_F(LanguageMerge, BringsATranslationUpToDate)
{
    Put("master/x.lng", QD_W("; made by\t\thand\tx\n\n\tlost\n$A\tHello\told\n")
                            QD_W("$B\ta\\nb\n$C\tfilled\n\"$D\"\t\"\"\"q\"\"\"\n$-\tbad"));
    Put("translated/x.lng", QD_W("$A\tHello\tHallo\n$A\tHello\ttwice\n$C\tfilled\n")
                                QD_W("$D\tq\t\"\"\"Q\"\"\"\n$Old\told\talt\n"));
    EXPECT_EQ(Merge(QD_W("x.lng")), kErrorNone);
    EXPECT_EQ(m_newEntries, 2);
    const std::string merged = FileBytes(GoldenFile("language/merged.lng"));
    EXPECT_EQ(FileBytes(m_folder / "out/x.lng"), merged);

    // The output may take the place of a file that was read.
    EXPECT_EQ(Merge(QD_W("x.lng"), "translated"), kErrorNone);
    EXPECT_EQ(FileBytes(m_folder / "translated/x.lng"), merged);
    EXPECT_EQ(Merge(QD_W("x.lng"), "master"), kErrorNone);
    EXPECT_EQ(m_newEntries, 5) << "now $B has its default text for a translation";
}

TEST_F(LanguageMerge, TakesAllFilesThatMatch)
{
    const auto mergeAll = [this](const WChar* pattern) {
        return BLanguageMap::MergeMapFiles(m_folder.Path("master"), m_folder.Path("translated"),
                                           m_folder.Path("out"), pattern, m_newEntries);
    };
    Put("master/a.lng", QD_W("$A\tHello\n"));
    EXPECT_EQ(Merge(QD_W("none.lng")), kErrorLanguageFile);
    EXPECT_FALSE(std::filesystem::exists(m_folder / "out/none.lng"));
    Put("master/b.lng", QD_W("$B\tBye\n$C\n"));
    EXPECT_EQ(mergeAll(QD_W("*.lng")), kErrorNone);
    EXPECT_EQ(m_newEntries, 3) << "without a translated file all entries are new";
    EXPECT_EQ(mergeAll(QD_W("*.none")), kErrorLanguageFile);
    std::filesystem::create_directory(m_folder / "out/c.lng");
    Put("master/c.lng", QD_W(""));
    EXPECT_EQ(mergeAll(QD_W("*.lng")), kErrorLanguageOutput);
}

} // namespace
