// Blocks of sound, also unusable ones, and pulls of several consumers at any times.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "fuzzers/Buffers.h"
#include "fuzzers/Harness.h"
#include "host/media/nxBuffer2.h"
#include "host_runtime/media/BufferGroup.h"
#include "renderers/nxWebRtcAudioRenderer.h"
#include "renderers/nxWebRtcRendererData.h"
#include "renderers/nxWebRtcVideoRenderer.h"
#include "tests/fakes/FakeWebSocket.h"
#include "tests/fakes/webrtc/FakeWebRtc.h"

namespace {

using fuzzing::Require;

constexpr int kMostSteps = 64;
constexpr std::size_t kRingFrames = 48000;
constexpr std::size_t kBlockFrames = 1600;
constexpr std::size_t kGridPositions = kRingFrames / kBlockFrames;
constexpr std::size_t kMostFrames = 50000;  // more than the ring holds
constexpr std::int64_t kLongestPauseUs = 100'000'000'000;

using StereoFrame = std::uint32_t;  // left in the low half

// Sound whose frames are numbers, none of them silent, so that a block tells where it came from. A number
// comes back only when the ring has long forgotten it; mono blocks of more than kMostMono frames are for
// being refused.
class NumberedSound {
public:
    static constexpr std::size_t kMostMono = 2000;

    NumberedSound() {
        for (std::size_t number = 0; number < stereo.size(); ++number)
            stereo[number] = static_cast<StereoFrame>(number * 0x9E3779B1U | 1U);
        for (std::size_t number = 0; number < mono.size(); ++number)
            mono[number] = static_cast<std::int16_t>(number + 1);
    }
    void Restart() { nextStereo = nextMono = 0; }
    const StereoFrame* Stereo(std::size_t count) { return Take(stereo, nextStereo, count); }
    const std::int16_t* Mono(std::size_t count) { return Take(mono, nextMono, count); }

private:
    template <class Frames>
    static const typename Frames::value_type* Take(const Frames& frames, std::size_t& next,
                                                   std::size_t count) {
        if (next + count > frames.size()) next = 0;
        return frames.data() + std::exchange(next, next + count);
    }

    std::array<StereoFrame, 131072> stereo{};
    std::array<std::int16_t, 65535> mono{};
    std::size_t nextStereo = 0;
    std::size_t nextMono = 0;
};

NumberedSound& Sound() {
    static NumberedSound sound;
    return sound;
}

// What the last second of accepted sound was, found without the renderer's own arithmetic.
class HeardSound {
public:
    void Write(const std::vector<StereoFrame>& frames) {
        if (!frames.empty() && frames.size() <= kRingFrames) {
            const std::size_t start = total % kRingFrames;
            const std::size_t untilEnd = std::min(frames.size(), kRingFrames - start);
            std::memcpy(&ring[start], frames.data(), untilEnd * sizeof(StereoFrame));
            std::memcpy(ring.data(), frames.data() + untilEnd,
                        (frames.size() - untilEnd) * sizeof(StereoFrame));
        }
        gaps = gaps || frames.size() > kRingFrames;
        total += frames.size();
        dirty = dirty || !frames.empty();
    }
    void Forget() {
        if (dirty) ring.fill(0);
        total = 0;
        dirty = gaps = false;
    }
    // The position on the grid at which the ring holds this block, or -1.
    std::int64_t PositionOf(const StereoFrame* block) const {
        for (std::size_t position = 0; position < kGridPositions; ++position) {
            if (std::memcmp(&ring[position * kBlockFrames], block, kBlockFrames * sizeof(StereoFrame)) == 0)
                return static_cast<std::int64_t>(position);
        }
        return -1;
    }

    std::uint64_t total = 0;
    bool gaps = false;  // counted, but not kept

private:
    std::array<StereoFrame, kRingFrames> ring{};
    bool dirty = false;
};

HeardSound& Heard() {
    static HeardSound heard;
    return heard;
}

class Bench {
public:
    explicit Bench(FuzzedDataProvider& data)
        : bytes(data),
          renderer(new nxWebRtcAudioRenderer("phone", fuzzing::Buffers(), shared),
                   [](nxWebRtcAudioRenderer* counted) { counted->Release(); }),
          nowUs(bytes.ConsumeBool() ? 7'000'000'000 : bytes.ConsumeIntegral<std::int64_t>()) {
        Heard().Forget();
        Sound().Restart();
        shared->videoReceived = bytes.ConsumeIntegralInRange(0, 7) != 0;
    }

