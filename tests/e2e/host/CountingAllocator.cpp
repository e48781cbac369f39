// The operators alone: beside other code, compilers take their pairs for mismatched ones.
#include <cstdlib>
#include <new>

#include "tests/e2e/host/ThreadAllocations.h"

namespace {

void* Counted(void* memory) {
    e2e::CountAllocation();
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

void* Aligned(std::size_t size, std::align_val_t alignment) {
    const auto unit = static_cast<std::size_t>(alignment);
    return std::aligned_alloc(unit, (size + unit - 1) / unit * unit);
}

}  // namespace

void* operator new(std::size_t size) {
    return Counted(std::malloc(size != 0 ? size : 1));
}
void* operator new[](std::size_t size) {
    return Counted(std::malloc(size != 0 ? size : 1));
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return Counted(Aligned(size, alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return Counted(Aligned(size, alignment));
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
