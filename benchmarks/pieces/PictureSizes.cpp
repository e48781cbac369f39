#include "benchmarks/pieces/PictureSizes.h"

namespace benchmarks {
namespace {

// Decoders pad their rows, and keep a border that they predict from.
constexpr std::int32_t kRowPadding = 64;

void FillWithDetail(std::vector<std::uint8_t>& bytes) {
    std::uint32_t state = 1;
    for (std::uint8_t& byte : bytes) {
        state = state * 1'664'525U + 1'013'904'223U;
        byte = static_cast<std::uint8_t>(16 + (state >> 24) % 220);
    }
}

}  // namespace

PlanarPictures::PlanarPictures(PictureSize size) {
    const std::int32_t strideLuma = size.width + kRowPadding;
    const std::int32_t strideChroma = strideLuma / 2;
    const std::size_t lumaBytes =
        static_cast<std::size_t>(strideLuma) * static_cast<std::size_t>(size.height);
    for (std::size_t index = 0; index < kPicturesInTurn; ++index) {
        std::vector<std::uint8_t>& planes = memory.emplace_back(lumaBytes * 3 / 2);
        FillWithDetail(planes);
        const std::uint8_t* const y = planes.data();
        frames.push_back({size.width, size.height, y, y + lumaBytes, y + lumaBytes + lumaBytes / 4,
                          strideLuma, strideChroma, strideChroma});
    }
}

PackedPictures::PackedPictures(PictureSize size) {
    for (std::size_t index = 0; index < kPicturesInTurn; ++index)
        FillWithDetail(memory.emplace_back(size.PackedBytes()));
}

}  // namespace benchmarks
