#pragma once

#include "core/base/SP.h"
#include "core/base/WString.h"
#include "core/platform/WideText.h"
#include "core/profile/BVariant.h"

#include <cstdint>
#include <string>
#include <utility>

class BlockReader;

/// A value with its key as they stand in a binary profile.
struct BinaryRecord {
    WString key; // with its section: "[section]key"
    SP<BVariant> value;
    std::uint64_t position = 0;
    bool isWhole = true; // the value is as it was written
};

/// The records of a binary profile's file, from its beginning. The reader stays the caller's and
/// outlives this.
class BinaryRecords {
public:
    explicit BinaryRecords(BlockReader& file);

    /// Whether the file has the format id of a binary profile.
    [[nodiscard]] bool IsProfile() const noexcept { return m_isProfile; }
    [[nodiscard]] bool HasNarrowKeys() const noexcept { return m_hasNarrowKeys; }
    /// The next record. False at the end of the file, and at a record that cannot be read: no other
    /// is found behind it.
    [[nodiscard]] bool Next(BinaryRecord& record);

private:
    BlockReader& m_file;
    bool m_isProfile;
    bool m_hasNarrowKeys;
};

/// The section, with its brackets, and the key of a record; the section is empty where there is
/// none.
[[nodiscard]] std::pair<platform::WideView, platform::WideView> SplitKey(platform::WideView mapped);

/// As many digits as it takes to read the same number again.
[[nodiscard]] std::string NumberText(double value);
