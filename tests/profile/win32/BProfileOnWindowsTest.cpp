#include "core/profile/BProfile.h"

#include "tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <windows.h>
#include <string>

namespace {

constexpr int kCount = 200;
constexpr const wchar_t* kPath = L"QD_TEST_PROFILE";
constexpr const wchar_t* kFamily = L"QD_TEST_FAMILY";

std::wstring Variable(const wchar_t* name)
{
    wchar_t value[1000] = {};
    ::GetEnvironmentVariableW(name, value, 1000);
    return value;
}

// This program once more, with nothing but the writer below. Null when it cannot be started.
HANDLE StartWriter(const wchar_t* family)
{
    ::SetEnvironmentVariableW(kFamily, family);
    wchar_t program[1000] = {};
    ::GetModuleFileNameW(nullptr, program, 1000);
    std::wstring command = L"\"" + std::wstring(program) +
                           L"\" --gtest_also_run_disabled_tests"
                           L" --gtest_filter=BProfileOnWindows.DISABLED_Writer";
    STARTUPINFOW start = {};
    start.cb = sizeof start;
    PROCESS_INFORMATION process = {};
    if (!::CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                          &start, &process))
        return nullptr;
    ::CloseHandle(process.hThread);
    return process.hProcess;
}

DWORD ExitCode(HANDLE process)
{
    DWORD code = 1;
    ::WaitForSingleObject(process, INFINITE);
    ::GetExitCodeProcess(process, &code);
    ::CloseHandle(process);
    return code;
}

} // namespace

// What the processes of the next test do.
TEST(BProfileOnWindows, DISABLED_Writer)
{
    const std::wstring family = Variable(kFamily);
    for (int i = 0; i < kCount; ++i) {
        BProfile profile(Variable(kPath).c_str(), ProfileReadWrite);
        ASSERT_TRUE(profile.WriteString(i, family.c_str(), family.c_str()));
    }
}

TEST(BProfileOnWindows, TwoProcessesLoseNoKey)
{
    const TemporaryFolder folder;
    const WString path = folder.Path("new\\shared.ini"); // both make it, and its folder
    ::SetEnvironmentVariableW(kPath, path);
    const HANDLE first = StartWriter(L"narrow");
    const HANDLE second = StartWriter(L"wide \u6E2C");
    EXPECT_EQ(ExitCode(first), 0U);
    EXPECT_EQ(ExitCode(second), 0U);
    BProfile profile(path, ProfileReadOnly);
    for (int i = 0; i < kCount; ++i) {
        EXPECT_EQ(profile.ReadString(i, L"narrow", WString()), L"narrow");
        EXPECT_EQ(profile.ReadString(i, L"wide \u6E2C", WString()), L"wide \u6E2C");
    }
}
