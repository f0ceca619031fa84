#include "core/platform/FileStream.h"

#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

using namespace std::string_literals;
using WideText = std::basic_string<WChar>;

namespace {

class FileStream : public testing::Test {
protected:
    platform::Stream Open(const WChar* mode) const
    {
        return platform::OpenStream(m_file.string<WChar>().c_str(), mode);
    }

    // What `ReadText` reads until it reads nothing.
    static std::vector<WideText> Pieces(std::FILE* stream)
    {
        std::vector<WideText> pieces;
        WChar buffer[512];
        while (platform::ReadText(stream, buffer, 512))
            pieces.emplace_back(buffer);
        return pieces;
    }

    // What the file holds once `texts` were written to it.
    std::string Written(const WChar* mode, const std::vector<WideText>& texts) const
    {
        platform::Stream stream = Open(mode);
        EXPECT_TRUE(stream);
        for (const WideText& text : texts)
            EXPECT_TRUE(platform::WriteText(stream.get(), text.c_str()));
        EXPECT_EQ(std::fclose(stream.release()), 0);
        return FileBytes(m_file);
    }

    TemporaryFolder m_folder;
    std::filesystem::path m_file = m_folder / "file.txt";
};

const WChar* const kRead = QD_W("r,ccs=UTF-16LE");
const WChar* const kReadAny = QD_W("r,ccs=UNICODE");
const WChar* const kWrite = QD_W("wt,ccs=UTF-16LE");
const WChar* const kAppend = QD_W("at,ccs=UNICODE");
const std::string kMark = "\xFF\xFE", kMark8 = "\xEF\xBB\xBF";

} // namespace

TEST_F(FileStream, ReadsUnicodeTextByItsMark)
{
    struct Case {
        const WChar* mode;
        std::string bytes;
        std::vector<WideText> pieces;
    };
    const Case cases[] = {
        {kRead, kMark + "x\0\r\0\n\0y\0"s, {QD_W("x\n"), QD_W("y")}},
        {kRead, "x\0\r\0\n\0y\0"s, {QD_W("x\n"), QD_W("y")}},
        {kRead, "", {}},
        {kRead, kMark, {}},
        {kRead, "x", {}},
        {kRead, "\xEF\xBB", {QD_W("\xBBEF")}}, // half a mark
        {kRead, kMark + kMark + "x\0"s, {QD_W("\xFEFFx")}},
        {kRead, "\xFE\xFF\0x"s, {QD_W("\xFFFE\x7800")}}, // a big-endian mark is text
        {kRead, kMark8 + "\xC3\xA4\r\n\xE2\x82\xAC", {QD_W("\x00E4\n"), QD_W("\x20AC")}},
        {kRead, kMark8 + "\xF0\x9F\x98\x80", {QD_W("\xD83D\xDE00")}},
        {kRead, kMark8 + "\xFFx\xC3y\x80", {QD_W("\xFFFDx\xFFFDy\xFFFD")}},
        {kRead, kMark8 + "x\xE2\x82", {QD_W("x\xFFFD")}}, // cut
        {kRead, "x\0\r\0y\0\r\0\r\0\n\0\r\0"s, {QD_W("x\ry\r\n"), QD_W("\r")}},
        {kRead, "\n\0\n\0"s, {QD_W("\n"), QD_W("\n")}},
        {kRead, "x\0\x1A\0y\0"s, {QD_W("x")}}, // Ctrl-Z
        {kRead, "x\0\r\0\x1A\0\n\0"s, {QD_W("x\r")}},
        {kRead, "\x1A\x1A\0\x1A"s, {QD_W("\x1A1A\x1A00")}},
        {kRead, "x\0y"s, {QD_W("x")}}, // an odd byte
        {kRead, "x\0\r\0\n"s, {QD_W("x\r")}},
        {kRead, "\r\n\n\r\n\n\n\0"s, {QD_W("\x0A0D\x0D0A\x0A0A\n")}},
        {kRead, "\x3D\xD8\n\0"s, {QD_W("\xD83D\n")}}, // a lone surrogate
        {kRead, "x\0\xFF\xFFy\0\n\0"s, {QD_W("x"), QD_W("y\n")}},
        {kRead, "x\0\0\0y\0\n\0z\0"s, {QD_W("x"), QD_W("z")}}, // a NUL cuts what is seen
        {kReadAny, kMark + "x\0\n\0"s, {QD_W("x\n")}},
        {kReadAny, kMark8 + "\xC3\xA4", {QD_W("\x00E4")}},
        {kReadAny, "\xE4\x80\r\nx\x1Ay", {QD_W("\x00E4\x0080\n"), QD_W("x")}},
        {QD_W(" rt , ccs = utf-16le "), kMark + "x\0"s, {QD_W("x")}},
        {QD_W("rb"), kMark + "\r\0\n\0\x1A\0x"s, {QD_W("\xFEFF\r\n"), QD_W("\x001A")}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        WriteFileBytes(m_file, c.bytes);
        const platform::Stream stream = Open(c.mode);
        ASSERT_TRUE(stream);
        EXPECT_EQ(Pieces(stream.get()), c.pieces);
    }
}

TEST_F(FileStream, TellsTheEndAsTheLastLineIsRead)
{
    struct Case {
        std::string bytes;
        int room;
        std::vector<bool> ends; // what `feof` tells after each call, until one reads nothing
    };
    const Case cases[] = {
        {"a\0\n\0b\0"s, 512, {false, true, true}}, // the last line has no line end
        {"a\0\n\0"s, 512, {false, true}},          // nothing follows the line end
        {"", 512, {true}},
        {"a\0b\0c\0d\0e\0"s, 3, {false, false, true, true}}, // two units at once
        {"a\0b\0\n\0"s, 3, {false, false, true}},            // the line end alone
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.bytes.size());
        WriteFileBytes(m_file, c.bytes);
        const platform::Stream stream = Open(QD_W("r,ccs=UTF-16LE"));
        ASSERT_TRUE(stream);
        std::vector<WChar> buffer(512);
        std::vector<bool> ends;
        for (bool isRead = true; isRead;) {
            isRead = platform::ReadText(stream.get(), buffer.data(), c.room);
            ends.push_back(std::feof(stream.get()) != 0);
        }
        EXPECT_EQ(ends, c.ends);
    }
}

