#include "soak/OtherProcess.h"

#include <windows.h>
#include <system_error>

namespace {

constexpr UINT kKilled = 77; // its exit code

} // namespace

OtherProcess::OtherProcess(const std::function<void()>&, const std::string& arguments)
{
    wchar_t program[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    std::wstring line =
        L'"' + std::wstring(program) + L"\" " + std::wstring(arguments.begin(), arguments.end());
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started = {};
    if (CreateProcessW(program, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                       &started) == FALSE)
        throw std::system_error(static_cast<int>(GetLastError()), std::system_category());
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
