#include <gtest/gtest.h>

#include <algorithm>
#include <set>

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
