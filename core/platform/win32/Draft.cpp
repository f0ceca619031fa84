#include "core/platform/win32/Draft.h"

#include "core/platform/DraftName.h"
#include "core/platform/Random.h"

#include <windows.h>
#include <cstdint>
#include <utility>

// As on the other platform: a few names follow from the file's, each belongs to one process at a
// time, and whoever gets hold of a name where a file stands finds a dead owner's and removes it.
// What differs is how a name is held. An open file cannot be moved, so that an owner has it closed
// for a moment, in which it would look abandoned. So the name is held by a mutex that is called
// like the draft. It is not locked, it only exists, once, and goes with the process that made it.
//
// Its name tells no folder, as a folder has several paths. So a file of the same name elsewhere
// that is saved at the same time takes the name, and what was left under it stays for the next
// saver.
//
// Other machines do not see the mutex, so names tell the machine, too: each removes its own. While
// an owner has its draft open, nobody can delete it anyway.
namespace platform {

namespace {

std::wstring MachineName()
{
    wchar_t name[MAX_COMPUTERNAME_LENGTH + 1] = {};
    DWORD room = MAX_COMPUTERNAME_LENGTH + 1;
    return ::GetComputerNameW(name, &room) ? name : L"";
}

std::uint64_t HashOf(std::wstring_view fileName)
{
    std::wstring name = MachineName() + L'\\';
    name += fileName;
    ::CharLowerBuffW(name.data(), static_cast<DWORD>(name.size()));
    return DraftHash(std::wstring_view(name));
}

// For all sessions. None when somebody has it, and when there is no asking.
Handle Hold(const std::wstring& draftName)
{
    const std::wstring name = L"Global\\" + draftName;
    Handle mutex(::CreateMutexW(nullptr, FALSE, name.c_str()));
    const bool isFree = ::GetLastError() != ERROR_ALREADY_EXISTS;
    return isFree ? std::move(mutex) : Handle();
}

bool IsThere(const std::wstring& path)
{
    return ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

Handle MakeFile(const std::wstring& path)
{
    return Handle(::CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE,
                                FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, CREATE_NEW,
                                FILE_ATTRIBUTE_NORMAL, nullptr));
}

} // namespace

Handle Draft::Make(const std::wstring& folder, std::wstring_view fileName)
{
    Handle file = MakeNamed(folder, fileName);
    return file.IsOpen() ? std::move(file) : MakeRandom(folder);
}

void Draft::Release() noexcept
{
    m_path.clear();
    m_owner = Handle();
}

void Draft::Remove() noexcept
{
    if (!m_path.empty())
        ::DeleteFileW(m_path.c_str());
    Release();
}

// Under the first free one of the file's names; none of them has an abandoned draft then.
Handle Draft::MakeNamed(const std::wstring& folder, std::wstring_view fileName)
{
    const std::wstring start = L"qd" + std::to_wstring(HashOf(fileName)) + L'_';
    Handle made;
    for (int i = 0; i < kDraftNames; ++i) {
        const std::wstring name = start + std::to_wstring(i) + L".tmp", path = folder + name;
        if (made.IsOpen() && !IsThere(path))
            continue;
        Handle owner = Hold(name);
        if (!owner.IsOpen())
            continue;
        ::DeleteFileW(path.c_str());
        if (made.IsOpen())
            continue;
        made = MakeFile(path);
        if (made.IsOpen()) {
            m_path = path;
            m_owner = std::move(owner);
        }
    }
    return made;
}

Handle Draft::MakeRandom(const std::wstring& folder)
{
    constexpr int attempts = 100;
    std::uint32_t number = 0; // from here on, also where the system has no random one
    static_cast<void>(FillRandom(&number, sizeof number));
    for (int i = 0; i < attempts; ++i) {
        const std::wstring path = folder + L"qd" + std::to_wstring(number++) + L".tmp";
        Handle file = MakeFile(path);
        if (file.IsOpen()) {
            m_path = path;
            return file;
        }
        if (::GetLastError() != ERROR_FILE_EXISTS)
            break;
    }
    return {};
}

} // namespace platform
