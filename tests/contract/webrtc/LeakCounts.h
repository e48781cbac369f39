#pragma once

#include <vector>

#include "tests/fakes/TestMain.h"

namespace contract {

// What must be gone after every test of the wrapper.
std::vector<tests::LivingCount> LeakCounts();

}  // namespace contract
