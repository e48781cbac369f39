// Sound that tells where it came from, and what the tests of the sound object ask of it.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>
#include <vector>

#include "tests/unit/renderers/RendererTest.h"

namespace tests {

// Blocks of stereo sound whose samples number the frames: the left one counts up to kPeriod, the right one
// counts the periods. No sample is zero.
class RampSound {
public:
    static constexpr std::int64_t kPeriod = 32000;

    static std::int16_t LeftAt(std::int64_t frame) { return static_cast<std::int16_t>(frame % kPeriod + 1); }
    static std::int16_t RightAt(std::int64_t frame) { return static_cast<std::int16_t>(frame / kPeriod + 1); }

    void Deliver(nxWebRtcAudioRenderer& renderer, int blocks, std::int64_t framesPerBlock = 480) {
        for (int index = 0; index < blocks; ++index) {
            std::vector<std::int16_t> samples;
            for (std::int64_t frame = nextFrame; frame < nextFrame + framesPerBlock; ++frame) {
                samples.push_back(LeftAt(frame));
                samples.push_back(RightAt(frame));
            }
            nextFrame += framesPerBlock;
            samples.resize(samples.size() * 2);  // room for claims of more channels
            vo_webrtc::voAudioData delivered = block;
            if (block.samples != nullptr) delivered.samples = samples.data();
            delivered.frames = static_cast<std::uint64_t>(framesPerBlock);
            renderer.OnAudioData(delivered);
        }
    }

    static constexpr std::int16_t kAny = 0;
    vo_webrtc::voAudioData block{&kAny, 16, 48000, 2, 0};  // its format; null samples are delivered as null
    std::int64_t nextFrame = 0;
};

class AudioRendererTest : public RendererTest {
protected:
    static constexpr std::int64_t kStart = 7'000'000'000;

    AudioRendererTest() { data->videoReceived = true; }

    // Pull number k of a consumer at 30 blocks a second.
    static std::int64_t GridTime(int k) {
        return static_cast<std::int64_t>(std::llround(static_cast<double>(k) * 100'000 / 3));
    }

    static std::vector<std::int16_t> Samples(const BufferPointer& buffer) {
        std::vector<std::int16_t> samples(buffer->DataSize() / sizeof(std::int16_t));
        std::memcpy(samples.data(), buffer->Data(), samples.size() * sizeof(std::int16_t));
        return samples;
    }
    static bool IsSilent(const BufferPointer& buffer) {
        const std::vector<std::int16_t> samples = Samples(buffer);
        return std::all_of(samples.begin(), samples.end(), [](std::int16_t sample) { return sample == 0; });
    }
    // The number of the first frame of a block of ramp sound, -1 for silence.
    static std::int64_t FirstFrame(const BufferPointer& buffer) {
        const std::vector<std::int16_t> samples = Samples(buffer);
        if (samples.at(0) == 0 || samples.at(1) == 0) return -1;
        return (samples[1] - 1) * RampSound::kPeriod + samples[0] - 1;
    }

    // A second of sound, a pull that synchronises a consumer with it, and what its pull at 300 ms reads: with
    // ramp sound from frame 59200 on.
    static void Synchronise(nxWebRtcAudioRenderer& renderer, RampSound& sound, std::uint64_t key = 1) {
        sound.Deliver(renderer, 100);
        Pull(renderer, kStart, key);
        sound.Deliver(renderer, 30);
    }

    // Whether sound of this kind reaches a pull. Uses a consumer of its own.
    bool IsHeard(nxWebRtcAudioRenderer& renderer, RampSound sound) {
        const std::uint64_t key = nextKey++;
        Synchronise(renderer, sound, key);
        return !IsSilent(Pull(renderer, kStart + 300'000, key));
    }

private:
    std::uint64_t nextKey = 1000;
};

}  // namespace tests
