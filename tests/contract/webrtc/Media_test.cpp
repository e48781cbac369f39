#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <set>
#include <vector>

#include "tests/contract/webrtc/Call.h"

namespace contract {
namespace {

class Media : public testing::TestWithParam<const char*> {};

TEST_P(Media, FirstPictureArrives) {
    Record pictures;
    Call call({.codec = GetParam(), .width = 320, .height = 240});
    call.Connect();
    const auto stream = call.WaitForStream();
    ASSERT_TRUE(stream);
    const voPointer<voVideoTrackInterface::Sink> sink(new VideoSink([&pictures](const voI420Frame& frame) {
        pictures.Add("picture", std::to_string(frame.width) + "x" + std::to_string(frame.height));
    }));
    ASSERT_TRUE(stream->VideoTrack(0));
    stream->VideoTrack(0)->AddOrUpdateSink(sink);
    const auto picture = pictures.WaitFor("picture");
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->text, "320x240");
    EXPECT_EQ(call.record.Count("failure"), 0U);
    stream->VideoTrack(0)->RemoveSink(sink);
}

INSTANTIATE_TEST_SUITE_P(Codecs, Media, testing::Values("H264", "VP8", "VP9"));

// A copy would lie without the rows that the decoder works on beyond the picture, 360 being no multiple
// of 16.
TEST_P(Media, PictureIsHandedOutWhereTheDecoderMadeIt) {
    Record pictures;
    Call call({.codec = GetParam(), .width = 640, .height = 360});
    call.Connect();
    const auto stream = call.WaitForStream();
    ASSERT_TRUE(stream);
    const voPointer<voVideoTrackInterface::Sink> sink(new VideoSink([&pictures](const voI420Frame& frame) {
        const std::ptrdiff_t copied = std::ptrdiff_t{frame.strideY} * frame.height;
        pictures.Add("picture", frame.u - frame.y > copied ? "as decoded" : "copied");
    }));
    stream->VideoTrack(0)->AddOrUpdateSink(sink);
    const auto picture = pictures.WaitFor("picture");
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->text, "as decoded");
    stream->VideoTrack(0)->RemoveSink(sink);
}

// Of two that come at once a host that pulls on a grid would see the second only.
TEST_P(Media, PicturesThatComeTwoAtATimeAreHandedOutApart) {
    using Clock = std::chrono::steady_clock;
    constexpr std::size_t kGaps = 40;
    Record pictures;
    std::vector<Clock::duration> gaps;
    std::optional<Clock::time_point> last;
    Call call({.codec = GetParam(), .sendsTwoAtATime = true});
    call.Connect();
    const auto stream = call.WaitForStream();
    ASSERT_TRUE(stream);
    const voPointer<voVideoTrackInterface::Sink> sink(new VideoSink([&](const voI420Frame&) {
        if (gaps.size() == kGaps) return;
        const auto now = Clock::now();
        if (last) gaps.push_back(now - *last);
        last = now;
        if (gaps.size() == kGaps) pictures.Add("enough");
    }));
    stream->VideoTrack(0)->AddOrUpdateSink(sink);
    ASSERT_TRUE(pictures.WaitFor("enough"));
    stream->VideoTrack(0)->RemoveSink(sink);
    // A busy machine may be late with one, which makes the next gap shorter.
    std::vector<Clock::duration> sorted = gaps;
    const auto quarter = sorted.begin() + kGaps / 4;
    std::nth_element(sorted.begin(), quarter, sorted.end());
    EXPECT_GE(*quarter, std::chrono::milliseconds(15));
}

TEST(Media, SoundComesInBlocksOfTenMilliseconds) {
    Record blocks;
    Call call;
    call.Connect();
    const auto stream = call.WaitForStream();
    ASSERT_TRUE(stream);
    const voPointer<voAudioTrackInterface::Sink> sink(new AudioSink([&blocks](const voAudioData& data) {
        const auto* end = data.samples + data.frames * 2;
        const bool loud = std::any_of(data.samples, end, [](std::int16_t sample) { return sample > 1000; });
        blocks.Add(loud ? "loud" : "quiet",
                   std::to_string(data.frames) + " " + std::to_string(data.sampleRate) + " " +
                       std::to_string(data.bitsPerSample) + " " + std::to_string(data.channels));
    }));
    stream->AudioTrack(0)->AddSink(sink);
    const auto block = blocks.WaitFor("loud");
    ASSERT_TRUE(block);
    EXPECT_EQ(block->text, "480 48000 16 2");
    stream->AudioTrack(0)->RemoveSink(sink);
}

}  // namespace
}  // namespace contract
