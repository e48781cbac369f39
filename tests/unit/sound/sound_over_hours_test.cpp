// Sound that runs for hours: the phone's clock differs from ours, the link delivers in lumps, threads wake
// late. Hours pass in seconds.
#include <cmath>
#include <numbers>
#include <string>

#include "tests/unit/sound/PlaybackTest.h"

namespace {

using tests::Listener;
using tests::Playback;
using tests::SimulatedLink;
using webrtc_gstreamer::AudioPlayout;
using webrtc_gstreamer::StoreControl;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif
#else
constexpr bool kSanitized = false;
#endif

constexpr std::int64_t kSecondUs = 1'000'000;
constexpr std::int64_t kMinuteUs = 60 * kSecondUs;
constexpr std::int64_t kHourUs = 60 * kMinuteUs;
constexpr std::int64_t kRunUs = kSanitized ? 20 * kMinuteUs : 8 * kHourUs;
constexpr const char* kRunName = kSanitized ? "TwentyMinutes" : "EightHours";
// Until the playout has met what the link does; it remembers ten minutes.
constexpr std::int64_t kWarmUpUs = 12 * kMinuteUs;
constexpr double kLargestShiftMs = 25;  // of the sound from its mean place

// How sharply the tone bends from one sample to the next, played as fast as it ever is, and what rounding
// adds: half a unit in the phone's samples, spread by the resampler, and half in ours; an error counts once,
// twice and once.
double SharpestBendOfTheTone() {
    const double step = 2 * std::numbers::pi * SimulatedLink::kToneHertz / 48'000;
    const double fastest = 1 + StoreControl::kHighestSpeedChange;
    return SimulatedLink::kToneHeight * std::pow(step * fastest, 2) + 4 * 1.25;
}

// Parts per million by which the phone's clock is fast.
class SoundOverHours : public tests::PlaybackTest, public testing::WithParamInterface<int> {};

TEST_P(SoundOverHours, NothingIsHeardOfClockDifferenceAndJitter) {
    SimulatedLink::Behaviour behaviour;
    behaviour.partsPerMillion = GetParam();
    behaviour.seed = static_cast<std::uint64_t>(1000 + GetParam());
    Playback playback = Play(behaviour, CalmWorker());
    for (const std::int64_t firstPullUs : {400'000, 411'111, 427'500})
        playback.Listen(firstPullUs);

    playback.RunUntil(kWarmUpUs);
    const std::int64_t underrunsAtFirst = playback.Playout().Underruns();
    const std::int64_t cutsAtFirst = playback.Playout().Cuts();
    playback.Written().TakeSharpestBend();
    for (Listener& listener : playback.Listeners())
        listener.ForgetOffsets();
    playback.RunUntil(kRunUs);

    EXPECT_EQ(playback.Written().Frames(), (kRunUs / 10'000 - 1) * AudioPlayout::kBlockFrames);
    EXPECT_EQ(playback.Playout().Underruns(), underrunsAtFirst) << "the store ran empty";
    EXPECT_EQ(playback.Playout().Cuts(), cutsAtFirst);
    EXPECT_LE(playback.Written().TakeSharpestBend(), SharpestBendOfTheTone());
    for (const Listener& listener : playback.Listeners()) {
        EXPECT_EQ(listener.SilentPulls(), 0) << "resynchronised";
        EXPECT_EQ(listener.Jumps(), 0) << "resynchronised";
        const Listener::Offsets& offsets = listener.HeardOffsets();
        const double heard = static_cast<double>((kRunUs - kWarmUpUs) / kSecondUs);
        EXPECT_GE(static_cast<double>(offsets.count), heard * 0.99) << "all but those that were lost";
        EXPECT_LE(static_cast<double>(offsets.count), heard * 1.001);
        EXPECT_LE(offsets.MeanMs(), 200) << "after the phone's microphone";
        EXPECT_LE(offsets.largestMs - offsets.MeanMs(), kLargestShiftMs);
        EXPECT_LE(offsets.MeanMs() - offsets.smallestMs, kLargestShiftMs);
    }
    const Listener::Offsets& offsets = playback.Listeners().front().HeardOffsets();
    RecordProperty("offsetMeanMs", std::to_string(offsets.MeanMs()));
    RecordProperty("offsetSmallestMs", std::to_string(offsets.smallestMs));
    RecordProperty("offsetLargestMs", std::to_string(offsets.largestMs));
    std::printf("  sound after %.1f ms (%.1f to %.1f), %lld packets lost, air taken %lld times\n",
                offsets.MeanMs(), offsets.smallestMs, offsets.largestMs,
                static_cast<long long>(playback.Link().LostPackets()),
                static_cast<long long>(playback.Link().Holds()));
}

INSTANTIATE_TEST_SUITE_P(AnyClock, SoundOverHours, testing::Values(-100, 0, 100), [](const auto& testInfo) {
    const int difference = testInfo.param;
    const std::string sign = difference < 0 ? "Slow" : difference > 0 ? "Fast" : "";
    return std::string(kRunName) + sign + std::to_string(std::abs(difference)) + "Ppm";
});

}  // namespace
