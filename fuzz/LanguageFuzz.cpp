// The input is a language file. What it held must come back when it is exported and read again.

#include "core/base/ErrorCodes.h"
#include "core/language/BLanguageMap.h"

#include "fuzz/Target.h"
#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const TemporaryFolder folder;
    static const WString input = folder.Path("input.lng"), written = folder.Path("written.lng");
    const HeapBound bound(size);
    WriteFileBytes(folder / "input.lng", std::string(data, data + size));
    BLanguageMap map;
    WString log;
    const int result = map.ImportMapFile(input, &log, true, false);
    Require(result == kErrorNone || result == kErrorLanguageLines);
    Require(map.ExportMapFile(written) == kErrorNone);
    static_cast<void>(map.TranslateExt(log));
    const std::string bytes = FileBytes(folder / "written.lng");
    if (!IsNew(bytes + std::to_string(map.StdDefaultMap().Count())))
        return 0;
    BLanguageMap again;
    const int readAgain = again.ImportMapFile(written, nullptr, false, false);
    // A text that stands twice is told of again.
    Require(readAgain == kErrorNone || readAgain == kErrorLanguageLines);
    Require(again.StdDefaultMap().Count() == map.StdDefaultMap().Count());
    Require(again.ExportMapFile(written) == kErrorNone);
    Require(FileBytes(folder / "written.lng") == bytes);
    return 0;
}
