// The smallest pictures, buffers with a past, and what a mute leaves in the ring.
#include "tests/unit/renderers/AudioRendererTest.h"

namespace {

using tests::BufferPointer;
using tests::Picture;
using tests::RampSound;
using Coloured = tests::ScriptedBufferGroup::Coloured;
using testing::ElementsAre;

class SmallPicture : public tests::RendererTest {};

TEST_F(SmallPicture, OfOnePixelIsASize) {
    const auto renderer = MakeVideoRenderer();
    const Picture picture(1, 1, 50);
    renderer->OnVideoFrame(picture.frame);
    const BufferPointer buffer = Pull(*renderer, 0);
    mdMediaRecord format(kMediaTypeVideo);
    renderer->OutputFormat(kMediaTypeVideo, format, 0);
    EXPECT_EQ(format.AsInt32("mwid", 0), 1);
    EXPECT_TRUE(format.AsBool("vidI", false));
}

TEST_F(SmallPicture, OfOnePixelIsNoSizeForAPlainOne) {
    const auto renderer = MakeVideoRenderer();
    const Picture picture(1, 1, 50);
    renderer->OnVideoFrame(picture.frame);
    const BufferPointer buffer = Pull(*renderer, 0);
    renderer->SetVideoMuted(true);
    const BufferPointer plain = Pull(*renderer, 1);
    EXPECT_THAT(group.coloured, ElementsAre(Coloured{720, 480, 0}));
}

TEST_F(SmallPicture, OfTwoPixelsKeepsItsSizeWhenMuted) {
    const auto renderer = MakeVideoRenderer();
    const Picture picture(2, 2, 50);
    renderer->OnVideoFrame(picture.frame);
    const BufferPointer buffer = Pull(*renderer, 0);
    renderer->SetVideoMuted(true);
    const BufferPointer plain = Pull(*renderer, 1);
    EXPECT_THAT(group.coloured, ElementsAre(Coloured{2, 2, 0}));
}

// Each side falls back by itself.
TEST_F(SmallPicture, OfOneColumnKeepsItsHeightAndOfOneRowItsWidth) {
    for (const Coloured shape : {Coloured{1, 100, 0}, Coloured{100, 1, 0}}) {
        group.coloured.clear();
        const auto renderer = MakeVideoRenderer();
        const Picture picture(shape.width, shape.height, 50);
        renderer->OnVideoFrame(picture.frame);
        const BufferPointer buffer = Pull(*renderer, 0);
        renderer->SetVideoMuted(true);
        const BufferPointer plain = Pull(*renderer, 1);
        renderer->SetVideoMuted(false);
        EXPECT_THAT(group.coloured, ElementsAre(Coloured{shape.width == 1 ? 720 : shape.width,
                                                         shape.height == 1 ? 480 : shape.height, 0}));
    }
}

class UsedBuffer : public tests::RendererTest {};

TEST_F(UsedBuffer, LosesItsTimestampWithANewFrame) {
    const auto renderer = MakeVideoRenderer();
    group.pictureTimestamp = 99;
    const Picture picture(64, 36, 50);
    renderer->OnVideoFrame(picture.frame);
    EXPECT_EQ(Pull(*renderer, 7000)->Timestamp(), 7000);
}

class UsedSoundBuffer : public tests::AudioRendererTest {};

TEST_F(UsedSoundBuffer, IsSilencedWithoutSound) {
    const auto renderer = MakeAudioRenderer();
    group.soundBytes = 0x55;
    EXPECT_TRUE(IsSilent(Pull(*renderer, kStart)));
    EXPECT_TRUE(IsSilent(Pull(*renderer, kStart + 300'000)));
}

TEST_F(UsedSoundBuffer, IsSilencedWhileMuted) {
    const auto renderer = MakeAudioRenderer();
    group.soundBytes = 0x55;
    renderer->SetAudioMuted(true);
    EXPECT_TRUE(IsSilent(Pull(*renderer, kStart)));
}

class MutedRing : public tests::AudioRendererTest {};

TEST_F(MutedRing, HoldsNoSoundFromBeforeTheMute) {
    const auto renderer = MakeAudioRenderer();
    RampSound sound;
    sound.Deliver(*renderer, 100);
    renderer->SetAudioMuted(true);
    Pull(*renderer, kStart);
    renderer->SetAudioMuted(false);
    // Blocks larger than the ring count without being written: the ring shows what the mute left.
    sound.Deliver(*renderer, 1, 60'000);
    Pull(*renderer, kStart + 100'000);
    sound.Deliver(*renderer, 1, 60'000);
    EXPECT_TRUE(IsSilent(Pull(*renderer, kStart + 400'000)));
}

}  // namespace
