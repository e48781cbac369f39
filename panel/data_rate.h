#pragma once

#include <cstdint>
#include <string>

#include "connection/nxWebRtcStats.h"

// Bytes per second between two samples, truncated to whole bytes. Negative when a counter went back; the
// smallest value when no rate can be had, as with two samples of the same time.
std::int64_t BytesPerSecond(const nxWebRtcStats& previous, const nxWebRtcStats& current);

// Megabits per second with one decimal, "10.0 Mbits" for 1250000.
std::string DataRateText(std::int64_t bytesPerSecond);
