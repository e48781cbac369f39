// Random choices of one thread. The same seed gives the same throws; how the threads interleave is up to the
// machine.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>

namespace stress {

class Dice {
public:
    explicit Dice(std::uint64_t seed) : engine(seed) {}

    // 0 to `sides` - 1.
    int Below(int sides) { return std::uniform_int_distribution<int>(0, sides - 1)(engine); }
    bool OneIn(int times) { return Below(times) == 0; }
    template <class Container>
    auto& OneOf(Container& container) {
        return container[static_cast<std::size_t>(Below(static_cast<int>(container.size())))];
    }

private:
    std::mt19937_64 engine;
};

}  // namespace stress
