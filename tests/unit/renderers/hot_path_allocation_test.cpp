// A frame in, a picture out and sound in and out allocate nothing once they are warm. This program counts
// every allocation, so it is one of its own.
#include "tests/unit/host_runtime/CountedAllocations.h"
#include "tests/unit/renderers/AudioRendererTest.h"

namespace {

using tests::BufferPointer;
using tests::Picture;

class HotPath : public tests::AudioRendererTest {
protected:
    // Runs the step until it is warm, then counts over many more.
    template <class Step>
    static std::int64_t AllocationsOf(Step step) {
        for (int warmUp = 0; warmUp < 20; ++warmUp)
            step();
        const std::int64_t before = tests::Allocations();
        for (int repeat = 0; repeat < 1000; ++repeat)
            step();
        return tests::Allocations() - before;
    }
};

TEST_F(HotPath, CounterSeesAllocations) {
    EXPECT_EQ(AllocationsOf([] { std::vector<int>(10).front() = 1; }), 1000);
}

TEST_F(HotPath, FrameInAllocatesNothing) {
    const auto renderer = MakeVideoRenderer();
    const Picture picture(64, 36, 50);
    EXPECT_EQ(AllocationsOf([&] { renderer->OnVideoFrame(picture.frame); }), 0);
}

TEST_F(HotPath, FrameInWhileTheHostHoldsPicturesAllocatesNothing) {
    const auto renderer = MakeVideoRenderer();
    const Picture picture(64, 36, 50);
    BufferPointer held;
    EXPECT_EQ(AllocationsOf([&] {
                  renderer->OnVideoFrame(picture.frame);
                  held = Pull(*renderer, 0);
              }),
              0);
}

TEST_F(HotPath, PullOfAHeldPictureAllocatesNothing) {
    const auto renderer = MakeVideoRenderer();
    const Picture picture(64, 36, 50);
    renderer->OnVideoFrame(picture.frame);
    EXPECT_EQ(AllocationsOf([&] { Pull(*renderer, 0); }), 0);
}

TEST_F(HotPath, SoundInAndOutAllocatesNothing) {
    const auto renderer = MakeAudioRenderer();
    renderer->SetCbsValue(0, 1);
    renderer->SetCbsValue(1, 2);
    renderer->SetCbsValue(2, 3);
    renderer->SetCbsValue(3, 4);
    const std::vector<std::int16_t> samples(960, 5);
    std::int64_t timeUs = kStart;
    EXPECT_EQ(AllocationsOf([&] {
                  for (const std::uint64_t channels : {1U, 2U, 2U})
                      renderer->OnAudioData({samples.data(), 16, 48000, channels, 480});
                  for (std::uint64_t key = 1; key <= 3; ++key)
                      Pull(*renderer, timeUs, key);
                  timeUs += 30'000;
              }),
              0);
}

}  // namespace
