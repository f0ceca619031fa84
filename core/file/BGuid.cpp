#include "core/file/BGuid.h"

#include "core/platform/Uuid.h"

#include <cstring>

namespace {

using Words = std::uint32_t[4];

static_assert(sizeof(Words) == sizeof(platform::Uuid));

platform::Uuid FromWords(const Words& words) noexcept
{
    platform::Uuid uuid;
    std::memcpy(&uuid, words, sizeof uuid);
    return uuid;
}

void ToWords(const platform::Uuid& uuid, Words& words) noexcept
{
    std::memcpy(words, &uuid, sizeof uuid);
}

} // namespace

BGuid::BGuid()
{
    ToWords(platform::CreateUuid(), m_uuid);
}

BGuid::BGuid(const WChar* text)
{
    ToWords(platform::ParseUuid(text), m_uuid);
}

BGuid::BGuid(const BGuid& other) = default;

BGuid::~BGuid() = default;

BGuid& BGuid::operator=(const BGuid& other) = default;

bool BGuid::operator==(const BGuid& other) const noexcept
{
    return platform::EqualUuids(FromWords(m_uuid), FromWords(other.m_uuid));
}

WString BGuid::ToString() const
{
    WChar text[platform::kUuidTextLength + 1];
    return platform::UuidText(FromWords(m_uuid), text) ? WString(text) : WString();
}
