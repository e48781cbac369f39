#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <span>

#include "support/annotated_mutex.h"
#include "webrtc/voAudioTrackInterface.h"
#include "webrtc_gstreamer/AudioPlayout.h"
#include "webrtc_gstreamer/PlayoutClock.h"
#include "webrtc_gstreamer/SinkList.h"
#include "webrtc_gstreamer/StreamMeter.h"

namespace webrtc_gstreamer {

// Where decoded sound of one peer connection goes: into a store that the playout clock empties. From the
// first sound on, a block is played every 10 ms for as long as the track lives.
class AudioTrack : public PlayoutClock::Player, public std::enable_shared_from_this<AudioTrack> {
public:
    using Sink = vo_webrtc::voAudioTrackInterface::Sink;

    explicit AudioTrack(std::shared_ptr<PlayoutClock> playoutClock) : clock(std::move(playoutClock)) {}

    SinkList<Sink>& Sinks() { return sinks; }
    void SetEnabled(bool value) { enabled.store(value, std::memory_order_relaxed); }  // [any-thread]

    std::uint64_t NewReceiver() { return newestReceiver.fetch_add(1) + 1; }
    // [library-thread] 48 kHz, stereo
    void Write(std::uint64_t receiver, std::span<const AudioPlayout::Frame> frames);
    StreamMeter& Meter() { return meter; }

    void PlayBlock() override;

private:
    SinkList<Sink> sinks;
    const std::shared_ptr<PlayoutClock> clock;
    std::atomic<std::uint64_t> newestReceiver{0};
    std::atomic<bool> enabled{true};
    StreamMeter meter;
    support::Mutex mutex;
    AudioPlayout playout GUARDED_BY(mutex);
    bool started GUARDED_BY(mutex) = false;
};

}  // namespace webrtc_gstreamer
