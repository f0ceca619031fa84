#include "core/file/BDirEntry.h"

#include "core/platform/FileSystem.h"
#include "core/platform/Path.h"
#include "core/platform/WideText.h"

#include <optional>
#include <utility>

// A path is a text and nothing else: what a part of it means, the platform's shell functions say,
// or the seam's equal of them. They take paths up to a fixed length; for a longer one each function
// here does what is harmless, which is what the header promises.
BDirEntry::BDirEntry(WString path) noexcept
    : m_path(std::move(path))
{}

WString BDirEntry::GetName() const
{
    return m_path.Sub(platform::FindFileName(m_path));
}

WString BDirEntry::GetBase() const
{
    if (m_path.Length() > platform::kPathRoom)
        return {};
    const WString name = GetName();
    return name.Sub(0, platform::FindExtension(name));
}

WString BDirEntry::GetExtension() const
{
    return m_path.Sub(platform::FindExtension(m_path) + 1); // empty where there is no dot
}

WString BDirEntry::CutExtension()
{
    WString extension = GetExtension();
    m_path.CutAt(platform::FindExtension(m_path));
    return extension;
}

void BDirEntry::ChangeExtension(const WString& extension)
{
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): it may be this path's own text
    const WString added = extension;
    m_path.CutAt(platform::FindExtension(m_path) + 1); // beyond the end where there is no dot
    m_path.Append(added);
}

void BDirEntry::ChangeName(WString name)
{
    const WChar separator = platform::SeparatorFor(m_path);
    m_path.CutAt(platform::FindFileSpec(m_path));
    m_path.Append(separator);
    m_path.Append(name);
}

bool BDirEntry::RemoveFileSpec()
{
    return m_path.Length() <= platform::kPathRoom && m_path.CutAt(platform::FindFileSpec(m_path));
}

BDirEntry BDirEntry::GetPath() const
{
    BDirEntry parent = *this;
    parent.RemoveFileSpec();
    return parent;
}

BDirEntry& BDirEntry::operator+=(const BDirEntry& other)
{
    const std::optional<platform::WideText> combined = platform::CombinePaths(m_path, other.m_path);
    if (combined) {
        m_path = combined->c_str();
        return *this;
    }
    // Too long for the shell, which resolves nothing then.
    const WString added = other.m_path; // it may be this path
    const WChar separator = platform::SeparatorFor(m_path);
    const std::size_t length = m_path.Length();
    if (length == 0 || m_path.GetAt(length - 1) != separator)
        m_path.Append(separator);
    m_path.Append(added);
    return *this;
}

bool BDirEntry::MakeDir() const
{
    return platform::MakeDirectories(m_path);
}

bool BDirEntry::Exists() const noexcept
{
    return platform::PathExists(m_path);
}
