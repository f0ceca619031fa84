#pragma once

#include "core/base/BSmartObj.h"
#include "core/base/WString.h"
#include "core/platform/Export.h"

/// A named attribute of a `BNode`; applications define the concrete ones.
///
/// An attribute that is to be archived does what every archivable class does (see `BArchive`).
/// `BSmartObj` is a virtual base, so that an attribute can be an object of another family, too.
class QD_CORE_API BAttribute : public virtual BSmartObj {
public:
    BAttribute() = default;
    // Copying takes over nothing: an attribute is known by its name and its own data alone. The
    // most derived class decides on the unique id.
    BAttribute(const BAttribute&) noexcept // NOLINT(bugprone-copy-constructor-init): said above
        : BSmartObj()
    {}
    BAttribute(BAttribute&&) noexcept
        : BSmartObj()
    {}
    BAttribute& operator=(const BAttribute&) noexcept { return *this; }
    BAttribute& operator=(BAttribute&&) noexcept { return *this; }
    ~BAttribute() override;

    // Virtual operations: their order is part of the interface.

    /// The name, unique within a node, compared with regard to case. It must not change while a
    /// node holds the attribute.
    virtual WString Name() const = 0;
};
