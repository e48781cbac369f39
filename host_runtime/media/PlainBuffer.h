// Pictures of one colour. All of a colour share one piece of memory until one of them is written.
#pragma once

#include <memory>

#include "host_runtime/media/HostBuffer.h"

namespace host_runtime {

// The same four bytes (two pixels) over and over, so that one serves pictures of every size.
class PlainPixels {
public:
    using TwoPixels = std::uint32_t;  // U, Y, V, Y in memory order

    // Null when there is no memory.
    static std::shared_ptr<PlainPixels> Make(const std::shared_ptr<BlockPool>& pool, TwoPixels colour,
                                             std::size_t size);

    PlainPixels(std::shared_ptr<BlockPool> ownPool, BlockPool::Block ownBlock, TwoPixels pixelColour);
    ~PlainPixels();
    PlainPixels(const PlainPixels&) = delete;
    PlainPixels& operator=(const PlainPixels&) = delete;

    TwoPixels Colour() const { return colour; }
    std::uint8_t* Data() const { return block.memory; }
    std::size_t Size() const { return block.size; }

private:
    const std::shared_ptr<BlockPool> pool;
    const BlockPool::Block block;
    const TwoPixels colour;
};

class PlainBuffer final : public HostBuffer {
public:
    // `pixels` holds at least `dataSize` bytes.
    static PlainBuffer* Make(const std::shared_ptr<BlockPool>& pool, const mdMediaRecord& record,
                             std::size_t dataSize, std::int32_t bytesPerRow,
                             std::shared_ptr<const PlainPixels> pixels);

    // The first lock gives the buffer pixels of its own; a null base address when there is no memory.
    nxPixelStore LockPixelsForWriting() override;
    std::uint8_t* Data() override;

private:
    PlainBuffer(std::shared_ptr<BlockPool> ownPool, BlockPool::Block ownBlock, const mdMediaRecord& record,
                std::size_t pictureSize, std::int32_t rowBytes, std::shared_ptr<const PlainPixels> pixels);
    ~PlainBuffer() override;

    const std::shared_ptr<const PlainPixels> shared;
    support::Mutex mutex;
    BlockPool::Block own GUARDED_BY(mutex);
};

}  // namespace host_runtime
