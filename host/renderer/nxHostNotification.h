#pragma once

#include <cstdint>

// Told by a panel that the settings of its source changed.
class nxHostNotification {
public:
    virtual ~nxHostNotification() = default;
    // [main-thread] 1: a new address was accepted. The host reacts later, never inside the call.
    virtual void Notify(std::uint32_t value) = 0;
};
