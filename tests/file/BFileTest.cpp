#include "core/file/BFile.h"

#include "core/base/ErrorCodes.h"

#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string>
#include <utility>

namespace fs = std::filesystem;

TEST(BFile, OwnsOneStream)
{
    const TemporaryFolder folder;
    const WString path = folder.Path("file");
    BFile file(path, QD_W("wb"));
    std::FILE* const first = file;
    ASSERT_NE(first, nullptr);
    EXPECT_FALSE(file.Open(path, QD_W("rb")) || file.OpenShared(path, QD_W("rb")));
    EXPECT_EQ(static_cast<std::FILE*>(file), first);
    std::fputs("abc", file);
    file.Close();
    EXPECT_TRUE(file == nullptr);
    EXPECT_FALSE(file.Rewind() || file.Open(nullptr, QD_W("rb")) || file.Open(path, nullptr) ||
                 file.OpenShared(nullptr, QD_W("rb")) || file.OpenShared(path, nullptr) ||
                 file.Open(folder.Path("missing"), QD_W("rb")));
    ASSERT_TRUE(file.OpenShared(path, QD_W("rb")));
    EXPECT_EQ(std::fgetc(file), 'a');
    EXPECT_TRUE(file.Rewind());
    EXPECT_EQ(std::fgetc(file), 'a');
    EXPECT_TRUE(BFile().OpenShared(path, QD_W("r+b")));
}

TEST(BFile, AnswersQuestionsByName)
{
    const TemporaryFolder folder;
    WriteFileBytes(folder / "empty", "");
    constexpr std::int64_t big = (std::int64_t{4} << 30) + 3;
    std::ofstream(folder / "big", std::ios::binary).seekp(big - 1).put('x'); // sparse

    for (const WString& none : {folder.Path("missing"), folder.Path(""), WString()})
        EXPECT_EQ(BFile::Size(none), -1);
    EXPECT_EQ(BFile::Size(nullptr), -1);
    EXPECT_EQ(BFile::Size(folder.Path("empty")), 0);
    EXPECT_EQ(BFile::Size(folder.Path("big")), big);

    EXPECT_TRUE(BFile::IsDirectory(folder.Path("")));
    EXPECT_FALSE(BFile::IsDirectory(folder.Path("empty")) || BFile::IsDirectory(nullptr) ||
                 BFile::IsDirectory(folder.Path("missing")));

    EXPECT_TRUE(BFile::Exist(folder.Path("b?g")) && BFile::Exist(folder.Path("empty")));
    EXPECT_FALSE(BFile::Exist(folder.Path("c*")) || BFile::Exist(nullptr) ||
                 BFile::Exist(QD_W("")));

    EXPECT_EQ(BFile::GetShortPathNameW(folder.Path("big")).second, 0);
    WriteFileBytes(folder / "a blank", "");
    const auto blank = BFile::GetShortPathNameW(folder.Path("a blank"));
    EXPECT_EQ(blank.second != 0, blank.first.Includes(QD_W(' '))); // where there are no short names
    const auto missing = BFile::GetShortPathNameW(folder.Path("missing"));
    EXPECT_EQ(missing.second, kErrorNoShortPath);
    EXPECT_TRUE(missing.first.IsEmpty());
}

TEST(BFile, KnowsUnicodeByItsMark)
{
    const std::pair<std::string, bool> cases[] = {
        {"", false},     {"\xFF\xFE", true},   {"\xFE\xFFxy", true}, {"\xEF\xBB\xBF", true},
        {"\xFF", false}, {"\xEF\xBB.", false}, {"plain", false},
    };
    const TemporaryFolder folder;
    for (const auto& [bytes, isUnicode] : cases) {
        WriteFileBytes(folder / "text", bytes);
        EXPECT_EQ(BFile::IsUnicode(folder.Path("text")), isUnicode) << bytes;
    }
    EXPECT_FALSE(BFile::IsUnicode(folder.Path("missing")) || BFile::IsUnicode(nullptr));
}

