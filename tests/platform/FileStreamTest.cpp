#include "core/platform/FileStream.h"

#include "core/platform/WideText.h"

#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"
#include "tests/platform/OffWindows.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

using namespace std::string_literals;
using platform::WideText;

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

    // The next line, cut where it is longer than `length`, of a narrow text its bytes; a bar behind
    // it, or an exclamation mark once the end was met.
    static WideText Line(std::FILE* stream, bool isWide, int length)
    {
        WChar wide[64] = {};
        char narrow[64] = {};
        const bool isRead = isWide ? platform::ReadText(stream, wide, length + 1)
                                   : std::fgets(narrow, length + 1, stream) != nullptr;
        const auto* const bytes = reinterpret_cast<const unsigned char*>(narrow);
        WideText line = isWide && isRead ? wide : WideText(bytes, bytes + std::strlen(narrow));
        return line + (std::feof(stream) != 0 ? QD_W('!') : QD_W('|'));
    }

    // What the file holds once `texts` were written to it, all but `unwritten`.
    std::string Written(const WChar* mode, const std::vector<WideText>& texts,
                        const WideText& unwritten = QD_W("none")) const
    {
        platform::Stream stream = Open(mode);
        EXPECT_TRUE(stream);
        for (const WideText& text : texts)
            EXPECT_EQ(platform::WriteText(stream.get(), text.c_str()), text != unwritten);
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
    // clang-format off
    const std::tuple<const WChar*, std::string, std::vector<WideText>> cases[] = {
        {kRead, kMark + "x\0\r\0\n\0y\0"s, {QD_W("x\n"), QD_W("y")}},
        {kRead, "x\0\r\0\n\0y\0"s, {QD_W("x\n"), QD_W("y")}}, {kRead, "", {}}, {kRead, kMark, {}},
        {kRead, "\xEF\xBB", {QD_W("\xBBEF")}}, // half a mark
        {kRead, kMark + kMark + "x\0"s, {QD_W("\xFEFFx")}},
        {kRead, "\xFE\xFF\0x"s, {QD_W("\xFFFE\x7800")}}, // a big-endian mark is text
        {kRead, kMark8 + "\xC3\xA4\r\n\xE2\x82\xAC", {QD_W("\x00E4\n"), QD_W("\x20AC")}},
        {kRead, kMark8 + "\xF0\x9F\x98\x80", {QD_W("\xD83D\xDE00")}},
        {kRead, kMark8 + "\xFFx\xC3y\x80", {QD_W("\xFFFDx\xFFFDy\xFFFD")}},
        {kRead, kMark8 + "x\xE2\x82", {QD_W("x\xFFFD")}}, // cut
        {kRead, "x\0\r\0y\0\r\0\r\0\n\0\r\0"s, {QD_W("x\ry\r\n"), QD_W("\r")}},
        {kRead, "x\0\x1A\0y\0"s, {QD_W("x")}}, // Ctrl-Z
        {kRead, "x\0\r\0\x1A\0\n\0"s, {QD_W("x\r")}}, {kRead, "\x1A\x1A"s, {QD_W("\x1A1A")}},
        {kRead, "x\0y"s, {QD_W("x")}}, {kRead, "x\0\r\0\n"s, {QD_W("x\r")}}, // an odd byte
        {kRead, "\r\n\n\r\n\n\n\0"s, {QD_W("\x0A0D\x0D0A\x0A0A\n")}},
        {kRead, "\x3D\xD8\n\0"s, {QD_W("\xD83D\n")}}, // a lone surrogate
        {kRead, "x\0\xFF\xFFy\0\n\0"s, {QD_W("x"), QD_W("y\n")}},
        {kRead, "x\0\0\0y\0\n\0z\0"s, {QD_W("x"), QD_W("z")}}, // a NUL cuts what is seen
        {kRead, Utf16("The\tprobe\r\nhas \rreached\x1Aposition"),
         {QD_W("The\tprobe\n"), QD_W("has \rreached")}},
        {kRead, Utf16("The probe") + "\xFF\xFF" + Utf16("has reached", ""),
         {QD_W("The probe"), QD_W("has reached")}},
        {kReadAny, kMark + "x\0\n\0"s, {QD_W("x\n")}},
        {kReadAny, kMark8 + "\xC3\xA4", {QD_W("\x00E4")}},
        {kReadAny, "\xE4\x80\r\nx\x1Ay", {QD_W("\x00E4\x0080\n"), QD_W("x")}},
        {QD_W(" rt , ccs = utf-16le "), kMark + "x\0"s, {QD_W("x")}},
        {QD_W("rb"), kMark + "\r\0\n\0\x1A\0x"s, {QD_W("\xFEFF\r\n"), QD_W("\x001A")}},
    };
    // clang-format on
    for (const auto& [mode, bytes, pieces] : cases) {
        WriteFileBytes(m_file, bytes);
        const platform::Stream stream = Open(mode);
        ASSERT_TRUE(stream);
        EXPECT_EQ(Pieces(stream.get()), pieces) << testing::PrintToString(bytes);
    }
}

