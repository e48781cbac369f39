// The sizes that are measured, and pictures of these sizes: planar ones as a decoder leaves them, packed ones
// for whoever only copies.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "webrtc/voI420Frame.h"

namespace benchmarks {

// A decoder's pool: by the time that a picture's memory comes again, it has left the nearest caches.
inline constexpr std::size_t kPicturesInTurn = 4;

struct PictureSize {
    std::int32_t width = 0;
    std::int32_t height = 0;

    std::size_t PackedBytes() const {
        return static_cast<std::size_t>(width) * 2 * static_cast<std::size_t>(height);
    }
};

// 16:9, named by its height as everybody does.
constexpr PictureSize SizeOfHeight(std::int64_t height) {
    return {static_cast<std::int32_t>(height * 16 / 9), static_cast<std::int32_t>(height)};
}

// Decoded pictures, one after the other.
class PlanarPictures {
public:
    explicit PlanarPictures(PictureSize size);
    const vo_webrtc::voI420Frame& Next() { return frames[next++ % frames.size()]; }

private:
    std::vector<std::vector<std::uint8_t>> memory;
    std::vector<vo_webrtc::voI420Frame> frames;
    std::size_t next = 0;
};

// The same number of packed pictures, rows without padding.
class PackedPictures {
public:
    explicit PackedPictures(PictureSize size);
    const std::uint8_t* Next() { return memory[next++ % memory.size()].data(); }

private:
    std::vector<std::vector<std::uint8_t>> memory;
    std::size_t next = 0;
};

}  // namespace benchmarks
