// The operators alone: beside other code, compilers take their pairs for mismatched ones.
#include "tests/fakes/AllocationOperators.h"

#include <cstdlib>
#include <new>

namespace {

void* Checked(void* memory) {
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

void* Allocate(std::size_t size) {
    tests::BeforeAllocation();
    return Checked(std::malloc(size != 0 ? size : 1));
}

void* Allocate(std::size_t size, std::align_val_t alignment) {
    tests::BeforeAllocation();
    const auto unit = static_cast<std::size_t>(alignment);
    return Checked(std::aligned_alloc(unit, (size + unit - 1) / unit * unit));
}

}  // namespace

void* operator new(std::size_t size) {
    return Allocate(size);
}
void* operator new[](std::size_t size) {
    return Allocate(size);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return Allocate(size, alignment);
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return Allocate(size, alignment);
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
void operator delete(void* memory, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept {
    std::free(memory);
}
