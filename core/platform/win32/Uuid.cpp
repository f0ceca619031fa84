#include "core/platform/Uuid.h"

#include <windows.h>
#include <algorithm>
#include <bit>
#include <rpc.h>

namespace platform {

static_assert(sizeof(UUID) == sizeof(Uuid) && alignof(UUID) == alignof(Uuid));

Uuid CreateUuid() noexcept
{
    UUID uuid = {};
    if (::UuidCreate(&uuid) == RPC_S_UUID_NO_ADDRESS)
        ::UuidCreateNil(&uuid);
    return std::bit_cast<Uuid>(uuid);
}

Uuid ParseUuid(const WChar* text) noexcept
{
    UUID uuid = {};
    // The function only reads the text that it takes for writing.
    auto* const units = reinterpret_cast<RPC_WSTR>(const_cast<WChar*>(text));
    if (::UuidFromStringW(units, &uuid) != RPC_S_OK)
        ::UuidCreateNil(&uuid);
    return std::bit_cast<Uuid>(uuid);
}

bool UuidText(const Uuid& uuid, WChar (&text)[kUuidTextLength + 1]) noexcept
{
    UUID native = std::bit_cast<UUID>(uuid);
    RPC_WSTR units = nullptr;
    if (::UuidToStringW(&native, &units) != RPC_S_OK || units == nullptr)
        return false;
    std::copy(units, units + kUuidTextLength + 1, text);
    ::RpcStringFreeW(&units);
    return true;
}

bool EqualUuids(const Uuid& a, const Uuid& b) noexcept
{
    UUID first = std::bit_cast<UUID>(a);
    UUID second = std::bit_cast<UUID>(b);
    RPC_STATUS status = RPC_S_OK;
    return ::UuidEqual(&first, &second, &status) != 0;
}

} // namespace platform
