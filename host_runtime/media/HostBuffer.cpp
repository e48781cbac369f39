#include "host_runtime/media/HostBuffer.h"

#include <cstring>
#include <new>
#include <utility>

namespace host_runtime {
namespace {

constexpr std::size_t kCacheLine = 64;

}  // namespace

HostBuffer* HostBuffer::Make(const std::shared_ptr<BlockPool>& pool, const mdMediaRecord& record,
                             std::size_t dataSize, std::int32_t bytesPerRow, Memory memory) {
    constexpr std::size_t kDataOffset = (sizeof(HostBuffer) + kCacheLine - 1) / kCacheLine * kCacheLine;
    const BlockPool::Block block = pool->Take(kDataOffset + dataSize);
    if (block.memory == nullptr) return nullptr;
    std::uint8_t* data = block.memory + kDataOffset;
    if (memory == Memory::Zeroed && !block.fresh) std::memset(data, 0, dataSize);
    return new (block.memory) HostBuffer(pool, block, record, data, dataSize, bytesPerRow);
}

HostBuffer::HostBuffer(std::shared_ptr<BlockPool> ownPool, BlockPool::Block ownBlock,
                       const mdMediaRecord& record, std::uint8_t* ownData, std::size_t ownDataSize,
                       std::int32_t rowBytes)
    : nxBuffer2(kMediaTypeVideo),
      pool(std::move(ownPool)),
      block(ownBlock),
      data(ownData),
      dataSize(ownDataSize),
      bytesPerRow(rowBytes) {
    static_cast<mdMediaRecord&>(*this) = record;
}

HostBuffer::~HostBuffer() = default;

std::uint32_t HostBuffer::AddRef() {
    return references.fetch_add(1, std::memory_order_relaxed) + 1;
}

std::uint32_t HostBuffer::Release() {
    // Acquire and release: the next user of the memory must see that the others are done with it.
    const std::uint32_t left = references.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) {
        const std::shared_ptr<BlockPool> keptPool = pool;
        const BlockPool::Block ownBlock = block;
        this->~HostBuffer();
        keptPool->Give(ownBlock);
    }
    return left;
}

std::int64_t HostBuffer::Timestamp() const {
    return timestampUs.load(std::memory_order_relaxed);
}

void HostBuffer::SetTimestamp(std::int64_t newTimestampUs) {
    timestampUs.store(newTimestampUs, std::memory_order_relaxed);
}

nxPixelStore HostBuffer::LockPixelsForWriting() {
    if (bytesPerRow == 0) return {};
    return {data, bytesPerRow};
}

void HostBuffer::UnlockPixels() {}

std::uint8_t* HostBuffer::Data() {
    return data;
}

std::size_t HostBuffer::DataSize() const {
    return dataSize;
}

}  // namespace host_runtime
