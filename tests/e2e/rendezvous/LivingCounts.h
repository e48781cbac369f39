// What must be gone after each test of a session.
#pragma once

#include <vector>

#include "tests/fakes/TestMain.h"

namespace rendezvous {

std::vector<tests::LivingCount> LivingCounts();

}  // namespace rendezvous
