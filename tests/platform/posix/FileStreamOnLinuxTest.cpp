#include "core/platform/FileStream.h"
#include "core/platform/posix/NativePath.h"

#include "tests/FileBytes.h"
#include "tests/ResourceLimit.h"
#include "tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <string>
#include <sys/stat.h>

TEST(FileStreamOnLinux, NamesEveryFile)
{
    struct Case {
        std::u16string path;
        std::string native;
        std::u16string back;
    };
    const Case cases[] = {
        {u"", "", u""},
        {u"x\\y/z", "x/y/z", u"x/y/z"},
        {u"\u00E4\u20AC", "\xC3\xA4\xE2\x82\xAC", u"\u00E4\u20AC"},
        {u"\xD83D\xDE00", "\xF0\x9F\x98\x80", u"\xD83D\xDE00"},
        {u"\xDC80\xDCFF", "\x80\xFF", u"\xDC80\xDCFF"},
        {u"\xDC5C", "\\", u"\xDC5C"},
        {u"x\xDCC3\xDCA4", "x\xC3\xA4", u"x\u00E4"}, // escaped bytes may make a character
        {u"\xD800x", "\xED\xA0\x80x", u"\xDCED\xDCA0\xDC80x"},
        {u"\xDC7F\xDD00", "\xED\xB1\xBF\xED\xB4\x80", u"\xDCED\xDCB1\xDCBF\xDCED\xDCB4\xDC80"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.native);
        EXPECT_EQ(platform::ToNativePath(c.path.c_str()), c.native);
        EXPECT_EQ(platform::FromNativePath(c.native), c.back);
        EXPECT_EQ(platform::ToNativePath(c.back.c_str()), c.native);
    }
}

TEST(FileStreamOnLinux, GivesEveryNativeNameBack)
{
    // All pairs of bytes, alone and where they are part of a longer sequence or spoil it.
    for (int pair = 0; pair < 0x10000; ++pair) {
        const std::string bytes = {static_cast<char>(pair >> 8), static_cast<char>(pair)};
        if (bytes.find('\0') != std::string::npos)
            continue;
        for (const std::string& name :
             {bytes, "\xED" + bytes, "\xED\xA0" + bytes, "\xF0" + bytes + "\x80"})
            ASSERT_EQ(platform::ToNativePath(platform::FromNativePath(name).c_str()), name);
    }
}

TEST(FileStreamOnLinux, OpensFilesByBothSeparatorsAndEscapedBytes)
{
    const TemporaryFolder folder;
    const std::u16string path =
        platform::FromNativePath((folder / "").native()) + u"\\\xDCFF\xD83D\xDE00";
    const platform::Stream stream = platform::OpenStream(path.c_str(), u"wb");
    ASSERT_TRUE(stream);
    EXPECT_TRUE(std::filesystem::exists(folder / "\xFF\xF0\x9F\x98\x80"));
    EXPECT_NE(::fcntl(::fileno(stream.get()), F_GETFD) & FD_CLOEXEC, 0);
}

TEST(FileStreamOnLinux, RefusesModesThatItDoesNotKnow)
{
    const TemporaryFolder folder;
    const std::u16string path = platform::FromNativePath((folder / "new").native());
    for (const char16_t* mode :
         {u"", u"q", u"wq", u"w,", u"w,css=UNICODE", u"w,ccs UNICODE", u"w,ccs=", u"w,ccs=UTF-16BE",
          u"w,ccs=UNICODE,", u"wb,ccs=UNICODE"}) {
        errno = 0;
        EXPECT_FALSE(platform::OpenStream(path.c_str(), mode));
        EXPECT_EQ(errno, EINVAL);
    }
    EXPECT_FALSE(std::filesystem::exists(folder / "new"));
}

TEST(FileStreamOnLinux, AppendsInPlaceOfAnEndOfText)
{
    const TemporaryFolder folder;
    WriteFileBytes(folder / "text", "x\r\n\x1A");
    const platform::Stream stream = platform::OpenStream(folder.Path("text"), u"a+");
    ASSERT_TRUE(stream);
    std::fputs("y\n", stream.get());
    EXPECT_EQ(FileBytes(folder / "text"), "x\r\ny\r\n"); // at once, to know where it stands
}

