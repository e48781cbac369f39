// What the tests of sound on a virtual clock share.
#pragma once

#include <algorithm>
#include <memory>
#include <utility>

#include "tests/unit/renderers/RendererTest.h"
#include "tests/unit/sound/Playback.h"
#include "tests/unit/sound/Random.h"

namespace tests {

class PlaybackTest : public RendererTest {
protected:
    PlaybackTest() { data->videoReceived = true; }

    Playback Play(const SimulatedLink::Behaviour& behaviour, Playback::Lateness ofWorker) {
        return Playback(*renderer, behaviour, std::move(ofWorker), [this] { return AFewTenths(); });
    }
    // Hardly ever late, and never by more than a consumer in any phase forgives.
    Playback::Lateness CalmWorker() {
        return [this] {
            return dice.Happens(0.0005) ? static_cast<std::int64_t>(dice.Uniform() * 5'000) : AFewTenths();
        };
    }
    // Of a millisecond.
    std::int64_t AFewTenths() { return static_cast<std::int64_t>(std::min(dice.Exponential(100), 1'000.0)); }

    static SimulatedLink::Behaviour CalmLink() {
        SimulatedLink::Behaviour behaviour;
        behaviour.secondsBetweenHolds = 1e9;
        behaviour.lossShare = 0;
        return behaviour;
    }

    Random dice{7};
    std::shared_ptr<nxWebRtcAudioRenderer> renderer = MakeAudioRenderer();
};

}  // namespace tests
