#include "webrtc_gstreamer/AudioPlayout.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <vector>

namespace webrtc_gstreamer {
namespace {

using Frame = AudioPlayout::Frame;
using Block = std::array<Frame, AudioPlayout::kBlockFrames>;

// A sender of 20 ms packets whose clock runs `partsPerMillion` faster than ours, and a reader of 10 ms
// blocks.
class Line {
public:
    explicit Line(double partsPerMillion, double hertz = 1000)
        : rate(1 + partsPerMillion * 1e-6), tone(hertz) {}

    Block Next() {
        sent += 480 * rate;
        while (sent - static_cast<double>(written) >= 960) {
            if (sending) playout.Write(Packet());
            written += 960;
        }
        Block block;
        playout.Read(block);
        return block;
    }

    AudioPlayout playout;
    bool sending = true;

private:
    std::vector<Frame> Packet() {
        std::vector<Frame> packet(960);
        for (Frame& frame : packet) {
            const double angle = 2 * std::numbers::pi * tone * static_cast<double>(position++) / 48000;
            frame.left = static_cast<std::int16_t>(std::lround(16000 * std::sin(angle)));
            frame.right = static_cast<std::int16_t>(-frame.left);
        }
        return packet;
    }

    const double rate;
    const double tone;
    double sent = 0;
    std::int64_t written = 0;
    std::int64_t position = 0;
};

TEST(AudioPlayout, IsSilentUntilTheStoreIsFilled) {
    AudioPlayout playout;
    Block block;
    playout.Read(block);
    EXPECT_EQ(block[0], Frame{});
    playout.Write(std::vector<Frame>(960, Frame{1000, 1000}));
    playout.Read(block);
    EXPECT_EQ(block[479], Frame{});
    playout.Write(std::vector<Frame>(2000, Frame{1000, 1000}));
    playout.Read(block);
    EXPECT_EQ(block[479].left, 1000);
}

// Millionths by which the sender's clock is fast.
class AudioPlayoutDrift : public testing::TestWithParam<double> {};

TEST_P(AudioPlayoutDrift, NeitherStarvesNorOverruns) {
    const double difference = GetParam();
    Line line(difference, 0);
    int smallest = AudioPlayout::kCapacityFrames;
    int largest = 0;
    double speeds = 0;
    for (int block = 0; block < 40'000; ++block) {
        line.Next();
        if (block >= 20'000) speeds += line.playout.Speed();
        if (block < 1000) continue;
        smallest = std::min(smallest, line.playout.StoredFrames());
        largest = std::max(largest, line.playout.StoredFrames());
    }
    EXPECT_EQ(line.playout.Underruns(), 0);
    EXPECT_EQ(line.playout.Cuts(), 0);
    EXPECT_GT(smallest, 120);
    EXPECT_LT(largest, 4800);
    EXPECT_NEAR(speeds / 20'000, 1 + difference * 1e-6, 5e-6);
}

INSTANTIATE_TEST_SUITE_P(AnyClock, AudioPlayoutDrift, testing::Values(-200.0, 0.0, 200.0));

TEST(AudioPlayout, ClockDifferenceMakesNoClicks) {
    Line line(200);
    Frame before;
    Frame beforeThat;
    int sharpest = 0;
    for (int block = 0; block < 6000; ++block) {
        const Block frames = line.Next();
        for (const Frame& frame : frames) {
            if (block >= 100)
                sharpest = std::max(sharpest, std::abs(frame.left - 2 * before.left + beforeThat.left));
            EXPECT_NEAR(frame.right, -frame.left, 1);
            beforeThat = before;
            before = frame;
        }
    }
    // A sine of 1000 Hz and height 16000 bends by 274 per sample at most.
    EXPECT_LT(sharpest, 290);
}

TEST(AudioPlayout, AStopFadesOutAndSoundComesBack) {
    Line line(0);
    for (int block = 0; block < 100; ++block)
        line.Next();
    line.sending = false;
    int largestStep = 0;
    Frame before;
    bool first = true;
    const auto follow = [&](const Block& frames) {
        for (const Frame& frame : frames) {
            if (!first) largestStep = std::max(largestStep, std::abs(frame.left - before.left));
            first = false;
            before = frame;
        }
    };
    for (int block = 0; block < 50; ++block)
        follow(line.Next());
    EXPECT_EQ(before, Frame{});
    EXPECT_EQ(line.playout.Underruns(), 1);
    line.sending = true;
    for (int block = 0; block < 50; ++block)
        follow(line.Next());
    EXPECT_NE(before, Frame{});
    // The sine itself steps by 2092 at most.
    EXPECT_LT(largestStep, 2300);
}

TEST(AudioPlayout, ABurstIsCutDownToTheTarget) {
    Line line(0);
    for (int block = 0; block < 100; ++block)
        line.Next();
    line.playout.Write(std::vector<Frame>(30000, Frame{}));
    line.Next();
    EXPECT_GE(line.playout.Cuts(), 1);
    EXPECT_LT(line.playout.StoredFrames(), 6000);
}

TEST(AudioPlayout, WhatCameBeforeItBeginsIsLeftOut) {
    AudioPlayout playout;
    playout.Write(std::vector<Frame>(9600, Frame{1000, 1000}));
    Block block;
    playout.Read(block);
    EXPECT_LT(playout.StoredFrames(), StoreControl::kFirstTarget);
    EXPECT_EQ(playout.Cuts(), 0);
}

TEST(AudioPlayout, MoreThanItHoldsKeepsTheNewest) {
    AudioPlayout playout;
    std::vector<Frame> frames(100'000, Frame{5, 5});
    std::fill(frames.end() - AudioPlayout::kCapacityFrames, frames.end(), Frame{1000, 1000});
    playout.Write(frames);
    EXPECT_EQ(playout.StoredFrames(), AudioPlayout::kCapacityFrames);
    Block block;
    playout.Read(block);
    EXPECT_EQ(block[479].left, 1000);
    playout.Write(frames);
    EXPECT_EQ(playout.StoredFrames(), AudioPlayout::kCapacityFrames);
    playout.Write(std::vector<Frame>(100, Frame{6, 6}));
    EXPECT_EQ(playout.StoredFrames(), AudioPlayout::kCapacityFrames);
    playout.Write({});
    EXPECT_EQ(playout.StoredFrames(), AudioPlayout::kCapacityFrames);
}

using Channel = std::array<float, Resampler::kTaps>;

TEST(Resampler, BetweenSamplesFollowsTheSine) {
    double worst = 0;
    const Channel silence{};
    for (int start = 0; start < 48; ++start) {
        Channel window;
        for (int tap = 0; tap < Resampler::kTaps; ++tap) {
            const double angle = 2 * std::numbers::pi * 4000 * (start + tap) / 48000;
            window[static_cast<std::size_t>(tap)] = static_cast<float>(std::lround(16000 * std::sin(angle)));
        }
        for (double fraction = 0; fraction <= 1; fraction += 0.05) {
            const double angle =
                2 * std::numbers::pi * 4000 * (start + Resampler::kBefore + fraction) / 48000;
            const Frame frame = Resampler::Interpolate(window, silence, fraction);
            worst = std::max(worst, std::abs(frame.left - 16000 * std::sin(angle)));
            EXPECT_EQ(frame.right, 0);
        }
    }
    EXPECT_LT(worst, 16);  // 60 dB below the tone
}

// Threads of the library play on while a process ends.
TEST(ResamplerDeathTest, WorksToTheVeryEndOfTheProcess) {
    const auto interpolate = [] {
        Channel ones;
        ones.fill(1000);
        if (Resampler::Interpolate(ones, ones, 0.5).left != 1000) std::_Exit(1);
    };
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_EXIT(
        {
            // Runs after the destructors of what is made by the first call.
            std::atexit(interpolate);
            interpolate();
            std::exit(0);
        },
        testing::ExitedWithCode(0), "");
}

TEST(Resampler, FullScaleDoesNotWrapAround) {
    Channel high;
    high.fill(32767);
    Channel low;
    low.fill(-32768);
    EXPECT_EQ(Resampler::Interpolate(high, low, 0.5), (Frame{32767, -32768}));
    // Between the samples a full-scale wave swings further than a sample can say.
    Channel swing;
    for (std::size_t tap = 0; tap < swing.size(); ++tap)
        swing[tap] = (tap % 2 == 1) == (tap <= Resampler::kBefore) ? 32767.0F : -32768.0F;
    EXPECT_EQ(Resampler::Interpolate(swing, low, 0.5).left, 32767);
}

TEST(Resampler, RoundsHalvesAwayFromZeroAndLimits) {
    EXPECT_EQ(Resampler::ToSample(2.5F), 3);
    EXPECT_EQ(Resampler::ToSample(-2.5F), -3);
    EXPECT_EQ(Resampler::ToSample(2.4F), 2);
    EXPECT_EQ(Resampler::ToSample(40'000.0F), 32767);
    EXPECT_EQ(Resampler::ToSample(-40'000.0F), -32768);
}

}  // namespace
}  // namespace webrtc_gstreamer
