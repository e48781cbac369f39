// The way of a phone's sound from the link to the consumers on a virtual clock: playout, the worker that
// plays a block every 10 ms, the sound object, pulls.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "renderers/nxWebRtcAudioRenderer.h"
#include "tests/unit/sound/Listener.h"
#include "tests/unit/sound/SimulatedLink.h"
#include "tests/unit/sound/WrittenSound.h"
#include "webrtc_gstreamer/AudioPlayout.h"
#include "webrtc_gstreamer/PlayoutSchedule.h"

namespace tests {

class Playback {
public:
    // How late a thread wakes up, in microseconds.
    using Lateness = std::function<std::int64_t()>;

    Playback(nxWebRtcAudioRenderer& soundObject, const SimulatedLink::Behaviour& behaviour, Lateness ofWorker,
             Lateness ofPulls);

    // A consumer whose grid begins at `firstPullUs`.
    Listener& Listen(std::int64_t firstPullUs);
    void RunUntil(std::int64_t timeUs);

    SimulatedLink& Link() { return link; }
    WrittenSound& Written() { return written; }
    const webrtc_gstreamer::AudioPlayout& Playout() const { return playout; }
    std::vector<Listener>& Listeners() { return listeners; }

private:
    void PlayBlock();

    nxWebRtcAudioRenderer& renderer;
    SimulatedLink link;
    const Lateness workerLateness;
    const Lateness pullLateness;
    webrtc_gstreamer::AudioPlayout playout;
    webrtc_gstreamer::PlayoutSchedule schedule;
    std::int64_t workerWakesUs = 0;
    WrittenSound written;
    std::vector<Listener> listeners;
    std::vector<std::int64_t> pullsUs;  // when each of the listeners' threads wakes
};

}  // namespace tests
