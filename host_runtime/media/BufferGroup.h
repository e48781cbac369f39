// The host's buffers. Pictures and sound come from one pool that the group shares with its buffers, which
// may outlive it.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>

#include "host/media/nxBufferGroup2.h"
#include "support/annotated_mutex.h"
#include "support/object_count.h"

namespace host_runtime {

class BlockPool;
class PlainPixels;

class BufferGroup final : public nxBufferGroup2, private support::Counted<BufferGroup> {
public:
    using support::Counted<BufferGroup>::Alive;

    static constexpr std::int32_t kLongestSide = 32'768;
    static constexpr std::int64_t kMostBytes = std::int64_t{512} << 20;

    // One reference for the caller.
    static BufferGroup* Make();
    // Buffers that someone still holds, of all groups.
    static std::int64_t BuffersAlive();

    std::uint32_t AddRef() override;
    std::uint32_t Release() override;
    zStatus CreateBuffer(const mdMediaRecord& record, nxBuffer2** out) override;
    zStatus CreateBuffer(const mdMediaRecord& record, std::int32_t frames, std::uint32_t flags,
                         nxBuffer2** out) override;
    nxBuffer2* CreateColoredBuffer(std::int32_t width, std::int32_t height, std::uint32_t colour) override;

private:
    static constexpr std::size_t kKeptColours = 4;

    BufferGroup();
    ~BufferGroup() override;

    std::shared_ptr<const PlainPixels> PixelsOf(std::uint32_t twoPixels, std::size_t size);

    std::atomic<std::uint32_t> references{1};
    const std::shared_ptr<BlockPool> pool;
    support::Mutex mutex;
    std::array<std::shared_ptr<const PlainPixels>, kKeptColours> plain GUARDED_BY(mutex);  // last used first
};

}  // namespace host_runtime