TEST_F(FileStream, WritesUnicodeTextInTheEncodingOfTheFile)
{
    struct Case {
        const WChar* mode;
        const char* before; // null: no file
        std::vector<WideText> texts;
        std::string after;
        const WChar* unwritten = QD_W("none"); // one of the texts
    };
    const Case cases[] = {
        {QD_W("wt,ccs=UNICODE"), nullptr, {QD_W("")}, kMark},
        {kWrite, nullptr, {QD_W("x\r\n")}, kMark + "x\0\r\0\r\0\n\0"s},
        {kWrite, nullptr, {QD_W("\n\x0A0D")}, kMark + "\r\0\n\0\r\n"s},
        {kWrite, "", {QD_W("\xD83D\xDE00\xDE00")}, kMark + "\x3D\xD8\0\xDE\0\xDE"s},
        {kWrite, "\xEF\xBB\xBFold", {QD_W("x")}, kMark + "x\0"s}, // what was there goes
        {kAppend, nullptr, {QD_W("x\n")}, kMark + "x\0\r\0\n\0"s},
        {kAppend, "\xFF\xFE", {QD_W("x")}, kMark + "x\0"s},
        {kAppend, "\xFF\xFEo", {QD_W("x\n")}, kMark + "ox\0\r\0\n\0"s}, // behind an odd byte
        {kAppend, "\xEF\xBB\xBF", {QD_W("\x00E4\n\x20AC")}, kMark8 + "\xC3\xA4\r\n\xE2\x82\xAC"},
        {kAppend, "\xEF\xBB\xBF", {QD_W("\xD83D"), QD_W("\xDE00")}, kMark8 + "\xF0\x9F\x98\x80"},
        {kAppend, "\xEF\xBB\xBF", {QD_W("\xD83Dx\xDE00")}, kMark8 + "\xEF\xBF\xBDx\xEF\xBF\xBD"},
        {kAppend, "old", {QD_W("x\x00E4\n")}, "oldx\xE4\r\n"},
        {kAppend, "\xFE\xFF?o", {QD_W("x")}, "\xFE\xFF?ox"}, // a big-endian mark is text
        {QD_W("a,ccs=UTF-16LE"), "old", {QD_W("x")}, "oldx\0"s},
        {QD_W("wb"), nullptr, {QD_W("x\n\r\n")}, "x\0\n\0\r\0\n\0"s},
        {QD_W("ab"), "old", {QD_W("x")}, "oldx\0"s},
        // What stands behind a unit that cannot be written is left out.
        {kAppend, "old", {QD_W("x"), QD_W("y\x20ACz\n"), QD_W("x")}, "oldxyx", QD_W("y\x20ACz\n")},
        {kAppend, "old", {QD_W("y\x20ACz")}, "oldy", QD_W("y\x20ACz")}, // nor is it lost at the end
        {kWrite, "", {QD_W("y\xFFFFz"), QD_W("x")}, kMark + "y\0\xFF\xFFx\0"s, QD_W("y\xFFFFz")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        std::filesystem::remove(m_file);
        if (c.before != nullptr)
            WriteFileBytes(m_file, c.before);
        EXPECT_EQ(Written(c.mode, c.texts, c.unwritten), c.after);
    }
    WriteFileBytes(m_file, kMark + "\x1A\0"s); // Ctrl-Z
    EXPECT_EQ(Written(kAppend, {QD_W("x")}), kMark + "\x1A\0x\0"s);
}

TEST_F(FileStream, KeepsLongTextsWhole)
{
    // Longer than every buffer on the way, its line ends and longer characters across their
    // borders.
    const WideText longer = kIsOffWindows ? QD_W("\x20AC\xD83D\xDE00") : QD_W("\x20AC\x00E4");
    WideText text;
    for (std::size_t line = 0; line < 9000; ++line)
        text += WideText(line % 5, QD_W('x')) + longer + QD_W("\n");
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

TEST_F(FileStream, GoesBackAndForthInOneText)
{
    // "l" reads a line, "2" two units of it at most, "w" writes "T\r\n", "^" goes to the start, "4"
    // four bytes behind it, "+" a byte on, "$" to the end; "." stays, to turn to the other.
    struct Case {
        const WChar* mode;
        std::string before;
        std::string_view steps;
        WideText read; // as `Line` tells
        std::string after;
    };
    const Case cases[] = {
        {QD_W("wt"), "", "ww", QD_W(""), "T\r\r\nT\r\r\n"},
        {QD_W("wt"), "", "w^w", QD_W(""), "T\r\r\n"},
        {QD_W("a"), "\xE4", "w", QD_W(""), "\xE4T\r\r\n"},
        {QD_W("r"), "\xEF\xBB\xBFx\r\ny\r\r\n\xE4\rz\x1Ax", "llll",
         QD_W("\x00EF\x00BB\x00BFx\n|y\r\n|\x00E4\rz!!"), ""},
        {QD_W("r+"), "on\r\ntw\r\nthree\r\n", "l.w.l4ll", QD_W("on\n|three\n|T\r\n|three\n|"),
         "on\r\nT\r\r\nthree\r\n"},
        {QD_W("r+"), "on\r\ntw\r\nthree\r\n", "l+l", QD_W("on\n|w\n|"), ""},
        {QD_W("w+t"), "old", "ww^lll", QD_W("T\r\n|T\r\n|!"), "T\r\r\nT\r\r\n"},
        {QD_W("a+"), "x\r\n", "w^ll", QD_W("x\n|T\r\n|"), "x\r\nT\r\r\n"},
        // The end is met with the last line, unless that has a line end.
        {kRead, "a\0\n\0b\0"s, "lll", QD_W("a\n|b!!"), ""},
        {kRead, "a\0\n\0"s, "ll", QD_W("a\n|!"), ""},
        {kRead, "", "l", QD_W("!"), ""},
        {kRead, "a\0b\0c\0d\0e\0"s, "2222", QD_W("ab|cd|e!!"), ""},
        {kRead, "a\0b\0\n\0"s, "222", QD_W("ab|\n|!"), ""},
        // The mark is text for who comes back to it.
        {kRead, kMark + "x\0\x1A\0y\0"s, "ll^l", QD_W("x!!\xFEFFx!"), ""},
        {kRead, kMark8 + "x\x1Ay", "ll^l", QD_W("x!!\xFEFFx!"), ""},
        {kWrite, "", "w^w", QD_W(""), "T\0\r\0\r\0\n\0\n\0"s},
        {QD_W("w+,ccs=UTF-16LE"), "", "w^l", QD_W("\xFEFFT\r\n|"), kMark + "T\0\r\0\r\0\n\0"s},
        {QD_W("r+,ccs=UNICODE"), kMark + "\xAC\x20\r\0\n\0"s, "l$w", QD_W("\x20AC\n|"),
         kMark + "\xAC\x20\r\0\n\0T\0\r\0\r\0\n\0"s},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        WriteFileBytes(m_file, c.before);
        platform::Stream stream = Open(c.mode);
        ASSERT_TRUE(stream);
        const bool isWide = WideText(c.mode).find(QD_W(',')) != WideText::npos;
        WideText read;
        for (const char step : c.steps) {
            switch (step) {
            case 'l': read += Line(stream.get(), isWide, 63); break;
            case '2': read += Line(stream.get(), isWide, 2); break;
            case 'w':
                if (isWide)
                    EXPECT_TRUE(platform::WriteText(stream.get(), QD_W("T\r\n")));
                else
                    EXPECT_GE(std::fputs("T\r\n", stream.get()), 0);
                break;
            case '^': std::rewind(stream.get()); break;
            case '4': std::fseek(stream.get(), 4, SEEK_SET); break;
            case '+': std::fseek(stream.get(), 1, SEEK_CUR); break;
            case '$': std::fseek(stream.get(), 0, SEEK_END); break;
            default: std::fseek(stream.get(), 0, SEEK_CUR);
            }
        }
        stream.reset();
        EXPECT_EQ(read, c.read);
        EXPECT_EQ(FileBytes(m_file), c.after.empty() ? c.before : c.after);
    }
}

TEST_F(FileStream, MeasuresAndSeeksBeyondFourGigabytes)
{
    const std::uint64_t distant = 5'000'000'000;
    platform::Stream stream = Open(QD_W("w+b"));
    ASSERT_TRUE(stream);
    ASSERT_TRUE(platform::Seek(stream.get(), distant)); // the gap takes no room on the disk
    std::fputs("end", stream.get());
    ASSERT_EQ(std::fflush(stream.get()), 0);
    EXPECT_EQ(platform::FileSize(stream.get()), distant + 3);
    ASSERT_TRUE(platform::Seek(stream.get(), distant + 1));
    EXPECT_EQ(std::fgetc(stream.get()), 'n');
    EXPECT_FALSE(platform::Seek(stream.get(), ~std::uint64_t{0}));
}
