// main() of a test program, with a leak check of our own objects after every test.
#pragma once

#include <cstdint>
#include <vector>

namespace tests {

struct LivingCount {
    const char* name;
    std::int64_t (*alive)();
};

// Runs the tests; one after which an object of these classes is still alive fails.
int RunAllTests(int argc, char** argv, std::vector<LivingCount> counts);

}  // namespace tests
