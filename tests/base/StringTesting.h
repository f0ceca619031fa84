#pragma once

#include "core/base/BString.h"
#include "core/base/WString.h"

#include "tests/TemporaryFolder.h"

#include <cstdio>
#include <string>
#include <string_view>

/// What the tests of both string classes share.
namespace string_testing {

template <class String>
using Char = typename BTextTraits<String>::Char;

/// `text` as a string; only the first 256 units.
template <class String>
String Make(std::string_view text)
{
    std::basic_string<Char<String>> units;
    for (const char character : text)
        units += static_cast<Char<String>>(static_cast<unsigned char>(character));
    return String(units.c_str());
}

/// The characters of `text` one by one, told apart even where collation does not. A unit above 255
/// is "?".
template <class String>
std::string Plain(const String& text)
{
    std::string plain;
    for (const Char<String>* at = text.CStr(); *at; ++at) {
        const auto unit = static_cast<std::make_unsigned_t<Char<String>>>(*at);
        plain += unit > 255 ? '?' : static_cast<char>(unit);
    }
    return plain;
}

/// A binary stream on a file of its own that holds `bytes`, at its start.
class StreamOf {
public:
    explicit StreamOf(std::string_view bytes = "")
        : m_stream(std::fopen(m_folder.Path("stream").AsString(), "w+b"))
    {
        std::fwrite(bytes.data(), 1, bytes.size(), m_stream);
        std::rewind(m_stream);
    }
    ~StreamOf() { std::fclose(m_stream); }
    StreamOf(const StreamOf&) = delete;
    StreamOf& operator=(const StreamOf&) = delete;

    operator std::FILE*() const { return m_stream; }

    /// All that the file holds.
    [[nodiscard]] std::string Bytes() const
    {
        std::rewind(m_stream);
        std::string bytes;
        for (int byte = std::fgetc(m_stream); byte != EOF; byte = std::fgetc(m_stream))
            bytes += static_cast<char>(byte);
        return bytes;
    }

private:
    TemporaryFolder m_folder;
    std::FILE* m_stream;
};

} // namespace string_testing
