#include "tests/unit/host_runtime/CountedAllocations.h"

#include <atomic>

#include "tests/fakes/AllocationOperators.h"

namespace {

std::atomic<std::int64_t> allocations{0};

}  // namespace

void tests::BeforeAllocation() {
    allocations.fetch_add(1, std::memory_order_relaxed);
}

std::int64_t tests::Allocations() {
    return allocations.load();
}
