#pragma once

#include "core/base/BSmartObj.h"
#include "core/base/SP.h"
#include "core/base/WString.h"
#include "core/platform/Export.h"
#include "core/profile/Overloads.h"

/// A node of a configuration tree: named texts, and children with texts of their own.
///
/// Numbers and truth values are kept as text. All operations but `Child` answer `kErrorNone` or
/// `kErrorGeneral`, and a read that fails leaves `value` alone, so that it can hold the default:
///
///     int width = 800;
///     config->ReadInt(QD_W("Width"), width);
///
/// When memory runs out, any operation may throw `std::bad_alloc` instead of an answer.
///
/// A derived class supplies the first three operations; the others stand on them.
class QD_CORE_API BConfig : public BSmartObj {
public:
    ~BConfig() override;

    // The order of the virtual functions is part of the interface.

    /// The child `name`, made where it is missing. Throws BError `kErrorGeneral` when that fails.
    virtual SP<BConfig> Child(WString name) = 0;
    virtual int ReadString(WString name, WString& value) const = 0;
    virtual int WriteString(WString name, WString value) = 0;
    /// As `WString::Convert`: rounds, and takes hexadecimal digits.
    virtual int ReadInt(WString name, int& value) const;
    virtual int WriteInt(WString name, int value);
    /// Nothing but white space may surround the number.
    virtual int ReadFloat(WString name, float& value) const;
    /// Eight digits, so that 0.1f is kept as "0.1".
    virtual int WriteFloat(WString name, float value);
    virtual int ReadDouble(WString name, double& value) const;
    /// Sixteen digits.
    virtual int WriteDouble(WString name, double value);
    /// "TRUE" and "FALSE" in any case, else a number as `ReadInt` takes it: true unless it is 0.
    virtual int ReadBool(WString name, bool& value) const;
    /// "True" or "False".
    virtual int WriteBool(WString name, bool value);

    /// Not this: the number would be cut. As a text it is whole:
    /// `WriteString(name, WString::FromInt(value))`.
    template <NProfile::IsWiderThanInt T>
    int WriteInt(WString name, T value) = delete;
    /// Not this: no pointer counts as true, and no text, which converts into one.
    template <NProfile::IsPointer T>
    int WriteBool(WString name, const T& value) = delete;
};
