#include "tests/unit/plugin/FailingAllocations.h"

#include <new>

#include "tests/fakes/AllocationOperators.h"

namespace {

thread_local std::int64_t untilFailure = -1;  // negative: none fails

}  // namespace

void tests::BeforeAllocation() {
    if (untilFailure >= 0 && untilFailure-- == 0) throw std::bad_alloc();
}

tests::FailingAllocation::FailingAllocation(std::int64_t number) {
    untilFailure = number;
}

tests::FailingAllocation::~FailingAllocation() {
    untilFailure = -1;
}
