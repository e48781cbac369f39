#include "tests/e2e/camera_page/MediaLevels.h"

#include <algorithm>
#include <cstdlib>

#include "host/media/nxBuffer2.h"
#include "support/frame_stamp.h"

namespace camera_page {

void MediaLevels::OnPicture(const host_runtime::PulledPicture& picture) {
    if (!picture.isPicture || !picture.isNew) return;
    nxBuffer2& buffer = *picture.buffer;
    const std::int32_t bytesPerRow = buffer.AsInt32(FourCC("mbpr"), 0);
    const std::uint8_t* const data = buffer.Data();
    const auto lumaAt = [data, bytesPerRow](int x, int y) {
        return int{data[std::int64_t{y} * bytesPerRow + x * 2 + 1]};
    };
    const int mean =
        support::frame_stamp::MeanLuma({0, 0, buffer.GetDisplayWidth(), buffer.GetDisplayHeight()}, lumaAt);
    const support::MutexLock lock(mutex);
    ++pictures;
    luma = mean;
}

void MediaLevels::OnSound(const host_runtime::PulledSound& sound) {
    const auto* samples = reinterpret_cast<const std::int16_t*>(sound.buffer->Data());
    const std::size_t count = sound.buffer->DataSize() / sizeof(std::int16_t);
    int peak = 0;
    for (std::size_t index = 0; index < count; ++index)
        peak = std::max(peak, std::abs(int{samples[index]}));
    const support::MutexLock lock(mutex);
    peaks[nextPeak] = peak;
    nextPeak = (nextPeak + 1) % peaks.size();
}

MediaLevels::Levels MediaLevels::Now() const {
    const support::MutexLock lock(mutex);
    return {pictures, luma, *std::max_element(peaks.begin(), peaks.end())};
}

}  // namespace camera_page
