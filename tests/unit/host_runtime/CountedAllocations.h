// Counts every allocation of the program that it is linked to.
#pragma once

#include <cstdint>

namespace tests {

std::int64_t Allocations();  // since the start

}  // namespace tests
