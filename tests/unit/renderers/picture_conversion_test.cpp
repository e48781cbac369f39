// How a frame gets into its buffer, and that nobody waits for it.
#include <chrono>
#include <future>

#include "tests/unit/renderers/RendererTest.h"

namespace {

using fakes::FakeWebRtc;
using testing::ElementsAre;
using tests::BufferPointer;
using tests::Picture;
using tests::WatchedPicture;
using namespace std::chrono_literals;

class Conversion : public tests::RendererTest {
protected:
    Conversion() { group.watched = &pixels; }

    tests::WatchedPixels pixels;
};

TEST_F(Conversion, HappensWhileThePixelsAreLockedAndOnce) {
    const auto renderer = MakeVideoRenderer();
    FakeWebRtc::BeforeConversion([this] { pixels.events.emplace_back("convert"); });
    const Picture picture(64, 36, 50);
    renderer->OnVideoFrame(picture.frame);
    EXPECT_THAT(pixels.events, ElementsAre("lock", "convert", "unlock"));
    Pull(*renderer, 0);
    Pull(*renderer, 1);
    EXPECT_EQ(pixels.events.size(), 3U);
}

TEST_F(Conversion, ThatFailsUnlocksThePixelsToo) {
    const auto renderer = MakeVideoRenderer();
    Picture picture(64, 36, 50);
    picture.frame.v = nullptr;
    renderer->OnVideoFrame(picture.frame);
    EXPECT_THAT(pixels.events, ElementsAre("lock", "unlock"));
}

TEST_F(Conversion, GoesIntoABufferOfWhoseRowsTheHostIsTold) {
    const auto renderer = MakeVideoRenderer();
    const Picture picture(5, 3, 50);
    renderer->OnVideoFrame(picture.frame);
    EXPECT_EQ(pixels.askedBytesPerRow, 12);
}

TEST_F(Conversion, FollowsTheRowsOfTheBuffer) {
    pixels.padding = 20;
    const auto renderer = MakeVideoRenderer();
    Picture picture(4, 2, 50);
    picture.SetLuma(0, 1, 77);
    renderer->OnVideoFrame(picture.frame);
    const BufferPointer buffer = Pull(*renderer, 0);
    const std::uint8_t* const bytes = buffer->Data();
    EXPECT_EQ(bytes[8], WatchedPicture::kUntouched) << "behind the first row";
    EXPECT_EQ(bytes[28 + 1], 77) << "the second row";
}

TEST_F(Conversion, IsOfTheSizeThatTheBufferTells) {
    pixels.width = 32;
    const auto renderer = MakeVideoRenderer();
    const Picture picture(64, 36, 50);
    renderer->OnVideoFrame(picture.frame);
    EXPECT_EQ(FakeWebRtc::FramesConverted(), 0) << "the converter refuses another size than the frame's";
}

TEST_F(Conversion, HoldsUpNoPull) {
    const auto renderer = MakeVideoRenderer();
    const Picture first(64, 36, 50);
    renderer->OnVideoFrame(first.frame);
    BufferPointer during;
    std::int32_t format = 0;
    std::future<void> pulling;
    FakeWebRtc::BeforeConversion([&] {
        pulling = std::async(std::launch::async, [&] {
            during = Pull(*renderer, 7);
            mdMediaRecord record(kMediaTypeVideo);
            renderer->OutputFormat(kMediaTypeVideo, record, 0);
            format = record.AsInt32("mwid", 0);
        });
        EXPECT_EQ(pulling.wait_for(5s), std::future_status::ready) << "waits for the conversion";
    });
    const Picture second(32, 18, 50);
    renderer->OnVideoFrame(second.frame);
    pulling.get();
    ASSERT_TRUE(during);
    EXPECT_EQ(during->GetDisplayWidth(), 64) << "the picture before";
    EXPECT_EQ(format, 64);
    EXPECT_EQ(Pull(*renderer, 8)->GetDisplayWidth(), 32);
}

}  // namespace
