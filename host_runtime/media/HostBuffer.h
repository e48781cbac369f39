// A buffer whose object and memory share one block of a pool: after warm-up, making one allocates nothing.
#pragma once

#include <atomic>
#include <memory>

#include "host/media/nxBuffer2.h"
#include "host_runtime/media/BlockPool.h"
#include "support/object_count.h"

namespace host_runtime {

class HostBuffer : public nxBuffer2, private support::Counted<HostBuffer> {
public:
    using support::Counted<HostBuffer>::Alive;

    enum class Memory { Zeroed, AsItIs };

    // One reference for the caller; null when there is no memory. Without `bytesPerRow` the buffer has no
    // pixels.
    static HostBuffer* Make(const std::shared_ptr<BlockPool>& pool, const mdMediaRecord& record,
                            std::size_t dataSize, std::int32_t bytesPerRow, Memory memory);

    std::uint32_t AddRef() override;
    std::uint32_t Release() override;
    std::int64_t Timestamp() const override;
    void SetTimestamp(std::int64_t newTimestampUs) override;
    nxPixelStore LockPixelsForWriting() override;
    void UnlockPixels() override;
    std::uint8_t* Data() override;
    std::size_t DataSize() const override;

protected:
    // Made in place in the block's first bytes.
    HostBuffer(std::shared_ptr<BlockPool> ownPool, BlockPool::Block ownBlock, const mdMediaRecord& record,
               std::uint8_t* ownData, std::size_t ownDataSize, std::int32_t rowBytes);
    ~HostBuffer() override;

    BlockPool& Pool() const { return *pool; }
    std::int32_t BytesPerRow() const { return bytesPerRow; }

private:
    std::atomic<std::uint32_t> references{1};
    std::atomic<std::int64_t> timestampUs{kTimestampUnset};
    std::shared_ptr<BlockPool> pool;  // so that the buffer may outlive its group
    BlockPool::Block block;
    std::uint8_t* data;
    std::size_t dataSize;
    std::int32_t bytesPerRow;
};

}  // namespace host_runtime
