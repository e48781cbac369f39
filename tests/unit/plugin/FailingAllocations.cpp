#include "tests/unit/plugin/FailingAllocations.h"

#include <cstdlib>
#include <new>

namespace {

thread_local std::int64_t untilFailure = -1;  // negative: none fails

void* Allocate(std::size_t size) {
    if (untilFailure >= 0 && untilFailure-- == 0) throw std::bad_alloc();
    if (void* memory = std::malloc(size != 0 ? size : 1)) return memory;
    throw std::bad_alloc();
}

}  // namespace

tests::FailingAllocation::FailingAllocation(std::int64_t number) {
    untilFailure = number;
}

tests::FailingAllocation::~FailingAllocation() {
    untilFailure = -1;
}

void* operator new(std::size_t size) {
    return Allocate(size);
}
void* operator new[](std::size_t size) {
    return Allocate(size);
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
