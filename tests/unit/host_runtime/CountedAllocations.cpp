#include "tests/unit/host_runtime/CountedAllocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::int64_t> allocations{0};

void* CountedAllocation(std::size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* memory = std::malloc(size != 0 ? size : 1)) return memory;
    throw std::bad_alloc();
}

}  // namespace

std::int64_t tests::Allocations() {
    return allocations.load();
}

void* operator new(std::size_t size) {
    return CountedAllocation(size);
}
void* operator new[](std::size_t size) {
    return CountedAllocation(size);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}
