#include "webrtc_gstreamer/AudioTrack.h"

#include <array>

namespace webrtc_gstreamer {

void AudioTrack::Write(std::uint64_t receiver, std::span<const AudioPlayout::Frame> frames) {
    if (receiver != newestReceiver.load(std::memory_order_relaxed)) return;
    meter.CountDecoded();
    bool mustStart = false;
    {
        const support::MutexLock lock(mutex);
        playout.Write(frames);
        mustStart = !started;
        started = true;
    }
    if (mustStart) clock->Add(weak_from_this());
}

void AudioTrack::PlayBlock() {
    static_assert(sizeof(AudioPlayout::Frame) == 2 * sizeof(std::int16_t));
    std::array<AudioPlayout::Frame, AudioPlayout::kBlockFrames> block;
    {
        const support::MutexLock lock(mutex);
        playout.Read(block);
    }
    // The store goes on being emptied, so that enabling continues with the present.
    if (!enabled.load(std::memory_order_relaxed)) block.fill({});
    const vo_webrtc::voAudioData data{.samples = &block.front().left, .channels = 2, .frames = block.size()};
    sinks.ForEach("an audio sink", [&data](Sink& sink) { sink.OnData(data); });
}

}  // namespace webrtc_gstreamer
