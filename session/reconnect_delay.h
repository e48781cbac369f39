#pragma once

#include <cstdint>

// The number of the last attempt to reopen a lost socket; the first is 0.
inline constexpr std::int32_t kLastReconnectAttempt = 8;

// How long to wait before an attempt, in microseconds: 1000001 for each attempt before it.
std::int64_t ReconnectDelayUs(std::int32_t attempt);
