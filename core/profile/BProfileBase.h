#pragma once

#include "core/base/BProblem.h"
#include "core/base/BSmartObj.h"
#include "core/base/WString.h"
#include "core/platform/Export.h"
#include "core/profile/Overloads.h"

#include <utility>

/// A settings file of sections that hold named values: `BProfile` as text, `BBinProfile` as typed
/// binary values. `OpenProfile` opens whichever a file is.
///
/// Every operation on a key goes to the current section, "default" at first. Writers answer whether
/// the value was taken; in a profile that is read only they and the deleting operations throw
/// BError `kErrorGeneral` with "$IDS_ErrorHint61". When memory runs out, any operation may throw
/// `std::bad_alloc`, and takes no value then. One thread at a time.
///
///     profile->SetSection(QD_W("Window"));
///     const int width = profile->ReadInt(QD_W("Width"), 800);
///     for (int i = 0; i < 3; ++i)
///         profile->WriteDouble(i, QD_W("Point"), points[i]); // Point0, Point1, Point2
class QD_CORE_API BProfileBase : public BSmartObj {
public:
    ~BProfileBase() override;

    // The order of the virtual functions is part of the interface. Those with an `index` are for
    // numbered families of keys: they do the same with the key `IndexedKey(key, index)`.

    /// False when the file is of another kind.
    [[nodiscard]] virtual bool IsValid() const = 0;
    virtual void SetSection(WString section) = 0;
    [[nodiscard]] virtual WString GetSection() = 0;

    virtual bool WriteString(int index, WString key, WString value) = 0;
    virtual bool WriteString(WString key, WString value) = 0;
    virtual bool WriteInt(int index, WString key, int value) = 0;
    virtual bool WriteInt(WString key, int value) = 0;
    virtual bool WriteDouble(int index, WString key, double value) = 0;
    virtual bool WriteDouble(WString key, double value) = 0;
    /// Copies `size` bytes from `data`.
    virtual bool WriteMem(int index, WString key, void* data, unsigned int size) = 0;
    virtual bool WriteMem(WString key, void* data, unsigned int size) = 0;
    virtual bool WriteBoolean(WString key, bool value) = 0;

    [[nodiscard]] virtual WString ReadString(int index, WString key, WString defaultValue) = 0;
    [[nodiscard]] virtual WString ReadString(WString key, WString defaultValue) = 0;
    [[nodiscard]] virtual int ReadInt(int index, WString key, int defaultValue) = 0;
    [[nodiscard]] virtual int ReadInt(WString key, int defaultValue) = 0;
    [[nodiscard]] virtual double ReadDouble(int index, WString key, double defaultValue) = 0;
    [[nodiscard]] virtual double ReadDouble(WString key, double defaultValue) = 0;
    /// True when a block of exactly `size` bytes is there and was copied to `data`.
    virtual bool ReadMem(int index, WString key, void* data, unsigned int size) = 0;
    virtual bool ReadMem(WString key, void* data, unsigned int size) = 0;
    [[nodiscard]] virtual bool ReadBoolean(WString key, bool defaultValue) = 0;

    virtual void DeleteKey(WString key) = 0;
    /// Deletes the current section with its keys.
    virtual void DeleteSection() = 0;
    [[nodiscard]] virtual bool ExistsSection(WString section) const = 0;

    /// What the `Problem` of a `BProfile` or `BBinProfile` tells; none of another class.
    [[nodiscard]] BProblem Problem() const;

    /// Not this: the number would be cut. As a text it is whole:
    /// `WriteString(key, WString::FromInt(value))`.
    template <NProfile::IsWiderThanInt T>
    bool WriteInt(WString key, T value) = delete;
    template <NProfile::IsWiderThanInt T>
    bool WriteInt(int index, WString key, T value) = delete;
    /// A size, as `sizeof` gives it. False for 4 GiB or more.
    template <NProfile::IsWiderThanInt T>
    bool WriteMem(int index, WString key, void* data, T size)
    {
        return std::in_range<unsigned int>(size) &&
               WriteMem(index, key, data, static_cast<unsigned int>(size));
    }
    template <NProfile::IsWiderThanInt T>
    bool WriteMem(WString key, void* data, T size)
    {
        return std::in_range<unsigned int>(size) &&
               WriteMem(key, data, static_cast<unsigned int>(size));
    }

    /// Not this: no pointer counts as true, and no text, which converts into one.
    template <NProfile::IsPointer T>
    bool WriteBoolean(WString key, const T& value) = delete;

protected:
    /// Member `index` of a family of keys: "Point" and 3 give "Point3".
    [[nodiscard]] static WString IndexedKey(const WString& key, int index);
};
