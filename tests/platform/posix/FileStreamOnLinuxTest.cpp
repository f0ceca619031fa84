#include "core/platform/FileStream.h"
#include "core/platform/posix/NativePath.h"

#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"
#include "tests/platform/posix/SystemCalls.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <thread>
#include <tuple>
#include <utility>

TEST(FileStreamOnLinux, NamesEveryFileAndGivesEveryNameBack)
{
    const std::tuple<std::u16string, std::string, std::u16string> cases[] = {
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
    for (const auto& [path, native, back] : cases) {
        EXPECT_EQ(platform::ToNativePath(path.c_str()), native);
        EXPECT_EQ(platform::FromNativePath(native), back) << native;
    }
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
    EXPECT_EQ(::fcntl(::fileno(stream.get()), F_GETFL) & O_ACCMODE, O_WRONLY);
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
    EXPECT_FALSE(platform::OpenStream(folder.Path(""), u"r,ccs=UTF-16LE")); // a folder
    EXPECT_FALSE(platform::OpenStream(u"/dev/full", u"wt,ccs=UTF-16LE"));   // no room for the mark
    EXPECT_EQ(errno, ENOSPC);
    const platform::Stream full = platform::OpenStream(u"/dev/full", u"wt"); // nor for the text
    EXPECT_EQ(std::fputs(std::string(9999, 'x').c_str(), full.get()), EOF);
    EXPECT_TRUE(platform::OpenStream(path.c_str(), u"wbx"));
    EXPECT_FALSE(platform::OpenStream(path.c_str(), u"wbx"));
}

TEST(FileStreamOnLinux, EndsWithTheSurrogateThatStandsAlone)
{
    const TemporaryFolder folder;
    platform::Stream stream = platform::OpenStream(folder.Path("text"), u"w+,ccs=UTF-8");
    ASSERT_TRUE(stream);
    EXPECT_TRUE(platform::WriteText(stream.get(), u"x\xD83D"));
    std::rewind(stream.get());
    EXPECT_EQ(FileBytes(folder / "text"), "\xEF\xBB\xBFx\xEF\xBF\xBD");
    char16_t read[9];
    EXPECT_TRUE(platform::ReadText(stream.get(), read, 9));
    std::thread([file = stream.get()] { // it is free for others again
        ASSERT_EQ(::ftrylockfile(file), 0);
        ::funlockfile(file);
    })
        .join();
    stream = platform::OpenStream(folder.Path("text"), u"a,ccs=UTF-8");
    ASSERT_TRUE(stream);
    EXPECT_TRUE(platform::WriteText(stream.get(), u"\xD83D"));
    EXPECT_EQ(std::ftell(stream.get()), -1); // only one for both directions knows
    EXPECT_EQ(std::fclose(stream.release()), 0);
    EXPECT_EQ(FileBytes(folder / "text"), "\xEF\xBB\xBFx\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(FileStreamOnLinux, WritesInPlaceOfAnEndOfText)
{
    const TemporaryFolder folder;
    for (const auto& [mode, before] : {std::pair{u"a+", "x\r\n\x1A"}, {u"r+", "x\r\n\x1A."}}) {
        WriteFileBytes(folder / "text", before);
        const platform::Stream stream = platform::OpenStream(folder.Path("text"), mode);
        ASSERT_TRUE(stream);
        EXPECT_EQ(std::fgetc(stream.get()), 'x');
        EXPECT_NE(std::fseek(stream.get(), -9, SEEK_END), 0); // and it stands where it stood
        while (std::fgetc(stream.get()) != EOF) {
        }
        std::fseek(stream.get(), 0, SEEK_CUR);
        std::fputs("y\n", stream.get());
        EXPECT_EQ(FileBytes(folder / "text"), "x\r\ny\r\n"); // at once, to know where it stands
    }
}

TEST(FileStreamOnLinux, AsksAgainForALockThatASignalInterrupts)
{
    const TemporaryFolder folder;
    WriteFileBytes(folder / "file", "x");
    SystemCalls calls;
    calls.Fail("flock", EINTR);
    const platform::Stream alone = platform::OpenStreamAlone(folder.Path("file"), u"r+b", 0);
    EXPECT_TRUE(alone);
    EXPECT_FALSE(platform::OpenStreamAlone(folder.Path("file"), u"rb", 0));
}
