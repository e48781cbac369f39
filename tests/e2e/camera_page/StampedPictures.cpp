#include "tests/e2e/camera_page/StampedPictures.h"

#include <algorithm>
#include <chrono>

#include "host/media/nxBuffer2.h"
#include "support/frame_stamp.h"

namespace camera_page {

void StampedPictures::OnPicture(const host_runtime::PulledPicture& picture) {
    if (!picture.isPicture || !picture.isNew) return;
    const std::int64_t nowUs = SteadyNowUs();
    nxBuffer2& buffer = *picture.buffer;
    const int width = buffer.GetDisplayWidth();
    const int height = buffer.GetDisplayHeight();
    const std::int32_t bytesPerRow = buffer.AsInt32(FourCC("mbpr"), 0);
    const std::uint8_t* const data = buffer.Data();
    const auto lumaAt = [data, bytesPerRow](int x, int y) {
        return int{data[std::int64_t{y} * bytesPerRow + x * 2 + 1]};
    };
    const auto stamp = support::frame_stamp::Read(width, height, lumaAt);
    const int luma = support::frame_stamp::MeanLuma({0, height / 2, width, height / 2}, lumaAt);

    const support::MutexLock lock(mutex);
    if (!stamp || stamp->frameNumber == lastNumber) return;
    if (lastNumber && stamp->frameNumber < *lastNumber) ++counts.outOfOrder;
    lastNumber = stamp->frameNumber;
    counts.width = width;
    counts.height = height;
    counts.lowerLuma = luma;
    ++counts.distinct;
    if (counts.lastAtUs != 0) counts.longestGapUs = std::max(counts.longestGapUs, nowUs - counts.lastAtUs);
    counts.lastAtUs = nowUs;
    counts.latenciesMs.push_back(static_cast<double>(nowUs - static_cast<std::int64_t>(stamp->senderTimeUs)) /
                                 1000.0);
}

void StampedPictures::OnSound(const host_runtime::PulledSound& /*sound*/) {}

StampedPictures::Counts StampedPictures::Now() const {
    const support::MutexLock lock(mutex);
    return counts;
}

void StampedPictures::BeginAnew() {
    const support::MutexLock lock(mutex);
    counts.longestGapUs = 0;
    counts.latenciesMs.clear();
    counts.distinct = 0;
}

std::int64_t SteadyNowUs() {
    using namespace std::chrono;
    return duration_cast<microseconds>(steady_clock::now().time_since_epoch()).count();
}

double Percentile(std::vector<double> values, double share) {
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    const auto last = static_cast<double>(values.size() - 1);
    return values[static_cast<std::size_t>(share * last + 0.5)];
}

}  // namespace camera_page