TEST_F(FileStream, WritesUnicodeTextInTheEncodingOfTheFile)
{
    struct Case {
        const WChar* mode;
        const char* before; // null: no file
        std::vector<WideText> texts;
        std::string after;
    };
    const Case cases[] = {
        {kWrite, nullptr, {}, kMark},
        {QD_W("wt,ccs=UNICODE"), nullptr, {QD_W("")}, kMark},
        {kWrite, nullptr, {QD_W("x\r\n")}, kMark + "x\0\r\0\r\0\n\0"s},
        {kWrite, nullptr, {QD_W("\n\x0A0D")}, kMark + "\r\0\n\0\r\n"s},
        {kWrite, "", {QD_W("\xD83D\xDE00\xDE00")}, kMark + "\x3D\xD8\0\xDE\0\xDE"s},
        {kWrite, "\xEF\xBB\xBFold", {QD_W("x")}, kMark + "x\0"s}, // what was there goes
        {kAppend, nullptr, {QD_W("x\n")}, kMark + "x\0\r\0\n\0"s},
        {kAppend, "", {QD_W("x")}, kMark + "x\0"s},
        {kAppend, "\xFF\xFE", {QD_W("x")}, kMark + "x\0"s},
        {kAppend, "\xFF\xFE\x1A", {QD_W("x\n")}, kMark + "\x1Ax\0\r\0\n\0"s}, // and an odd byte
        {kAppend, "\xEF\xBB\xBF", {QD_W("\x00E4\n\x20AC")}, kMark8 + "\xC3\xA4\r\n\xE2\x82\xAC"},
        {kAppend, "\xEF\xBB\xBF", {QD_W("\xD83D"), QD_W("\xDE00")}, kMark8 + "\xF0\x9F\x98\x80"},
        {kAppend, "\xEF\xBB\xBF", {QD_W("\xD83Dx\xDE00")}, kMark8 + "\xEF\xBF\xBDx\xEF\xBF\xBD"},
        {kAppend, "old", {QD_W("x\x00E4\n")}, "oldx\xE4\r\n"},
        {kAppend, "\xFE\xFF?o", {QD_W("x")}, "\xFE\xFF?ox"}, // a big-endian mark is text
        {QD_W("a,ccs=UTF-16LE"), "old", {QD_W("x")}, "oldx\0"s},
        {QD_W("wb"), nullptr, {QD_W("x\n\r\n")}, "x\0\n\0\r\0\n\0"s},
        {QD_W("ab"), "old", {QD_W("x")}, "oldx\0"s},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        std::filesystem::remove(m_file);
        if (c.before != nullptr)
            WriteFileBytes(m_file, c.before);
        EXPECT_EQ(Written(c.mode, c.texts), c.after);
    }
}

