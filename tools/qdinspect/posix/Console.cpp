#include "tools/qdinspect/Console.h"

#include <cstdlib>
#include <fcntl.h>
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

namespace {

// A file that is opened takes the lowest number that is free. Where a standard stream is closed
// that would be its number, and what is printed would go into the file. Opened the wrong way round,
// the stream fails as a closed one does.
void OccupyStandardStreams() noexcept
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(stream, F_GETFD) == -1)
            static_cast<void>(::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY));
    }
}

} // namespace

ConsoleMode::ConsoleMode() noexcept
{
    OccupyStandardStreams();
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
