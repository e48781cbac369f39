#include "tests/e2e/browser/PulledMedia.h"

#include <algorithm>
#include <chrono>

#include "host/media/nxBuffer2.h"

namespace browser {
namespace {

std::int64_t SteadyNowUs() {
    using namespace std::chrono;
    return duration_cast<microseconds>(steady_clock::now().time_since_epoch()).count();
}

void KeepNewest(std::vector<std::int16_t>& samples) {
    if (samples.size() <= PulledMedia::kKeptSamples) return;
    samples.erase(samples.begin(), samples.end() - static_cast<std::ptrdiff_t>(PulledMedia::kKeptSamples));
}

}  // namespace

void PulledMedia::OnPicture(const host_runtime::PulledPicture& picture) {
    if (!picture.isPicture || !picture.isNew) return;
    nxBuffer2& buffer = *picture.buffer;
    if (static_cast<zFourCC>(buffer.AsInt32(FourCC("mcol"), 0)) != kPixelFormatUYVY) return;
    ReceivedPicture copy = CopyPicture(buffer.Data(), buffer.AsInt32(FourCC("mbpr"), 0),
                                       buffer.GetDisplayWidth(), buffer.GetDisplayHeight());
    const std::optional<std::uint32_t> number = FrameNumberOf(copy);

    const support::MutexLock lock(mutex);
    if (firstPictureAtUs == 0) firstPictureAtUs = SteadyNowUs();
    ++newPictures;
    latest = std::move(copy);
    if (number) frameNumbers.insert(*number);
}

void PulledMedia::OnSound(const host_runtime::PulledSound& sound) {
    const auto* interleaved = reinterpret_cast<const std::int16_t*>(sound.buffer->Data());
    const std::size_t frames = sound.buffer->DataSize() / (2 * sizeof(std::int16_t));
    const bool isSilent =
        std::all_of(interleaved, interleaved + 2 * frames, [](std::int16_t value) { return value == 0; });

    const support::MutexLock lock(mutex);
    if (isSilent) {
        left.clear();
        right.clear();
        return;
    }
    for (std::size_t frame = 0; frame < frames; ++frame) {
        left.push_back(interleaved[2 * frame]);
        right.push_back(interleaved[2 * frame + 1]);
    }
    KeepNewest(left);
    KeepNewest(right);
}

std::int64_t PulledMedia::FirstPictureAtUs() const {
    const support::MutexLock lock(mutex);
    return firstPictureAtUs;
}

int PulledMedia::NewPictures() const {
    const support::MutexLock lock(mutex);
    return newPictures;
}

std::optional<ReceivedPicture> PulledMedia::LatestPicture() const {
    const support::MutexLock lock(mutex);
    return latest;
}

std::set<std::uint32_t> PulledMedia::FrameNumbers() const {
    const support::MutexLock lock(mutex);
    return frameNumbers;
}

std::vector<std::int16_t> PulledMedia::LatestSecondLeft() const {
    const support::MutexLock lock(mutex);
    return left.size() < kKeptSamples ? std::vector<std::int16_t>() : left;
}

std::vector<std::int16_t> PulledMedia::LatestSecondRight() const {
    const support::MutexLock lock(mutex);
    return right.size() < kKeptSamples ? std::vector<std::int16_t>() : right;
}

}  // namespace browser