TEST_F(FileStream, LeavesOutWhatStandsBehindAUnitThatCannotBeWritten)
{
    struct Case {
        const WChar* mode;
        const char* before;
        const WChar* text;
        std::string after;
    };
    const Case cases[] = {
        {kAppend, "old", QD_W("y\x20ACz\n"), "oldxyx"},
        {kWrite, "", QD_W("y\xFFFFz\n"), "\xFF\xFEx\0y\0\xFF\xFFx\0"s},
    };
    for (const Case& c : cases) {
        WriteFileBytes(m_file, c.before);
        platform::Stream stream = Open(c.mode);
        ASSERT_TRUE(stream);
        EXPECT_TRUE(platform::WriteText(stream.get(), QD_W("x")));
        EXPECT_FALSE(platform::WriteText(stream.get(), c.text));
        EXPECT_TRUE(platform::WriteText(stream.get(), QD_W("x")));
        stream.reset();
        EXPECT_EQ(FileBytes(m_file), c.after);
    }
}

TEST_F(FileStream, KeepsLongTextsWhole)
{
    // Longer than every buffer on the way, its line ends and longer characters across their
    // borders.
    WideText text;
    for (std::size_t line = 0; line < 9000; ++line)
        text += WideText(line % 5, QD_W('x')) + QD_W("\x20AC\x00E4\xD83D\xDE00\n");
    for (const std::string& mark : {kMark, kMark8}) {
        WriteFileBytes(m_file, mark);
        const std::string bytes = Written(kAppend, {text});
        EXPECT_GE(bytes.size(), text.size());
        const platform::Stream stream = Open(kRead);
        ASSERT_TRUE(stream);
        WideText all;
        for (const WideText& piece : Pieces(stream.get()))
            all += piece;
        EXPECT_TRUE(all == text);
    }
}

TEST_F(FileStream, BuffersWhatIsWritten)
{
    for (const WChar* mode : {QD_W("wb"), kWrite}) {
        const platform::Stream stream = Open(mode);
        ASSERT_TRUE(stream);
        const std::string before = FileBytes(m_file);
        EXPECT_TRUE(platform::WriteText(stream.get(), QD_W("x\n")));
        EXPECT_EQ(FileBytes(m_file), before);
    }
}

TEST_F(FileStream, TranslatesNarrowText)
{
    platform::Stream stream = Open(QD_W("wt"));
    ASSERT_TRUE(stream);
    std::fputs("\xEF\xBB\xBFx\ny\r\n\xE4\r", stream.get());
    stream = Open(QD_W("a"));
    ASSERT_TRUE(stream);
    std::fputs("z\n", stream.get());
    stream.reset();
    EXPECT_EQ(FileBytes(m_file), "\xEF\xBB\xBFx\r\ny\r\r\n\xE4\rz\r\n");

    WriteFileBytes(m_file, "\xEF\xBB\xBFx\r\ny\r\r\n\xE4\rz\x1Ax");
    stream = Open(QD_W("r"));
    ASSERT_TRUE(stream);
    char buffer[64] = {};
    const std::size_t count = std::fread(buffer, 1, sizeof buffer, stream.get());
    EXPECT_EQ(std::string(buffer, count), "\xEF\xBB\xBFx\ny\r\n\xE4\rz");
    EXPECT_TRUE(std::feof(stream.get()));
}

TEST_F(FileStream, RewindsToTheMark)
{
    for (const std::string& bytes : {"\xFF\xFEx\0\x1A\0y\0"s, "\xEF\xBB\xBFx\x1Ay"s}) {
        WriteFileBytes(m_file, bytes);
        const platform::Stream stream = Open(QD_W("r,ccs=UTF-16LE"));
        ASSERT_TRUE(stream);
        EXPECT_EQ(Pieces(stream.get()), (std::vector<WideText>{QD_W("x")}));
        std::rewind(stream.get());
        EXPECT_EQ(Pieces(stream.get()), (std::vector<WideText>{QD_W("\xFEFFx")}));
    }
}

