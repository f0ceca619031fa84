#include "tools/qdinspect/NewFile.h"

#include "core/base/BlockReader.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <system_error>

NewFile::NewFile(const platform::WideText& path)
    : m_path(path)
    , m_stream(platform::OpenStream(path.c_str(), QD_W("wb")))
    , m_isThere(m_stream != nullptr)
    , m_isGood(m_isThere)
{}

NewFile::~NewFile()
{
    m_stream.reset();
    std::error_code ignored;
    if (m_isThere)
        std::filesystem::remove(std::filesystem::path(m_path), ignored);
}

void NewFile::Write(std::string_view bytes)
{
    m_isGood =
        m_isGood && std::fwrite(bytes.data(), 1, bytes.size(), m_stream.get()) == bytes.size();
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
    const bool isWritten = m_isGood && std::fflush(m_stream.get()) == 0;
    m_stream.reset();
    return isWritten;
}
