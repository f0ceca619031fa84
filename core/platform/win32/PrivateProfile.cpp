#include "core/platform/PrivateProfile.h"

#include "core/platform/FileSystem.h"
#include "core/platform/win32/Handle.h"

#include <windows.h>
#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>
#include <string>
#include <string_view>
#include <utility>

// The system's own functions, under a lock of ours: the system keeps processes apart only while it
// writes one key. An update of the library reads, may convert or make the file, and writes, which
// must not be torn. A mutex with a name is seen by all processes of the session and given back when
// one dies; it is named after the file, so that updates of other files do not wait.
namespace platform {

struct ProfileUpdate::State {
    std::wstring path;
    Handle mutex; // none when the system gives none
    bool isOwner = false;
};

namespace {

DWORD Room(std::size_t room)
{
    return static_cast<DWORD>(
        std::min<std::size_t>(room, std::numeric_limits<std::int32_t>::max()));
}

// FNV-1a: names of mutexes are short and have no backslash. Files that share one share the lock.
std::wstring MutexName(const WChar* path)
{
    std::wstring full = FullPath(path);
    ::CharLowerBuffW(full.data(), static_cast<DWORD>(full.size()));
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const WChar unit : full)
        hash = (hash ^ unit) * 0x100000001B3;
    return L"qd.profile." + std::to_wstring(hash);
}

} // namespace

std::size_t ReadProfileText(WideView path, WideView section, WideView key, WideView fallback,
                            WChar* buffer, std::size_t room) noexcept
{
    return ::GetPrivateProfileStringW(section.data(), key.data(), fallback.data(), buffer,
                                      Room(room), path.data());
}

std::size_t ReadProfileSection(const WChar* path, const WChar* section, WChar* buffer,
                               std::size_t room) noexcept
{
    return ::GetPrivateProfileSectionW(section, buffer, Room(room), path);
}

std::size_t ReadProfileSectionNames(const WChar* path, WChar* buffer, std::size_t room) noexcept
{
    return ::GetPrivateProfileSectionNamesW(buffer, Room(room), path);
}

bool ReadProfileBlock(const WChar* path, const WChar* section, const WChar* key, void* data,
                      unsigned int size) noexcept
{
    return ::GetPrivateProfileStructW(section, key, data, size, path) != FALSE;
}

// Without a mutex (`WAIT_FAILED`) an update goes on unguarded rather than fail; a writer that died
// with it (`WAIT_ABANDONED`) left each key whole.
ProfileUpdate::ProfileUpdate(const WChar* path) noexcept
{
    constexpr DWORD waitMs = 10000;
    try {
        auto state = std::make_unique<State>();
        state->path = path;
        state->mutex = Handle(::CreateMutexW(nullptr, FALSE, MutexName(path).c_str()));
        const DWORD result =
            state->mutex.IsOpen() ? ::WaitForSingleObject(state->mutex.Get(), waitMs) : WAIT_FAILED;
        state->isOwner = result == WAIT_OBJECT_0 || result == WAIT_ABANDONED;
        if (result != WAIT_TIMEOUT)
            m_state = std::move(state);
        else
            ::SetLastError(ERROR_BUSY);
    } catch (const std::bad_alloc&) {
        ::SetLastError(ERROR_NOT_ENOUGH_MEMORY); // nothing can be written then
    }
}

ProfileUpdate::~ProfileUpdate()
{
    if (m_state && m_state->isOwner)
        ::ReleaseMutex(m_state->mutex.Get());
}

bool ProfileUpdate::SetText(const WChar* section, const WChar* key, const WChar* value) noexcept
{
    return m_state &&
           ::WritePrivateProfileStringW(section, key, value, m_state->path.c_str()) != FALSE;
}

bool ProfileUpdate::ExchangeText(const WChar* section, const WChar* key, const WChar* expected,
                                 const WChar* value) noexcept
try {
    if (!m_state)
        return false;
    const std::wstring_view wanted(expected);
    std::wstring found(wanted.size() + 2, L'\0'); // shows also that there is more
    found.resize(::GetPrivateProfileStringW(section, key, L"", found.data(), Room(found.size()),
                                            m_state->path.c_str()));
    return found != wanted || SetText(section, key, value);
} catch (const std::bad_alloc&) {
    return false;
}

bool ProfileUpdate::SetBlock(const WChar* section, const WChar* key, const void* data,
                             unsigned int size) noexcept
{
    return m_state && ::WritePrivateProfileStructW(section, key, const_cast<void*>(data), size,
                                                   m_state->path.c_str()) != FALSE;
}

bool ProfileUpdate::RemoveSection(const WChar* section) noexcept
{
    return m_state &&
           ::WritePrivateProfileSectionW(section, nullptr, m_state->path.c_str()) != FALSE;
}

} // namespace platform
