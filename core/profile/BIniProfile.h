#pragma once

#include "core/base/BArray.h"
#include "core/base/WString.h"
#include "core/platform/Export.h"
#include "core/profile/IProfile.h"
#include "core/profile/Overloads.h"

#include <cstddef>

/// The typed interface over a text file of sections with "key=value" lines, the same that
/// `BProfile` reads and writes: what one writes, the other reads.
///
/// Nothing is kept in memory; a file that is missing is an empty one, and the first value that is
/// written makes it. No writer waits for the disk, as none of `BProfile`. Values and lists of names
/// are cut at 32,768 units.
///
///     BIniProfile profile(path, QD_W("Probe"), true);
///     const int speed = profile.GetInt(QD_W("Speed"), 40); // "Speed=40" stands there from now on
class QD_CORE_API BIniProfile : public IProfile {
public:
    /// `section` becomes the current one.
    BIniProfile(const WString& path, const WString& section, bool writeMissingKey);
    BIniProfile(const BIniProfile& other);
    BIniProfile(BIniProfile&& other) noexcept;
    BIniProfile& operator=(const BIniProfile& other);
    BIniProfile& operator=(BIniProfile&& other) noexcept;
    ~BIniProfile() override;

    bool WriteInt(const WString& key, int value) const;
    /// Not this: the number would be cut. `Write` takes it whole.
    template <NProfile::IsWiderThanInt T>
    bool WriteInt(const WString& key, T value) const = delete;
    /// Intended: numbers are clamped to -2147483645 to 2147483645, three short of an int's range.
    int GetInt(const WString& key, int defaultValue) const;

    bool GetSections(BArray<WString>& out) const override;
    bool WriteMem(const WString& key, void* data, std::size_t size) const override;
    bool ReadMem(const WString& key, void* data, std::size_t size) const override;

protected:
    void DeleteKeyImpl(const WString& key) const override;
    bool WriteKeyImpl(const WString& key, const WString& value) const override;
    /// Intended: the default is written over a value that is empty, which is what is returned then.
    WString GetString(const WString& key, const WString& defaultValue) override;
    bool DeleteSectionImpl(const WString& section) const override;
    BArray<WString> GetAllKeys() override;

private:
    [[nodiscard]] static const char* CLASSNAME();
    [[nodiscard]] WString Path() const;
};
