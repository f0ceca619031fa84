#include "tools/qdinspect/Console.h"

#include <cstdlib>
#include <string_view>
#include <unistd.h>

std::vector<std::string> Utf8Arguments(int argc, char** argv)
{
    return {argv + 1, argv + argc};
}

bool IsTerminal(EStream stream) noexcept
{
    return isatty(stream == EStream::Out ? STDOUT_FILENO : STDERR_FILENO) != 0;
}

ConsoleMode::ConsoleMode() noexcept
{
    const char* const type = std::getenv("TERM");
    const bool isAble = type != nullptr && std::string_view(type) != "dumb";
    m_hasColours[0] = isAble && IsTerminal(EStream::Out);
    m_hasColours[1] = isAble && IsTerminal(EStream::Err);
}

ConsoleMode::~ConsoleMode() = default;

bool ConsoleMode::HasColours(EStream stream) const noexcept
{
    return m_hasColours[stream == EStream::Out ? 0 : 1];
}
