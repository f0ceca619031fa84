#pragma once

#include "core/base/BSmartObj.h"
#include "core/platform/Export.h"

/// What two-dimensional arrays have in common.
class QD_CORE_API B2DArrayBase : public BSmartObj {
public:
    // Virtual operations: their order is part of the interface.

    /// Crops or extends the array to the rectangle of `width` x `height` cells whose corner is the
    /// cell (`x`, `y`) of before.
    virtual void ChangeExtent(int x, int y, int width, int height) = 0;
    virtual int Width() const = 0;
    virtual int Height() const = 0;
};
