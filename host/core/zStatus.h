// The status that host-facing operations return: 0 is success, any other value is not.
#pragma once

#include <cstdint>

using zStatus = std::int32_t;

inline constexpr zStatus kStatusOk = 0;
inline constexpr zStatus kStatusFailed = -1;
