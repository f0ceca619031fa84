#include "core/platform/Registry.h"

#include <windows.h>
#include <utility>

namespace platform {

namespace {

HKEY Native(RegistryKey& key)
{
    return reinterpret_cast<HKEY>(&key);
}

RegistryKeyHandle Open(HKEY parent, const WChar* path)
{
    HKEY key = nullptr;
    if (::RegCreateKeyExW(parent, path, 0, nullptr, 0, KEY_READ | KEY_WRITE, nullptr, &key,
                          nullptr) != ERROR_SUCCESS)
        return nullptr;
    return RegistryKeyHandle(reinterpret_cast<RegistryKey*>(key));
}

} // namespace

void RegistryKeyCloser::operator()(RegistryKey* key) const noexcept
{
    ::RegCloseKey(Native(*key));
}

RegistryKeyHandle OpenRegistryKey(const WChar* path)
{
    return Open(HKEY_CURRENT_USER, path);
}

RegistryKeyHandle OpenRegistryKey(RegistryKey& parent, const WChar* path)
{
    return Open(Native(parent), path);
}

ERegistryRead ReadRegistryText(RegistryKey& key, const WChar* name, WideText& text)
{
    DWORD type = REG_NONE;
    DWORD size = 0;
    if (::RegQueryValueExW(Native(key), name, nullptr, &type, nullptr, &size) != ERROR_SUCCESS ||
        (type != REG_SZ && type != REG_EXPAND_SZ))
        return ERegistryRead::NoText;
    WideText units((size + 1) / sizeof(WChar), L' ');
    if (size != 0 &&
        ::RegQueryValueExW(Native(key), name, nullptr, nullptr,
                           reinterpret_cast<BYTE*>(units.data()), &size) != ERROR_SUCCESS)
        return ERegistryRead::Lost;
    units.resize(size / sizeof(WChar));
    text = std::move(units);
    return ERegistryRead::Done;
}

bool WriteRegistryValue(RegistryKey& key, const WChar* name, ERegistryType type, const void* data,
                        std::size_t size)
{
    const auto nativeSize = static_cast<DWORD>(size);
    return nativeSize == size &&
           ::RegSetValueExW(Native(key), name, 0, static_cast<DWORD>(type),
                            static_cast<const BYTE*>(data), nativeSize) == ERROR_SUCCESS;
}

} // namespace platform
