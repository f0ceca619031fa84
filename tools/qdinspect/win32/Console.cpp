#include "tools/qdinspect/Console.h"

#include <windows.h>
#include <cstddef>
#include <initializer_list>
#include <memory>
#include <shellapi.h>

namespace {

HANDLE HandleOf(EStream stream) noexcept
{
    return GetStdHandle(stream == EStream::Out ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
}

struct Freed {
    void operator()(wchar_t** arguments) const noexcept { LocalFree(arguments); }
};

std::string Utf8(const wchar_t* text)
{
    const int room = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    std::string utf8(static_cast<std::size_t>(room), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, utf8.data(), room, nullptr, nullptr);
    utf8.resize(utf8.empty() ? 0 : utf8.size() - 1); // its terminating 0
    return utf8;
}

} // namespace

std::vector<std::string> Utf8Arguments(int argc, char** argv)
{
    int count = 0;
    const std::unique_ptr<wchar_t*, Freed> wide(CommandLineToArgvW(GetCommandLineW(), &count));
    if (!wide)
        return {argv + 1, argv + argc};
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i)
        arguments.push_back(Utf8(wide.get()[i]));
    return arguments;
}

bool IsTerminal(EStream stream) noexcept
{
    DWORD mode = 0; // which only a console has
    return GetConsoleMode(HandleOf(stream), &mode) != 0;
}

// A console keeps its code page and its modes when the program ends, so they are set back.
ConsoleMode::ConsoleMode() noexcept
{
    for (const EStream stream : {EStream::Out, EStream::Err}) {
        const auto index = static_cast<std::size_t>(stream);
        DWORD mode = 0;
        if (GetConsoleMode(HandleOf(stream), &mode) == 0)
            continue;
        m_oldModes[index] = mode;
        m_hasColours[index] =
            SetConsoleMode(HandleOf(stream), mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
        if (m_oldCodePage == 0)
            m_oldCodePage = GetConsoleOutputCP();
    }
    if (m_oldCodePage != 0)
        SetConsoleOutputCP(CP_UTF8);
}

ConsoleMode::~ConsoleMode()
{
    if (m_oldCodePage != 0)
        SetConsoleOutputCP(m_oldCodePage);
    // The other way round, as both may be one console.
    for (const EStream stream : {EStream::Err, EStream::Out}) {
        const auto index = static_cast<std::size_t>(stream);
        if (m_hasColours[index])
            SetConsoleMode(HandleOf(stream), m_oldModes[index]);
    }
}

bool ConsoleMode::HasColours(EStream stream) const noexcept
{
    return m_hasColours[static_cast<std::size_t>(stream)];
}
