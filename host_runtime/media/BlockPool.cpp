#include "host_runtime/media/BlockPool.h"

#include <sys/mman.h>

#include <algorithm>
#include <bit>
#include <new>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KESTREL_POISON_FREE_BLOCKS 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define KESTREL_POISON_FREE_BLOCKS 1
#endif
#if defined(KESTREL_POISON_FREE_BLOCKS)
#include <sanitizer/asan_interface.h>
#endif

namespace host_runtime {
namespace {

constexpr std::size_t kPage = 4096;

// Whole pages, in eight steps per power of two: few sizes, at most an eighth wasted.
std::size_t BlockSize(std::size_t size) {
    const std::size_t pages = (std::max<std::size_t>(size, 1) + kPage - 1) / kPage;
    const std::size_t step = std::max<std::size_t>(std::bit_floor(pages) / 8, 1);
    return (pages + step - 1) / step * step * kPage;
}

// A pool hides the use of a released buffer from the address sanitizer unless it is told.
void Forbid([[maybe_unused]] void* memory, [[maybe_unused]] std::size_t size) {
#if defined(KESTREL_POISON_FREE_BLOCKS)
    ASAN_POISON_MEMORY_REGION(memory, size);
#endif
}

void Permit([[maybe_unused]] void* memory, [[maybe_unused]] std::size_t size) {
#if defined(KESTREL_POISON_FREE_BLOCKS)
    ASAN_UNPOISON_MEMORY_REGION(memory, size);
#endif
}

std::uint8_t* Map(std::size_t size) {
    void* memory =
        mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
    return memory == MAP_FAILED ? nullptr : static_cast<std::uint8_t*>(memory);
}

}  // namespace

BlockPool::~BlockPool() {
    const support::MutexLock lock(mutex);
    for (auto& [size, sizeClass] : classes)
        Unmap(sizeClass.top);
}

BlockPool::Block BlockPool::Take(std::size_t size) {
    Block block;
    block.size = BlockSize(size);
    FreeBlock* reused = nullptr;
    FreeBlock* surplus = nullptr;
    {
        const support::MutexLock lock(mutex);
        SizeClass& sizeClass = classes[block.size];
        sizeClass.taken = true;
        reused = Pop(sizeClass);
        if (++takenSinceTrim >= kTrimInterval) surplus = TakeSurplus();
    }
    Unmap(surplus);
    if (reused != nullptr) {
        block.memory = reinterpret_cast<std::uint8_t*>(reused);
        Permit(block.memory, block.size);
        return block;
    }
    block.memory = Map(block.size);
    block.fresh = true;
    return block;
}

void BlockPool::Give(Block block) {
    if (block.memory == nullptr) return;
    auto* freed = new (block.memory) FreeBlock{nullptr, block.size};
    Forbid(block.memory + sizeof(FreeBlock), block.size - sizeof(FreeBlock));
    {
        const support::MutexLock lock(mutex);
        if (freeBytes + block.size <= kMostFreeBytes) {
            SizeClass& sizeClass = classes[block.size];
            freed->next = sizeClass.top;
            sizeClass.top = freed;
            ++sizeClass.count;
            freeBytes += block.size;
            return;
        }
    }
    Unmap(freed);
}

std::size_t BlockPool::FreeBytes() const {
    const support::MutexLock lock(mutex);
    return freeBytes;
}

void BlockPool::Unmap(FreeBlock* list) {
    while (list != nullptr) {
        FreeBlock* next = list->next;
        const std::size_t size = list->size;
        Permit(list, size);
        munmap(list, size);
        list = next;
    }
}

BlockPool::FreeBlock* BlockPool::Pop(SizeClass& sizeClass) {
    FreeBlock* top = sizeClass.top;
    if (top == nullptr) return nullptr;
    sizeClass.top = top->next;
    --sizeClass.count;
    sizeClass.fewest = std::min(sizeClass.fewest, sizeClass.count);
    freeBytes -= top->size;
    return top;
}

// A size in use keeps one block to spare.
BlockPool::FreeBlock* BlockPool::TakeSurplus() {
    FreeBlock* surplus = nullptr;
    for (auto& [size, sizeClass] : classes) {
        std::size_t unneeded = sizeClass.count;
        if (sizeClass.taken) unneeded = sizeClass.fewest > 1 ? sizeClass.fewest - 1 : 0;
        for (; unneeded > 0; --unneeded) {
            FreeBlock* block = Pop(sizeClass);
            block->next = surplus;
            surplus = block;
        }
        sizeClass.fewest = sizeClass.count;
        sizeClass.taken = false;
    }
    takenSinceTrim = 0;
    return surplus;
}

}  // namespace host_runtime
