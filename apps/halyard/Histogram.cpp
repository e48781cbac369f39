#include "apps/halyard/Histogram.h"

#include <algorithm>
#include <cmath>

namespace halyard {
namespace {

constexpr double kStepsPerMs = 10.0;

}  // namespace

Histogram::Histogram(double lowestMs, double highestMs)
    : lowest(lowestMs),
      highest(highestMs),
      steps(static_cast<std::size_t>(std::lround((highestMs - lowestMs) * kStepsPerMs)) + 1, 0) {}

void Histogram::Add(double valueMs) {
    const double value = std::clamp(valueMs, lowest, highest);
    maximum = count == 0 ? value : std::max(maximum, value);
    ++steps[static_cast<std::size_t>(std::lround((value - lowest) * kStepsPerMs))];
    ++count;
}

std::optional<double> Histogram::Percentile(double percent) const {
    if (count == 0) return std::nullopt;
    const auto wanted =
        std::max<std::int64_t>(1, std::llround(std::ceil(static_cast<double>(count) * percent / 100.0)));
    std::int64_t seen = 0;
    for (std::size_t step = 0; step < steps.size(); ++step) {
        seen += steps[step];
        if (seen >= wanted) return lowest + static_cast<double>(step) / kStepsPerMs;
    }
    return maximum;
}

std::optional<double> Histogram::Maximum() const {
    return count == 0 ? std::nullopt : std::optional(maximum);
}

}  // namespace halyard
