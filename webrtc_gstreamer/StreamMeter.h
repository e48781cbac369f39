#pragma once

#include <atomic>
#include <cstdint>

namespace webrtc_gstreamer {

// Counts what arrives of one track, whichever of its streams brings it. Written on the streaming threads,
// read by the worker.
class StreamMeter {
public:
    void CountPackets(std::int64_t count) { packets.fetch_add(count, std::memory_order_relaxed); }
    void CountDecoded() { decoded.fetch_add(1, std::memory_order_relaxed); }
    // The stream that brings it now.
    void SetStream(std::uint32_t ssrc) { stream.store(ssrc, std::memory_order_relaxed); }

    std::int64_t Packets() const { return packets.load(std::memory_order_relaxed); }
    std::int64_t Decoded() const { return decoded.load(std::memory_order_relaxed); }
    std::uint32_t Stream() const { return stream.load(std::memory_order_relaxed); }

private:
    std::atomic<std::int64_t> packets{0};
    std::atomic<std::int64_t> decoded{0};
    std::atomic<std::uint32_t> stream{0};
};

}  // namespace webrtc_gstreamer
