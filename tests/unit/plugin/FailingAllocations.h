// Lets one allocation of the program that it is linked to fail.
#pragma once

#include <cstdint>

namespace tests {

// While it lives, the allocation of this thread with this number fails, the first one being 0; all others
// work.
class FailingAllocation {
public:
    explicit FailingAllocation(std::int64_t number);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
};

}  // namespace tests