TEST_F(FileStream, ReadsAndWritesOneText)
{
    char buffer[64] = {};
    const auto line = [&](std::FILE* stream) {
        return std::string(std::fgets(buffer, sizeof buffer, stream) != nullptr ? buffer : "");
    };
    const auto rest = [&](std::FILE* stream) {
        return std::string(buffer, std::fread(buffer, 1, sizeof buffer, stream));
    };
    WriteFileBytes(m_file, "one\r\ntwo\r\nthree\r\n");
    platform::Stream stream = Open(QD_W("r+"));
    ASSERT_TRUE(stream);
    EXPECT_EQ(line(stream.get()), "one\n");
    EXPECT_EQ(std::ftell(stream.get()), 5);
    std::fseek(stream.get(), 0, SEEK_CUR);
    std::fputs("TWO\n", stream.get());
    std::fseek(stream.get(), 0, SEEK_CUR);
    EXPECT_EQ(line(stream.get()), "three\n");
    std::fseek(stream.get(), 5, SEEK_SET);
    EXPECT_EQ(rest(stream.get()), "TWO\nthree\n");
    for (const auto& [mode, all] :
         {std::pair{QD_W("w+t"), "a\nb\n"}, {QD_W("a+"), "a\nb\na\nb\n"}}) {
        stream = Open(mode);
        ASSERT_TRUE(stream);
        std::fputs("a\nb\n", stream.get());
        std::rewind(stream.get());
        EXPECT_EQ(rest(stream.get()), all);
    }
    stream.reset();
    EXPECT_EQ(FileBytes(m_file), "a\r\nb\r\na\r\nb\r\n");

    stream = Open(QD_W("w+,ccs=UTF-16LE"));
    ASSERT_TRUE(stream);
    EXPECT_TRUE(platform::WriteText(stream.get(), QD_W("\x20AC\n")));
    std::rewind(stream.get());
    EXPECT_EQ(Pieces(stream.get()), (std::vector<WideText>{QD_W("\xFEFF\x20AC\n")}));
    stream = Open(QD_W("r+,ccs=UNICODE"));
    ASSERT_TRUE(stream);
    EXPECT_EQ(Pieces(stream.get()), (std::vector<WideText>{QD_W("\x20AC\n")}));
    std::fseek(stream.get(), 0, SEEK_END);
    EXPECT_TRUE(platform::WriteText(stream.get(), QD_W("b")));
    stream.reset();
    EXPECT_EQ(FileBytes(m_file), "\xFF\xFE\xAC\x20\r\0\n\0b\0"s);
}

TEST_F(FileStream, RewindsAWriter)
{
    for (const WChar* mode : {QD_W("wt"), QD_W("wt,ccs=UTF-16LE")}) {
        const platform::Stream stream = Open(mode);
        ASSERT_TRUE(stream);
        const bool isNarrow = std::basic_string<WChar>(mode).size() == 2;
        const auto write = [&](const char* narrow, const WChar* wide) {
            isNarrow ? static_cast<void>(std::fputs(narrow, stream.get()))
                     : static_cast<void>(platform::WriteText(stream.get(), wide));
        };
        write("ab\n", QD_W("ab\n"));
        std::rewind(stream.get());
        write("X", QD_W("X")); // over the mark
        std::fflush(stream.get());
        EXPECT_EQ(FileBytes(m_file), isNarrow ? "Xb\r\n" : "X\0a\0b\0\r\0\n\0"s);
    }
}

TEST_F(FileStream, MeasuresAndSeeksBeyondFourGigabytes)
{
    const std::uint64_t distant = 5'000'000'000;
    platform::Stream stream = Open(QD_W("w+b"));
    ASSERT_TRUE(stream);
    EXPECT_EQ(platform::FileSize(stream.get()), 0u);
    ASSERT_TRUE(platform::Seek(stream.get(), distant)); // the gap takes no room on the disk
    std::fputs("end", stream.get());
    ASSERT_EQ(std::fflush(stream.get()), 0);
    EXPECT_EQ(platform::FileSize(stream.get()), distant + 3);
    ASSERT_TRUE(platform::Seek(stream.get(), distant + 1));
    EXPECT_EQ(std::fgetc(stream.get()), 'n');
    EXPECT_FALSE(platform::Seek(stream.get(), ~std::uint64_t{0}));
}

TEST_F(FileStream, OpensNothingThatIsNotThere)
{
    for (const WChar* mode : {QD_W("rb"), QD_W("r"), QD_W("r,ccs=UTF-16LE")}) {
        EXPECT_FALSE(Open(mode));
        EXPECT_FALSE(platform::OpenStream(QD_W(""), mode));
        EXPECT_FALSE(platform::OpenStream(QD_W("."), mode)); // a folder
    }
    WriteFileBytes(m_file, "x");
    EXPECT_FALSE(Open(QD_W("wbx")));
    for (const WChar* mode : {QD_W(""), QD_W("q"), QD_W("r,ccs=UTF-16BE")})
        EXPECT_FALSE(Open(mode));
    EXPECT_EQ(FileBytes(m_file), "x");
}
