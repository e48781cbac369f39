#include "host_runtime/media/PlainBuffer.h"

#include <cstring>
#include <new>
#include <utility>

namespace host_runtime {

std::shared_ptr<PlainPixels> PlainPixels::Make(const std::shared_ptr<BlockPool>& pool, TwoPixels colour,
                                               std::size_t size) {
    const BlockPool::Block block = pool->Take(size);
    if (block.memory == nullptr) return nullptr;
    return std::make_shared<PlainPixels>(pool, block, colour);
}

PlainPixels::PlainPixels(std::shared_ptr<BlockPool> ownPool, BlockPool::Block ownBlock, TwoPixels pixelColour)
    : pool(std::move(ownPool)), block(ownBlock), colour(pixelColour) {
    for (std::size_t offset = 0; offset < block.size; offset += sizeof colour)
        std::memcpy(block.memory + offset, &colour, sizeof colour);
}

PlainPixels::~PlainPixels() {
    pool->Give(block);
}

PlainBuffer* PlainBuffer::Make(const std::shared_ptr<BlockPool>& pool, const mdMediaRecord& record,
                               std::size_t dataSize, std::int32_t bytesPerRow,
                               std::shared_ptr<const PlainPixels> pixels) {
    const BlockPool::Block block = pool->Take(sizeof(PlainBuffer));
    if (block.memory == nullptr) return nullptr;
    return new (block.memory) PlainBuffer(pool, block, record, dataSize, bytesPerRow, std::move(pixels));
}

PlainBuffer::PlainBuffer(std::shared_ptr<BlockPool> ownPool, BlockPool::Block ownBlock,
                         const mdMediaRecord& record, std::size_t pictureSize, std::int32_t rowBytes,
                         std::shared_ptr<const PlainPixels> pixels)
    : HostBuffer(std::move(ownPool), ownBlock, record, nullptr, pictureSize, rowBytes),
      shared(std::move(pixels)) {}

PlainBuffer::~PlainBuffer() {
    const support::MutexLock lock(mutex);
    Pool().Give(own);
}

nxPixelStore PlainBuffer::LockPixelsForWriting() {
    const support::MutexLock lock(mutex);
    if (own.memory == nullptr) {
        own = Pool().Take(DataSize());
        if (own.memory == nullptr) return {};
        std::memcpy(own.memory, shared->Data(), DataSize());
    }
    return {own.memory, BytesPerRow()};
}

std::uint8_t* PlainBuffer::Data() {
    const support::MutexLock lock(mutex);
    return own.memory != nullptr ? own.memory : shared->Data();
}

}  // namespace host_runtime
