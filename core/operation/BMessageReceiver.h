#pragma once

#include "core/platform/Export.h"

#include <cstdint>

/// Receives the messages that a dispatcher delivers, on the dispatcher's thread.
class QD_CORE_API BMessageReceiver {
public:
    /// `message` is one of those of core/operation/Messages.h, or the application's own.
    virtual void Receive(unsigned int message, std::uint64_t first, std::uint64_t second) = 0;

protected:
    BMessageReceiver() = default;
    BMessageReceiver(const BMessageReceiver&) = default;
    BMessageReceiver& operator=(const BMessageReceiver&) = default;
    ~BMessageReceiver() = default;
};
