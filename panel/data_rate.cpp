#include "panel/data_rate.h"

#include <fmt/format.h>

#include <cmath>
#include <limits>

namespace {

// Exact for counters; wraps instead of overflowing on nonsense.
double Difference(std::int64_t newer, std::int64_t older) {
    return static_cast<double>(
        static_cast<std::int64_t>(static_cast<std::uint64_t>(newer) - static_cast<std::uint64_t>(older)));
}

}  // namespace

std::int64_t BytesPerSecond(const nxWebRtcStats& previous, const nxWebRtcStats& current) {
    constexpr double kLimit = 9223372036854775808.0;  // 2^63
    const double elapsedUs = Difference(current.timestampUs, previous.timestampUs);
    const double bytes = Difference(current.bytesReceived, previous.bytesReceived);
    const double rate = bytes / (elapsedUs / 1000000.0);
    // What the conversion does out of range differs between processors.
    if (!std::isfinite(rate) || rate >= kLimit || rate < -kLimit) {
        return std::numeric_limits<std::int64_t>::min();
    }
    return static_cast<std::int64_t>(rate);
}

std::string DataRateText(std::int64_t bytesPerSecond) {
    return fmt::format("{:1.1f} Mbits", static_cast<double>(bytesPerSecond) / 125000.0);
}