    void Step() {
        switch (bytes.ConsumeIntegralInRange(0, 15)) {
            case 0:
                renderer->SetAudioMuted(bytes.ConsumeBool());
                break;
            case 1: {
                zRecord settings;
                audioActive = bytes.ConsumeBool();
                settings.SetBool("audioActive", audioActive);
                renderer->ApplySettings(settings);
                break;
            }
            case 2:
                if (shared) shared->videoReceived = true;
                if (bytes.ConsumeIntegralInRange(0, 7) == 0) shared.reset();
                break;
            case 3:
                renderer->SetCbsValue(bytes.ConsumeIntegralInRange(-2, 6),
                                      bytes.ConsumeIntegral<std::uint64_t>());
                renderer->SetRamsValue(bytes.ConsumeIntegral<std::uint32_t>());
                break;
            case 4:
                DeliverUnusable();
                break;
            case 5:
                nowUs = bytes.ConsumeIntegral<std::int64_t>();
                Pull(1);
                break;
            case 6:
                nowUs = Later(bytes.ConsumeIntegralInRange<std::int64_t>(-1'000'000, kLongestPauseUs));
                Pull(bytes.ConsumeIntegralInRange<std::uint64_t>(1, 4));
                break;
            case 7:
                Deliver(bytes.ConsumeIntegralInRange<std::size_t>(0, kMostFrames));
                break;
            case 8:
            case 9:
            case 10:
                // As it should run: the sound of a thirtieth of a second, then a pull.
                for (int count = bytes.ConsumeIntegralInRange(1, 12); count > 0; --count) {
                    Deliver(kBlockFrames);
                    nowUs = Later(33'333);
                    Pull(1);
                }
                break;
            case 11:
                nowUs = Later(bytes.ConsumeIntegralInRange<std::int64_t>(0, 300'000));
                Pull(bytes.ConsumeIntegralInRange<std::uint64_t>(1, 4));
                break;
            case 12:
                DeliverMono(bytes.ConsumeIntegralInRange<std::size_t>(1, NumberedSound::kMostMono));
                if (bytes.ConsumeIntegralInRange(0, 15) == 0) DeliverMono(kRingFrames + 1);
                break;
            default:
                Deliver(bytes.ConsumeIntegralInRange<std::size_t>(1, 2000));
        }
    }

private:
    // The last block that a consumer heard.
    struct Listening {
        std::int64_t position = -1;
        std::int64_t timeUs = 0;
    };

    std::int64_t Later(std::int64_t deltaUs) const {
        return static_cast<std::int64_t>(static_cast<std::uint64_t>(nowUs) +
                                         static_cast<std::uint64_t>(deltaUs));
    }

    // The memory is exactly as long as the block says, so that reading on is noticed.
    void Deliver(std::size_t count) {
        const StereoFrame* const numbered = Sound().Stereo(count);
        const std::vector<StereoFrame> frames(numbered, numbered + count);
        vo_webrtc::voAudioData data;
        data.samples = reinterpret_cast<const std::int16_t*>(frames.data());
        data.channels = 2;
        data.frames = count;
        renderer->OnAudioData(data);
        Expect(frames);
    }

    void DeliverMono(std::size_t count) {
        const std::int16_t* const numbered = Sound().Mono(count);
        const std::vector<std::int16_t> samples(numbered, numbered + count);
        vo_webrtc::voAudioData data;
        data.samples = samples.data();
        data.channels = 1;
        data.frames = count;
        renderer->OnAudioData(data);
        std::vector<StereoFrame> frames(count);
        for (std::size_t index = 0; index < count; ++index)
            frames[index] = static_cast<std::uint16_t>(samples[index]) * 0x10001U;
        Expect(frames);
    }

    void Expect(const std::vector<StereoFrame>& frames) {
        if (shared && !shared->videoReceived) return;
        Heard().Write(frames);
        // A block beyond the ring is counted, not kept: what was heard before lies elsewhere now.
        if (frames.size() > kRingFrames) listening.clear();
    }

    void DeliverUnusable() {
        const std::array<std::int16_t, 8> few{1, 2, 3, 4, 5, 6, 7, 8};
        vo_webrtc::voAudioData data;
        data.samples = few.data();
        data.channels = 2;
        data.frames = 4;
        switch (bytes.ConsumeIntegralInRange(0, 4)) {
            case 0:
                data.samples = nullptr;
                break;
            case 1:
                data.bitsPerSample = bytes.ConsumeIntegralInRange(-1, 15);
                break;
            case 2:
                data.sampleRate = bytes.ConsumeIntegralInRange(-1, 47999);
                break;
            case 3:
                data.channels =
                    bytes.ConsumeBool() ? 0 : bytes.ConsumeIntegralInRange<std::uint64_t>(3, UINT64_MAX);
                break;
            default:
                data.frames = 0;
        }
        renderer->OnAudioData(data);
    }

    void Pull(std::uint64_t consumer) {
        nxBuffer2* buffer = nullptr;
        Require(renderer->BufferForParameters(&buffer, {nowUs, consumer}) == kStatusOk,
                "a pull always succeeds");
        Require(buffer != nullptr && buffer->DataSize() == kBlockFrames * sizeof(StereoFrame),
                "a block has 1600 frames of stereo");
        Require(buffer->Timestamp() == nowUs, "a block carries the time of its pull");
        std::array<StereoFrame, kBlockFrames> block;
        std::memcpy(block.data(), buffer->Data(), sizeof block);
        buffer->Release();

        if (renderer->IsAudioMuted()) {
            Heard().Forget();
            listening.clear();
        }
        Check(block, consumer);
    }

    void Check(const std::array<StereoFrame, kBlockFrames>& block, std::uint64_t consumer) {
        static constexpr std::array<StereoFrame, kBlockFrames> kSilence{};
        if (std::memcmp(block.data(), kSilence.data(), sizeof block) == 0) {
            listening.erase(consumer);
            return;
        }
        Require(!renderer->IsAudioMuted() && audioActive, "what is muted or inactive is silent");
        const bool complete = std::find(block.begin(), block.end(), 0U) == block.end();
        Require(Heard().total > kBlockFrames && (complete || Heard().gaps),
                "what was not received is not heard");
        const std::int64_t position = Heard().PositionOf(block.data());
        Require(position >= 0, "a block is received sound, on the grid");

        const auto last = listening.find(consumer);
        // Where a block was counted but not kept, old sound stays, and its numbers may stand in two places.
        if (last != listening.end() && !Heard().gaps) CheckProgress(last->second, position);
        listening[consumer] = {position, nowUs};
    }

    // While a consumer hears sound its clock stands, so time and position go together.
    void CheckProgress(const Listening& last, std::int64_t position) const {
        const auto elapsedUs = static_cast<std::int64_t>(static_cast<std::uint64_t>(nowUs) -
                                                         static_cast<std::uint64_t>(last.timeUs));
        if (elapsedUs < 0 || elapsedUs > 800'000) return;
        const auto moved = static_cast<std::int64_t>(
            static_cast<std::uint64_t>(position - last.position + static_cast<std::int64_t>(kGridPositions)) %
            kGridPositions);
        const std::int64_t expectedUs = moved * 100'000 / 3;
        Require(std::abs(expectedUs - elapsedUs) <= 33'335, "sound goes on as time does");
    }

    FuzzedDataProvider& bytes;
    std::shared_ptr<nxWebRtcRendererData> shared = std::make_shared<nxWebRtcRendererData>(nullptr, "phone");
    const std::shared_ptr<nxWebRtcAudioRenderer> renderer;
    std::int64_t nowUs;
    bool audioActive = true;
    std::map<std::uint64_t, Listening> listening;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider bytes(data, size);
    {
        Bench bench(bytes);
        for (int step = 0; step < kMostSteps && bytes.remaining_bytes() > 0; ++step)
            bench.Step();
    }
    fuzzing::RequireNoneAlive({{"renderer data", &nxWebRtcRendererData::Alive},
                               {"audio renderers", &nxWebRtcAudioRenderer::Alive},
                               {"buffers", &host_runtime::BufferGroup::BuffersAlive},
                               {"wrapper objects", &fakes::FakeWebRtc::LivingObjects}});
    return 0;
}
