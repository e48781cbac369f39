// Dice that fall alike with every standard library.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>

namespace tests {

class Random {
public:
    explicit Random(std::uint64_t seed) : engine(seed) {}

    double Uniform() { return static_cast<double>(engine() >> 11) * 0x1p-53; }
    bool Happens(double share) { return Uniform() < share; }
    double Exponential(double mean) { return -mean * std::log(1 - Uniform()); }
    // Heavy-tailed: at least `lowest`, half as many above each further factor of 2^(1/exponent).
    double Pareto(double lowest, double exponent, double highest) {
        return std::min(lowest * std::pow(1 - Uniform(), -1 / exponent), highest);
    }

private:
    std::mt19937_64 engine;
};

}  // namespace tests
