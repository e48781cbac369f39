#include "tests/unit/sound/Playback.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <utility>

namespace tests {
namespace {

using webrtc_gstreamer::AudioPlayout;
using webrtc_gstreamer::PlayoutSchedule;

PlayoutSchedule::TimePoint At(std::int64_t timeUs) {
    return PlayoutSchedule::TimePoint(std::chrono::microseconds(timeUs));
}

std::int64_t Us(PlayoutSchedule::TimePoint time) {
    return std::chrono::duration_cast<std::chrono::microseconds>(time.time_since_epoch()).count();
}

}  // namespace

Playback::Playback(nxWebRtcAudioRenderer& soundObject, const SimulatedLink::Behaviour& behaviour,
                   Lateness ofWorker, Lateness ofPulls)
    : renderer(soundObject),
      link(behaviour),
      workerLateness(std::move(ofWorker)),
      pullLateness(std::move(ofPulls)) {
    schedule.Begin(At(0));
    workerWakesUs = Us(schedule.Due()) + workerLateness();
}

Listener& Playback::Listen(std::int64_t firstPullUs) {
    listeners.emplace_back(listeners.size() + 1, firstPullUs);
    pullsUs.push_back(firstPullUs + pullLateness());
    return listeners.back();
}

void Playback::RunUntil(std::int64_t timeUs) {
    while (true) {
        const auto pull = std::min_element(pullsUs.begin(), pullsUs.end());
        const std::int64_t pullUs = pull == pullsUs.end() ? timeUs : *pull;
        const std::int64_t nowUs = std::min({link.NextArrivalUs(), workerWakesUs, pullUs});
        if (nowUs >= timeUs) return;
        if (nowUs == link.NextArrivalUs()) {
            playout.Write(link.Take());
        } else if (nowUs == workerWakesUs) {
            PlayBlock();
            schedule.Play(At(nowUs));
            // Blocks that are due by now are played at once.
            const std::int64_t dueUs = Us(schedule.Due());
            workerWakesUs = dueUs <= nowUs ? nowUs : dueUs + workerLateness();
        } else {
            Listener& listener = listeners[static_cast<std::size_t>(pull - pullsUs.begin())];
            listener.Pull(renderer, written, link);
            *pull = std::max(nowUs, listener.NextPullUs() + pullLateness());
        }
    }
}

void Playback::PlayBlock() {
    std::array<AudioPlayout::Frame, AudioPlayout::kBlockFrames> block;
    playout.Read(block);
    written.Add(block);
    renderer.OnAudioData({.samples = &block.front().left, .channels = 2, .frames = block.size()});
}

}  // namespace tests
