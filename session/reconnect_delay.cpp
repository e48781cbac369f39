#include "session/reconnect_delay.h"

std::int64_t ReconnectDelayUs(std::int32_t attempt) {
    constexpr double kStepUs = 1000001.0;  // deliberately one more than a second
    return static_cast<std::int64_t>(attempt * kStepUs);
}
