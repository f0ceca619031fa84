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

    TemporaryFolder m_folder;
    std::filesystem::path m_file = m_folder / "file.txt";
};

} // namespace

TEST_F(FileStream, ReadsUnicodeTextByItsMark)
{
    const WChar* const utf16 = QD_W("r,ccs=UTF-16LE");
    const WChar* const unicode = QD_W("r,ccs=UNICODE");
    struct Case {
        const char* name;
        const WChar* mode;
        std::string bytes;
        std::vector<WideText> pieces;
    };
    const Case cases[] = {
        {"mark", utf16, "\xFF\xFEx\0\r\0\n\0y\0"s, {QD_W("x\n"), QD_W("y")}},
        {"no mark", utf16, "x\0\r\0\n\0y\0"s, {QD_W("x\n"), QD_W("y")}},
        {"empty", utf16, "", {}},
        {"mark alone", utf16, "\xFF\xFE", {}},
        {"one byte", utf16, "x", {}},
        {"half a mark", utf16, "\xEF\xBB", {QD_W("\xBBEF")}},
        {"second mark is text", utf16, "\xFF\xFE\xFF\xFEx\0"s, {QD_W("\xFEFFx")}},
        {"big-endian mark is text", utf16, "\xFE\xFF\0x"s, {QD_W("\xFFFE\x7800")}},
        {"UTF-8",
         utf16,
         "\xEF\xBB\xBF\xC3\xA4\r\n\xE2\x82\xAC\xF0\x9F\x98\x80",
         {QD_W("\x00E4\n"), QD_W("\x20AC\xD83D\xDE00")}},
        {"invalid UTF-8", utf16, "\xEF\xBB\xBF\xFFx\xC3y\x80", {QD_W("\xFFFDx\xFFFDy\xFFFD")}},
        {"cut UTF-8", utf16, "\xEF\xBB\xBFx\xE2\x82", {QD_W("x\xFFFD")}},
        {"lone returns", utf16, "x\0\r\0y\0\r\0\r\0\n\0\r\0"s, {QD_W("x\ry\r\n"), QD_W("\r")}},
        {"line feeds alone", utf16, "\n\0\n\0"s, {QD_W("\n"), QD_W("\n")}},
        {"Ctrl-Z", utf16, "x\0\x1A\0y\0"s, {QD_W("x")}},
        {"Ctrl-Z after a return", utf16, "x\0\r\0\x1A\0\n\0"s, {QD_W("x\r")}},
        {"Ctrl-Z as half a unit", utf16, "\x1A\x1A\0\x1A"s, {QD_W("\x1A1A\x1A00")}},
        {"odd byte", utf16, "x\0y"s, {QD_W("x")}},
        {"odd line feed", utf16, "x\0\r\0\n"s, {QD_W("x\r")}},
        {"line ends as halves", utf16, "\r\n\n\r\n\n\n\0"s, {QD_W("\x0A0D\x0D0A\x0A0A\n")}},
        {"lone surrogate", utf16, "\x3D\xD8\n\0"s, {QD_W("\xD83D\n")}},
        {"U+FFFF ends a piece", utf16, "x\0\xFF\xFFy\0\n\0"s, {QD_W("x"), QD_W("y\n")}},
        {"NUL cuts what is seen", utf16, "x\0\0\0y\0\n\0z\0"s, {QD_W("x"), QD_W("z")}},
        {"UNICODE, mark", unicode, "\xFF\xFEx\0\n\0"s, {QD_W("x\n")}},
        {"UNICODE, UTF-8", unicode, "\xEF\xBB\xBF\xC3\xA4", {QD_W("\x00E4")}},
        {"UNICODE, no mark", unicode, "\xE4\x80\r\nx\x1Ay", {QD_W("\x00E4\x0080\n"), QD_W("x")}},
        {"blanks", QD_W(" rt , ccs = utf-16le "), "\xFF\xFEx\0"s, {QD_W("x")}},
        {"binary", QD_W("rb"), "\xFF\xFE\r\0\n\0\x1A\0x"s, {QD_W("\xFEFF\r\n"), QD_W("\x001A")}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
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
    const WChar* const write = QD_W("wt,ccs=UTF-16LE");
    const WChar* const create = QD_W("wt,ccs=UNICODE");
    const WChar* const append = QD_W("at,ccs=UNICODE");
    const auto none = std::optional<std::string>();
    struct Case {
        const char* name;
        const WChar* mode;
        std::optional<std::string> before;
        std::vector<WideText> texts;
        std::string after;
    };
    const Case cases[] = {
        {"mark alone", write, none, {}, "\xFF\xFE"},
        {"empty text", create, none, {QD_W("")}, "\xFF\xFE"},
        {"line ends",
         write,
         none,
         {QD_W("x\r\n"), QD_W("\n\x0A0D")},
         "\xFF\xFEx\0\r\0\r\0\n\0\r\0\n\0\r\n"s},
        {"surrogates", create, none, {QD_W("\xD83D\xDE00\xDE00")}, "\xFF\xFE\x3D\xD8\0\xDE\0\xDE"s},
        {"what was there goes", write, "\xEF\xBB\xBFold", {QD_W("x")}, "\xFF\xFEx\0"s},
        {"append, new", append, none, {QD_W("x\n")}, "\xFF\xFEx\0\r\0\n\0"s},
        {"append, empty", append, "", {QD_W("x")}, "\xFF\xFEx\0"s},
        {"append, mark alone", append, "\xFF\xFE", {QD_W("x")}, "\xFF\xFEx\0"s},
        {"append, UTF-16", append, "\xFF\xFEo\0"s, {QD_W("x\n")}, "\xFF\xFEo\0x\0\r\0\n\0"s},
        {"append behind Ctrl-Z", append, "\xFF\xFE\x1A\0"s, {QD_W("x")}, "\xFF\xFE\x1A\0x\0"s},
        {"append behind an odd byte", append, "\xFF\xFEo", {QD_W("x")}, "\xFF\xFEox\0"s},
        {"append, UTF-8",
         append,
         "\xEF\xBB\xBF",
         {QD_W("\x00E4\n\x20AC\xD83D"), QD_W("\xDE00")},
         "\xEF\xBB\xBF\xC3\xA4\r\n\xE2\x82\xAC\xF0\x9F\x98\x80"},
        {"append, lone surrogates",
         append,
         "\xEF\xBB\xBF",
         {QD_W("\xD83Dx\xDE00")},
         "\xEF\xBB\xBF\xEF\xBF\xBDx\xEF\xBF\xBD"},
        {"append, 8-bit", append, "old", {QD_W("x\x00E4\n")}, "oldx\xE4\r\n"},
        {"append, big-endian mark", append, "\xFE\xFF\0o"s, {QD_W("x")}, "\xFE\xFF\0ox"s},
        {"append, UTF-16 asked for", QD_W("a,ccs=UTF-16LE"), "old", {QD_W("x")}, "oldx\0"s},
        {"binary", QD_W("wb"), none, {QD_W("x\n\r\n")}, "x\0\n\0\r\0\n\0"s},
        {"binary, appended", QD_W("ab"), "old", {QD_W("x")}, "oldx\0"s},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::filesystem::remove(m_file);
        if (c.before)
            WriteFileBytes(m_file, *c.before);
        platform::Stream stream = Open(c.mode);
        ASSERT_TRUE(stream);
        for (const WideText& text : c.texts)
            EXPECT_TRUE(platform::WriteText(stream.get(), text.c_str()));
        EXPECT_EQ(std::fclose(stream.release()), 0);
        EXPECT_EQ(FileBytes(m_file), c.after);
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
        {QD_W("at,ccs=UNICODE"), "old", QD_W("y\x20ACz\n"), "oldxyx"},
        {QD_W("wt,ccs=UTF-16LE"), "", QD_W("y\xFFFFz\n"), "\xFF\xFEx\0y\0\xFF\xFFx\0"s},
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
    struct Case {
        const WChar* mode;
        const char* before;
    };
    // Longer than every buffer on the way, its line ends and longer characters across their
    // borders.
    WideText text;
    for (std::size_t line = 0; line < 9000; ++line)
        text += WideText(line % 5, QD_W('x')) + QD_W("\x20AC\x00E4\n");
    for (const Case& c :
         {Case{QD_W("wt,ccs=UTF-16LE"), ""}, Case{QD_W("at,ccs=UNICODE"), "\xEF\xBB\xBF"}}) {
        WriteFileBytes(m_file, c.before);
        platform::Stream stream = Open(c.mode);
        ASSERT_TRUE(stream);
        ASSERT_TRUE(platform::WriteText(stream.get(), text.c_str()));
        stream = Open(QD_W("r,ccs=UTF-16LE"));
        ASSERT_TRUE(stream);
        WideText all;
        for (const WideText& piece : Pieces(stream.get()))
            all += piece;
        EXPECT_TRUE(all == text);
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
    const auto line = [](std::FILE* stream) {
        char buffer[64] = {};
        return std::string(std::fgets(buffer, sizeof buffer, stream) != nullptr ? buffer : "");
    };
    const auto rest = [](std::FILE* stream) {
        char buffer[64];
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
    stream = Open(QD_W("w+t"));
    ASSERT_TRUE(stream);
    std::fputs("a\nb\n", stream.get());
    std::rewind(stream.get());
    EXPECT_EQ(rest(stream.get()), "a\nb\n");
    stream.reset();
    EXPECT_EQ(FileBytes(m_file), "a\r\nb\r\n");

    WriteFileBytes(m_file, "x\r\n");
    stream = Open(QD_W("a+"));
    ASSERT_TRUE(stream);
    std::fputs("y\n", stream.get());
    std::rewind(stream.get());
    EXPECT_EQ(rest(stream.get()), "x\ny\n");
    stream.reset();
    EXPECT_EQ(FileBytes(m_file), "x\r\ny\r\n");

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
