#include "tools/qdinspect/NewFile.h"

#include "core/base/BlockReader.h"
#include "core/file/StdPath.h"
#include "core/platform/ByteOrderMark.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <system_error>

// Who recovers a file may throw the damaged one away: the new one must outlast a power failure.
NewFile::NewFile(const platform::WideText& path, ESync sync)
    : m_path(QDToStdPath(path.c_str()))
    , m_draft(path.c_str(), sync)
    , m_isGood(m_draft.Stream() != nullptr)
{}

NewFile::~NewFile()
{
    std::error_code ignored;
    if (m_isThere)
        std::filesystem::remove(m_path, ignored);
}

void NewFile::Write(std::string_view bytes)
{
    m_isGood =
        m_isGood && std::fwrite(bytes.data(), 1, bytes.size(), m_draft.Stream()) == bytes.size();
}

void NewFile::WriteText(platform::WideView text)
{
    static_assert(std::endian::native == std::endian::little, "units are written as they stand");
    Write(platform::kUtf16Mark);
    Write({reinterpret_cast<const char*>(text.data()), text.size() * sizeof(WChar)});
}

void NewFile::Copy(BlockReader& file, std::uint64_t end)
{
    constexpr std::uint64_t piece = 1u << 16; // bytes
    while (m_isGood && file.Position() < end) {
        const std::uint64_t size = std::min(end - file.Position(), piece);
        const char* const bytes = file.Peek(size);
        m_isGood = bytes != nullptr;
        if (m_isGood)
            Write({bytes, size});
        file.MoveTo(file.Position() + size);
    }
}

bool NewFile::Close()
{
    m_isThere = m_isGood && m_draft.Commit();
    return m_isThere;
}

EOutcome WriteUtf16(platform::WideView text, const platform::WideText& newPath, EOutcome outcome)
{
    NewFile out(newPath);
    out.WriteText(text);
    if (!out.Close())
        return EOutcome::Unwritten;
    out.Keep();
    return outcome;
}
