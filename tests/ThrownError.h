#pragma once

#include "core/base/BError.h"

#include <optional>

/// The error that a call throws, none when it returns.
template <class Call>
std::optional<BError> ThrownError(Call call)
{
    try {
        call();
    } catch (const BError& error) {
        return error;
    }
    return std::nullopt;
}

/// Its code, 0 when it returns.
template <class Call>
int ThrownCode(Call call)
{
    const std::optional<BError> error = ThrownError(call);
    return error ? error->Error() : 0;
}
