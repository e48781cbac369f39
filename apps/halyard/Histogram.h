// Percentiles of milliseconds, without storing the values: steps of a tenth.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace halyard {

class Histogram {
public:
    // Values outside are counted at the nearest bound.
    Histogram(double lowestMs, double highestMs);

    void Add(double valueMs);
    std::int64_t Count() const { return count; }
    // The smallest value that at least `percent` per cent of all do not exceed; nothing without values.
    std::optional<double> Percentile(double percent) const;
    std::optional<double> Maximum() const;

private:
    double lowest;
    double highest;
    double maximum = 0;
    std::int64_t count = 0;
    std::vector<std::uint32_t> steps;
};

}  // namespace halyard
