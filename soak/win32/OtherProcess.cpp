#include "soak/OtherProcess.h"

#include <windows.h>
#include <system_error>

namespace {

constexpr UINT kKilled = 77; // its exit code

// On a busy machine Wine now and then loses a process before it begins, and says so.
PROCESS_INFORMATION Start(const std::wstring& line)
{
    constexpr int attempts = 5;
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started = {};
    for (int i = 1;; ++i) {
        std::wstring copy = line; // which the system may change
        if (CreateProcessW(nullptr, copy.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                           &startup, &started) != FALSE)
            return started;
        if (GetLastError() != ERROR_INTERNAL_ERROR || i == attempts)
            throw std::system_error(static_cast<int>(GetLastError()), std::system_category());
    }
}

} // namespace

OtherProcess::OtherProcess(const std::function<void()>&, const std::string& arguments)
{
    wchar_t program[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    const std::wstring line =
        L'"' + std::wstring(program) + L"\" " + std::wstring(arguments.begin(), arguments.end());
    const PROCESS_INFORMATION started = Start(line);
    CloseHandle(started.hThread);
    m_process = reinterpret_cast<std::intptr_t>(started.hProcess);
}

bool OtherProcess::Kill()
{
    auto* const process = reinterpret_cast<HANDLE>(m_process);
    TerminateProcess(process, kKilled);
    WaitForSingleObject(process, INFINITE);
    DWORD exitCode = 0;
    GetExitCodeProcess(process, &exitCode);
    CloseHandle(process);
    return exitCode == kKilled;
}

void KeepRegistryIn(const std::filesystem::path&) {}