TEST(FileStreamOnLinux, ReportsAFullDisk)
{
    errno = 0;
    EXPECT_FALSE(platform::OpenStream(u"/dev/full", u"wt,ccs=UTF-16LE")); // no room for the mark
    EXPECT_EQ(errno, ENOSPC);
    for (const char16_t* mode : {u"wb", u"wt"}) {
        platform::Stream stream = platform::OpenStream(u"/dev/full", mode);
        ASSERT_TRUE(stream);
        std::fputs("text", stream.get());
        EXPECT_EQ(std::fflush(stream.get()), EOF);
        EXPECT_TRUE(std::ferror(stream.get()));

        stream = platform::OpenStream(u"/dev/full", mode);
        ASSERT_TRUE(stream);
        std::fputs("text", stream.get());
        EXPECT_EQ(std::fclose(stream.release()), EOF);
    }
}

TEST(FileStreamOnLinux, ReportsAFileThatMayNotGrow)
{
    const TemporaryFolder folder;
    const std::u16string path = platform::FromNativePath((folder / "new").native());
    std::optional<ResourceLimit> limit(std::in_place, RLIMIT_FSIZE, 1000);
    platform::Stream stream = platform::OpenStream(path.c_str(), u"wt,ccs=UTF-16LE");
    const std::u16string text(100'000, u'x');
    const bool isWritten = stream && platform::WriteText(stream.get(), text.c_str());
    const bool hasError = stream && std::ferror(stream.get()) != 0;
    stream = platform::OpenStream(path.c_str(), u"wt,ccs=UTF-16LE");
    const bool isBuffered =
        stream && platform::WriteText(stream.get(), text.substr(0, 600).c_str());
    const int closed = stream ? std::fclose(stream.release()) : 0;

    limit.reset();
    EXPECT_FALSE(isWritten);
    EXPECT_TRUE(hasError);
    EXPECT_TRUE(isBuffered);
    EXPECT_EQ(closed, EOF);
    EXPECT_EQ(std::filesystem::file_size(folder / "new"), 1000u);
}

TEST(FileStreamOnLinux, JoinsSurrogatesAcrossBuffers)
{
    const TemporaryFolder folder;
    const std::u16string path = platform::FromNativePath((folder / "new").native());
    std::u16string text = u"x";
    std::string bytes = "\xEF\xBB\xBFx";
    for (int i = 0; i < 20'000; ++i) {
        text += u"\xD83D\xDE00";
        bytes += "\xF0\x9F\x98\x80";
    }
    platform::Stream stream = platform::OpenStream(path.c_str(), u"w,ccs=UTF-8");
    ASSERT_TRUE(stream && platform::WriteText(stream.get(), text.c_str()));
    stream.reset();
    EXPECT_TRUE(FileBytes(folder / "new") == bytes);

    stream = platform::OpenStream(path.c_str(), u"r,ccs=UTF-8");
    std::u16string read(text.size() + 2, u'.');
    ASSERT_TRUE(stream &&
                platform::ReadText(stream.get(), read.data(), static_cast<int>(read.size())));
    EXPECT_TRUE(read.substr(0, text.size() + 1) == text + u'\0');
}

TEST(FileStreamOnLinux, APipeWithoutAnotherEndKeepsNobodyWaiting)
{
    const TemporaryFolder folder;
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    const platform::Stream input = platform::OpenStream(folder.Path("pipe"), u"rb");
    ASSERT_NE(input, nullptr);
    EXPECT_EQ(std::fgetc(input.get()), EOF);
    EXPECT_NE(platform::OpenStream(folder.Path("pipe"), u"wb"), nullptr) << "there is a reader";
    const WString lonely = folder.Path("lonely");
    ASSERT_EQ(::mkfifo((folder / "lonely").c_str(), 0600), 0);
    EXPECT_EQ(platform::OpenStream(lonely, u"wb"), nullptr);
}
