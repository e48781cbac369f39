// Memory for buffers: mapped and touched once, then reused last in, first out while it is still in the
// caches. A fresh mapping for every frame costs a page fault per 4 KiB. All operations [any-thread].
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>

#include "support/annotated_mutex.h"

namespace host_runtime {

class BlockPool {
public:
    struct Block {
        std::uint8_t* memory = nullptr;  // page-aligned; null: the system has no memory left
        std::size_t size = 0;            // at least what was asked for
        bool fresh = false;              // zeroed; otherwise it holds whatever its last user left
    };

    static constexpr std::size_t kMostFreeBytes = std::size_t{512} << 20;
    // After so many blocks taken, those that lay free all the while go back to the system.
    static constexpr std::uint32_t kTrimInterval = 4096;

    BlockPool() = default;
    ~BlockPool();
    BlockPool(const BlockPool&) = delete;
    BlockPool& operator=(const BlockPool&) = delete;

    Block Take(std::size_t size);
    void Give(Block block);

    std::size_t FreeBytes() const;

private:
    // Stands in the first bytes of a free block.
    struct FreeBlock {
        FreeBlock* next = nullptr;
        std::size_t size = 0;
    };
    struct SizeClass {
        FreeBlock* top = nullptr;
        std::size_t count = 0;
        std::size_t fewest = 0;  // since the last trimming
        bool taken = false;      // since the last trimming
    };

    static void Unmap(FreeBlock* list);
    FreeBlock* Pop(SizeClass& sizeClass) REQUIRES(mutex);
    FreeBlock* TakeSurplus() REQUIRES(mutex);

    mutable support::Mutex mutex;
    std::map<std::size_t, SizeClass> classes GUARDED_BY(mutex);  // by block size
    std::size_t freeBytes GUARDED_BY(mutex) = 0;
    std::uint32_t takenSinceTrim GUARDED_BY(mutex) = 0;
};

}  // namespace host_runtime
