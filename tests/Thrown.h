#pragma once

#include "core/base/BError.h"

/// The error that `call` throws; one with the code 0 when it throws none.
template <class Call>
BError Thrown(Call call)
{
    try {
        call();
    } catch (const BError& error) {
        return error;
    }
    return BError(0);
}
