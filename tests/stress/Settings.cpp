#include "tests/stress/Settings.h"

#include <cstdlib>
#include <random>
#include <stdexcept>
#include <string>

namespace stress {
namespace {

Settings current;

const char* Given(int argc, char** argv, const char* option, const char* variable) {
    for (int index = 1; index + 1 < argc; ++index)
        if (std::string(argv[index]) == option) return argv[index + 1];
    return std::getenv(variable);
}

}  // namespace

const Settings& Settings::Of(int argc, char** argv) {
    const char* const seconds = Given(argc, argv, "--seconds", "KESTREL_STRESS_SECONDS");
    const char* const seed = Given(argc, argv, "--seed", "KESTREL_STRESS_SEED");
    if (seconds != nullptr) current.seconds = std::stoi(seconds);
    current.seed = seed != nullptr ? std::stoull(seed) : std::random_device()();
    if (current.seconds < 1) throw std::invalid_argument("the stress test needs at least one second");
    return current;
}

const Settings& Settings::Current() {
    return current;
}

}  // namespace stress