TEST(BFile, ConvertsTextOnceAndWhole)
{
    std::string every;
    for (int byte = 0; byte < 256; ++byte)
        every += static_cast<char>(byte);
    const std::pair<std::string, std::string> cases[] = {
        {"", "\xFF\xFE"},
        {"x", Utf16("x")},
        {"a\r\r\n\nb", Utf16("a\r\r\n\r\nb")},
        // As the other platform writes it.
        {every + "100% \xE4hnlich\r\nlast line\n", FileBytes(GoldenFile("file/converted.txt"))},
    };
    const TemporaryFolder folder;
    const WString path = folder.Path("text");
    for (const auto& [bytes, converted] : cases) {
        WriteFileBytes(folder / "text", bytes);
        for (int time = 0; time < 2; ++time) {
            EXPECT_EQ(BFile::ConvertToUnicode(path), 0);
            EXPECT_EQ(FileBytes(folder / "text"), converted);
        }
    }

    // Longer than the pieces in which it is converted, without and with line ends there.
    std::string text(3u << 20, 'x');
    for (std::size_t i = 0; i < text.size() / 2; i += 7)
        text.replace(i, 3, "\n\r\n");
    WriteFileBytes(folder / "text", text);
    EXPECT_EQ(BFile::ConvertToUnicode(path), 0);
    const auto added = static_cast<std::size_t>(std::ranges::count(text, '\r'));
    EXPECT_EQ(fs::file_size(folder / "text"), 2 + 2 * (text.size() + added));
}

TEST(BFile, RefusesToConvertWhatItMayNotWrite)
{
    const TemporaryFolder folder;
    WriteFileBytes(folder / "text", "old");
    fs::permissions(folder / "text", fs::perms{0444});
    EXPECT_EQ(BFile::ConvertToUnicode(folder.Path("text")), kErrorFileNotWritten);
    EXPECT_EQ(FileBytes(folder / "text"), "old");
    for (const WString& none : {folder.Path("missing"), folder.Path(""), WString()})
        EXPECT_EQ(BFile::ConvertToUnicode(none), kErrorFileNotWritten);
    EXPECT_EQ(BFile::ConvertToUnicode(nullptr), kErrorFileNotWritten);
    fs::permissions(folder / "text", fs::perms{0644});
}

TEST(BFile, DeletesFilesOnly)
{
    const TemporaryFolder folder;
    for (const char* name : {"1.old", "2.old", "2.new", "aab", "abb", "locked.old"})
        WriteFileBytes(folder / name, "");
    const WString named = folder.Path("") + QD_W("\u00E4\u6E2C \xD83D\xDE00.old");
    EXPECT_GE(std::fputs("old", BFile(named, QD_W("wb"))), 0);
    EXPECT_EQ(BFile::Size(named), 3) << "its end writes what it has";
    fs::create_directory(folder / "folder.old");
    fs::permissions(folder / "locked.old", fs::perms{0444});
    EXPECT_EQ(BFile::Delete(folder.Path("locked*")), 0);
    EXPECT_EQ(BFile::Delete(folder.Path("*.none")), -1);
    EXPECT_EQ(BFile::Delete(WString()), 0);
    // Both separators lead into the folder, whatever lies in the current one.
    WString pattern = folder.Path("*.old");
    pattern.Replace(QD_W('\\'), QD_W('/'), true);
    EXPECT_EQ(BFile::Delete(folder.Path("") + QD_W("*\u6E2C*")), 1);
    EXPECT_EQ(BFile::Delete(pattern), 2);
    EXPECT_EQ(BFile::Delete(folder.Path("*ab")), 1) << "the star takes one \"a\"";
    for (const char* kept : {"2.new", "abb", "locked.old", "folder.old"})
        EXPECT_TRUE(fs::exists(folder / kept)) << kept;
    fs::permissions(folder / "locked.old", fs::perms{0644});
}
