#include "core/platform/Uuid.h"

#include <uuid/uuid.h>

#include <algorithm>

namespace platform {

static_assert(sizeof(uuid_t) == sizeof(Uuid::bytes));

Uuid CreateUuid() noexcept
{
    Uuid uuid;
    ::uuid_generate_random(uuid.bytes);
    return uuid;
}

Uuid ParseUuid(const WChar* text) noexcept
{
    char narrow[kUuidTextLength + 1] = {};
    std::size_t length = 0;
    while (text != nullptr && text[length] != 0) {
        if (length == kUuidTextLength || text[length] > 0x7F)
            return {};
        narrow[length] = static_cast<char>(text[length]);
        ++length;
    }
    Uuid uuid;
    return ::uuid_parse(narrow, uuid.bytes) == 0 ? uuid : Uuid();
}

bool UuidText(const Uuid& uuid, WChar (&text)[kUuidTextLength + 1]) noexcept
{
    char narrow[UUID_STR_LEN];
    ::uuid_unparse_lower(uuid.bytes, narrow);
    std::copy(narrow, narrow + kUuidTextLength + 1, text);
    return true;
}

bool EqualUuids(const Uuid& a, const Uuid& b) noexcept
{
    return ::uuid_compare(a.bytes, b.bytes) == 0;
}

} // namespace platform
