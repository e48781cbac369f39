#pragma once

#include <cstdint>

namespace stress {

// From the command line (--seconds N, --seed N), else from the environment (KESTREL_STRESS_SECONDS,
// KESTREL_STRESS_SEED), else 60 s and a random seed.
struct Settings {
    int seconds = 60;
    std::uint64_t seed = 0;

    static const Settings& Of(int argc, char** argv);  // once, before any test
    static const Settings& Current();
};

}  // namespace stress
