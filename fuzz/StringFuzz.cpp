// The input is a file record of either string class, a text with escapes and an image of bytes.

#include "core/base/BString.h"
#include "core/base/WString.h"
#include "core/platform/WideText.h"

#include "fuzz/Target.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

template <class String>
void RequireSame(const String& a, const String& b)
{
    if (a.Length() != b.Length() || std::memcmp(a, b, a.Length() * sizeof *a.CStr()) != 0)
        std::abort();
}

template <class String>
void Try(const String& text, std::FILE* input)
{
    String read, again;
    std::rewind(input);
    if (read.FRead(input)) {
        const File copy(std::tmpfile(), std::fclose);
        if (read.FWrite(copy.get()))
            std::rewind(copy.get());
        if (again.FRead(copy.get()))
            RequireSame(again, read);
    }

    String resolved = text.Printable();
    resolved.ResolveEsc();
    RequireSame(resolved, text);
    resolved.ResolveEsc();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const HeapBound bound(size);
    const File input(std::tmpfile(), std::fclose);
    std::fwrite(data, 1, size, input.get());
    const WString wide = platform::WideText(data, data + size).c_str();
    Try(BString(std::string(data, data + size).c_str()), input.get());
    Try(wide, input.get());

    std::vector<std::uint8_t> bytes(size / 2);
    if (wide.DecodeMemory(bytes.data(), bytes.size())) {
        WString image;
        image.EncodeMemory(bytes.data(), bytes.size());
        RequireSame(image, wide);
    }
    return 0;
}
