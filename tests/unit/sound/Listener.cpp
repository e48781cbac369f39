#include "tests/unit/sound/Listener.h"

#include <algorithm>

#include "host_runtime/sources/PullGrid.h"
#include "tests/unit/renderers/ScriptedBufferGroup.h"

namespace tests {
namespace {

constexpr std::int64_t kBlockFrames = host_runtime::kSoundBlockFrames;

bool IsSilent(nxBuffer2& block) {
    const std::uint8_t* const bytes = block.Data();
    return std::all_of(bytes, bytes + block.DataSize(), [](std::uint8_t byte) { return byte == 0; });
}

}  // namespace

std::int64_t Listener::NextPullUs() const {
    return host_runtime::SoundPullTimeUs(originUs, pulls);
}

void Listener::Pull(nxWebRtcAudioRenderer& renderer, const WrittenSound& written, const SimulatedLink& link) {
    const std::int64_t timeUs = NextPullUs();
    ++pulls;
    nxBuffer2* pulled = nullptr;
    renderer.BufferForParameters(&pulled, {timeUs, key});
    const BufferPointer buffer(pulled);
    if (position >= 0 && written.Matches(position, buffer->Data())) {
        Hear(written, link, timeUs);
        return;
    }
    if (IsSilent(*buffer)) {
        if (position >= 0) ++silentPulls;
        return;
    }
    if (position >= 0) ++jumps;
    // Blocks begin at multiples of their length.
    for (position = written.Frames() / kBlockFrames * kBlockFrames; position >= 0; position -= kBlockFrames) {
        if (written.Matches(position, buffer->Data())) return Hear(written, link, timeUs);
    }
}

void Listener::Hear(const WrittenSound& written, const SimulatedLink& link, std::int64_t timeUs) {
    const std::int64_t mark = written.NewestMark();
    if (mark != lastMark && mark >= position && mark < position + kBlockFrames) {
        lastMark = mark;
        const double heardUs =
            static_cast<double>(timeUs) + static_cast<double>(mark - position) * 1e6 / 48'000;
        const double offsetMs = link.SinceMarkUs(heardUs) / 1000;
        offsets.smallestMs = std::min(offsets.smallestMs, offsetMs);
        offsets.largestMs = std::max(offsets.largestMs, offsetMs);
        offsets.sumMs += offsetMs;
        ++offsets.count;
    }
    position += kBlockFrames;
}

}  // namespace tests
