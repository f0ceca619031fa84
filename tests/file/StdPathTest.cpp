#include "core/file/StdPath.h"

#include "core/file/BFile.h"

#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"
#include "tests/platform/OffWindows.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

TEST(StdPath, LeadsToTheSameFileThereAndBack)
{
    const TemporaryFolder folder;
    std::set<std::u16string> names = {
        u"a",         u"\u00E4\u00DF",        u"\u03BC\u03AD\u03C4\u03C1\u03BF",
        u"\u0438",    u"\u6D4B\u91CF \u5C3A", u"\u0642\u064A\u0627\u0633",
        u"\U0001F4D0"};
    for (const std::u16string& name : names) {
        const WString path = folder.Path("") + WString::FromUtf16(name);
        WriteFileBytes(QDToStdPath(path), name.size() > 1 ? "ab" : "a");
        EXPECT_EQ(BFile::Size(path), name.size() > 1 ? 2 : 1) << path;
    }
    if (kIsOffWindows) { // a byte that is no UTF-8, and a "\" in a name
        WriteFileBytes(folder / "\xE4\\x", "ab");
        names.insert({0xDCE4, 0xDC5C, 'x'});
    }
    std::set<std::u16string> found;
    for (const auto& entry : std::filesystem::directory_iterator(QDToStdPath(folder.Path("")))) {
        const WString path = QDFromStdPath(entry.path());
        EXPECT_EQ(BFile::Size(path), static_cast<std::int64_t>(entry.file_size())) << path;
        EXPECT_EQ(QDToStdPath(path), entry.path());
        const WString name = QDFromStdPath(entry.path().filename());
        found.insert(std::u16string(name.CStr(), name.CStr() + name.Length()));
    }
    EXPECT_EQ(found, names);

    WString longer;
    longer.Fill(20000, QD_W('\u00E4'));
    EXPECT_EQ(QDFromStdPath(QDToStdPath(longer)), longer);
    EXPECT_TRUE(QDToStdPath(WString()).empty() && QDFromStdPath({}).IsEmpty());
    const WString separated = QDFromStdPath(QDToStdPath(QD_W("a\\b")));
    EXPECT_EQ(separated.GetAt(1), kIsOffWindows ? '/' : '\\');
}
