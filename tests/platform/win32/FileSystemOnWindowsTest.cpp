#include "core/platform/FileReplacement.h"
#include "core/platform/FileStream.h"

#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <windows.h>
#include <aclapi.h>
#include <atomic>
#include <cstdio>
#include <string>
#include <thread>

namespace {

// Its access list, as a text.
std::wstring AccessList(const std::wstring& path)
{
    char descriptor[1024];
    DWORD size = 0, count = 0;
    ACL* list = nullptr;
    BOOL isThere = FALSE, isDefault = FALSE;
    std::wstring text;
    if (!GetFileSecurityW(path.c_str(), DACL_SECURITY_INFORMATION, descriptor, sizeof descriptor,
                          &size) ||
        !GetSecurityDescriptorDacl(descriptor, &isThere, &list, &isDefault) || list == nullptr)
        return L"none";
    for (void* entry = nullptr; GetAce(list, count, &entry); ++count) {
        const auto* const allowed = static_cast<const ACCESS_ALLOWED_ACE*>(entry);
        text += std::to_wstring(allowed->Header.AceType) + L' ' + std::to_wstring(allowed->Mask) +
                L'\n';
    }
    return text;
}

} // namespace

TEST(FileSystemOnWindows, AReplacementKeepsWhatBelongsToTheFile)
{
    const TemporaryFolder folder;
    const std::wstring path = (folder / "file").wstring();
    WriteFileBytes(folder / "file", "old");
    // Only everybody's right to read and write, and hidden.
    EXPLICIT_ACCESS_W access = {};
    access.grfAccessPermissions = GENERIC_READ | GENERIC_WRITE | DELETE;
    access.grfAccessMode = SET_ACCESS;
    access.Trustee.TrusteeForm = TRUSTEE_IS_NAME;
    wchar_t everyone[] = L"EVERYONE", name[MAX_PATH] = {};
    access.Trustee.ptstrName = everyone;
    ACL* list = nullptr;
    path.copy(name, MAX_PATH - 1);
    ASSERT_EQ(SetEntriesInAclW(1, &access, nullptr, &list), 0u);
    ASSERT_EQ(SetNamedSecurityInfoW(name, SE_FILE_OBJECT,
                                    DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION,
                                    nullptr, nullptr, list, nullptr),
              0u);
    LocalFree(list);
    ASSERT_TRUE(SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_HIDDEN));
    const std::wstring listBefore = AccessList(path);

    platform::FileReplacement replacement(path.c_str());
    std::fputs("new", replacement.Stream());
    ASSERT_TRUE(replacement.Commit());
    EXPECT_EQ(FileBytes(folder / "file"), "new");
    EXPECT_NE(GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_HIDDEN, 0u);
    EXPECT_EQ(AccessList(path), listBefore);
    // Somebody has it open and lets it be deleted.
    const HANDLE reader = CreateFileW(path.c_str(), GENERIC_READ,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr, OPEN_EXISTING, 0, nullptr);
    platform::FileReplacement again(path.c_str());
    std::fputs("newer", again.Stream());
    EXPECT_TRUE(again.Commit());
    CloseHandle(reader);
    EXPECT_EQ(FileBytes(folder / "file"), "newer");
}

// As the system has a file open while it moves it to its name.
TEST(FileSystemOnWindows, AStreamOpensWhileOthersMoveTheFileAgainAndAgain)
{
    const TemporaryFolder folder;
    const std::wstring path = (folder / "file").wstring();
    WriteFileBytes(folder / "file", "text");
    std::atomic<bool> isDone = false;
    std::thread mover([&] {
        while (!isDone)
            CloseHandle(CreateFileW(path.c_str(), DELETE,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, 0, nullptr));
    });
    int openedCount = 0;
    for (int i = 0; i < 200; ++i)
        openedCount += platform::OpenStream(path.c_str(), i % 2 == 0 ? L"rb" : L"r+b") ? 1 : 0;
    isDone = true;
    mover.join();
    EXPECT_EQ(openedCount, 200);
    // One that lets nobody read is not waited for.
    const HANDLE owner =
        CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_FALSE(platform::OpenStream(path.c_str(), L"rb"));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
    CloseHandle(owner);
}
