#pragma once

#include "core/base/BSmartObj.h"
#include "core/base/WString.h"
#include "core/platform/Export.h"
#include "core/platform/WChar.h"

#include <cstdint>

/// A UUID that is shared like any object. Used by one thread at a time.
class QD_CORE_API BGuid : public BSmartObj {
public:
    /// A new random UUID; the nil UUID when the system can make none.
    BGuid();
    /// The UUID of a text like "6ba7b810-9dad-11d1-80b4-00c04fd430c8", in either case; the nil UUID
    /// when `text` is no such text.
    explicit BGuid(const WChar* text);
    BGuid(const BGuid& other);
    ~BGuid() override;

    BGuid& operator=(const BGuid& other);

    [[nodiscard]] bool operator==(const BGuid& other) const noexcept;
    [[nodiscard]] bool operator!=(const BGuid& other) const noexcept { return !(*this == other); }

    /// 36 characters in lower case, without braces.
    [[nodiscard]] WString ToString() const;

private:
    std::uint32_t m_uuid[4]; // the 16 bytes of the platform's UUID as they stand in memory
};
