// The input is a profiler's log, as it stands when a run is appended to it.
//
// What was there stays, and the run can be read behind it.

#include "core/platform/ByteOrderMark.h"
#include "core/platform/FileStream.h"

#include "fuzz/Target.h"
#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>

namespace {

constexpr const WChar* kLines[] = {QD_W("12:00:00\tStart\trun"), QD_W("17\tend")};

bool Append(const WString& path)
{
    const WChar* const* next = kLines;
    return platform::AppendLines(path, 0,
                                 [&next] { return next != std::end(kLines) ? *next++ : nullptr; });
}

// The last line that is read as the library's text streams read it.
WString LastLine(const WString& path)
{
    const platform::Stream stream = platform::OpenStream(path, QD_W("rt,ccs=UNICODE"));
    Require(stream != nullptr);
    WChar piece[64];
    WString line, last;
    while (platform::ReadText(stream.get(), piece, 64)) {
        line += piece;
        if (!line.EndsWith(QD_W("\n")))
            continue;
        last = line;
        line.Clear();
    }
    return last;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const TemporaryFolder folder;
    static const WString path = folder.Path("log");
    const HeapBound bound(size);
    const std::string input(data, data + size);
    WriteFileBytes(folder / "log", input);
    Require(Append(path));
    const std::string once = FileBytes(folder / "log");
    // An odd byte, and a Ctrl-Z, at the end go.
    const std::string_view kept = std::string_view(input).substr(0, size < 2 ? 0 : size - 2);
    Require(once.starts_with(kept));
    Require(Append(path) && FileBytes(folder / "log").starts_with(once));
    // Units that end a text of the library, or what is read of it, are nothing to read behind.
    using namespace std::string_view_literals;
    const bool isReadable = platform::MarkAt(once) == platform::kUtf16Mark &&
                            once.find('\x1A') == once.npos && once.find("\0\0"sv) == once.npos &&
                            once.find("\xFF\xFF") == once.npos;
    Require(!isReadable || LastLine(path) == WString(kLines[1]) + QD_W("\n"));
    return 0;
}
