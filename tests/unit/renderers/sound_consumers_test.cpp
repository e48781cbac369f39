// Many consumers, what a mute does to all of them, and blocks of changing size.
#include "tests/unit/renderers/AudioRendererTest.h"

namespace {

using tests::BufferPointer;
using tests::RampSound;

class SoundConsumers : public tests::AudioRendererTest {};

TEST_F(SoundConsumers, KeepTheirClocksHoweverManyTheyAre) {
    const auto renderer = MakeAudioRenderer();
    RampSound sound;
    sound.Deliver(*renderer, 100);
    for (std::uint64_t key = 0; key < 300; ++key)
        Pull(*renderer, kStart, key << 40);
    sound.Deliver(*renderer, 30);
    for (std::uint64_t key = 0; key < 300; ++key)
        ASSERT_EQ(FirstFrame(Pull(*renderer, kStart + 300'000, key << 40)), 59200) << key;
}

TEST_F(SoundConsumers, AreToldApartByAllBitsOfTheirKeys) {
    const auto renderer = MakeAudioRenderer();
    RampSound sound;
    Synchronise(*renderer, sound);
    for (int bit = 1; bit < 64; ++bit) {
        const std::uint64_t key = 1 | std::uint64_t{1} << bit;
        ASSERT_TRUE(IsSilent(Pull(*renderer, kStart + 300'000, key))) << bit;  // new
    }
    EXPECT_EQ(FirstFrame(Pull(*renderer, kStart + 300'000, 1)), 59200);
}

TEST_F(SoundConsumers, AreAllForgottenByOnePullOfAMutedSource) {
    const auto renderer = MakeAudioRenderer();
    RampSound sound;
    sound.Deliver(*renderer, 100);
    for (const std::uint64_t key : {1U, 2U, 3U})
        Pull(*renderer, kStart, key);
    renderer->SetAudioMuted(true);
    Pull(*renderer, kStart + 33'333, 1);
    renderer->SetAudioMuted(false);

    sound.Deliver(*renderer, 50);
    for (const std::uint64_t key : {1U, 2U, 3U})
        EXPECT_TRUE(IsSilent(Pull(*renderer, kStart + 300'000, key)));  // synchronises anew
    sound.Deliver(*renderer, 30);
    for (const std::uint64_t key : {1U, 2U, 3U})
        EXPECT_EQ(FirstFrame(Pull(*renderer, kStart + 600'000, key)), 48000 + 24000 - 3200 + 14400) << key;
}

// The first muted pull leaves nothing to wipe, so the second one leaves the clocks alone.
TEST_F(SoundConsumers, OfASourceThatWasWipedKeepTheirClocksOverTheNextMute) {
    const auto renderer = MakeAudioRenderer();
    RampSound sound;
    sound.Deliver(*renderer, 100);
    renderer->SetAudioMuted(true);
    Pull(*renderer, kStart - 33'333);
    renderer->SetAudioMuted(false);
    Pull(*renderer, kStart);  // synchronises without any sound
    renderer->SetAudioMuted(true);
    Pull(*renderer, kStart + 33'333);
    renderer->SetAudioMuted(false);
    sound.Deliver(*renderer, 50);
    EXPECT_EQ(FirstFrame(Pull(*renderer, kStart + 300'000)), 48000 + 11200);
}

TEST_F(SoundConsumers, ResynchroniseOneByOne) {
    const auto renderer = MakeAudioRenderer();
    RampSound sound;
    sound.Deliver(*renderer, 100);
    Pull(*renderer, kStart, 1);
    Pull(*renderer, kStart, 2);
    Pull(*renderer, kStart + 300'000, 1);  // not yet written
    sound.Deliver(*renderer, 30);
    EXPECT_EQ(FirstFrame(Pull(*renderer, kStart + 300'000, 2)), 59200);
    EXPECT_TRUE(IsSilent(Pull(*renderer, kStart + 300'000, 1)));
}

// -1 stands for a clock that was never set, so the silence of a synchronisation at that time is left out.
TEST_F(SoundConsumers, ThatSynchroniseAtMinusOneAreHeardAtOnce) {
    const auto renderer = MakeAudioRenderer();
    RampSound sound;
    sound.Deliver(*renderer, 100);
    EXPECT_TRUE(IsSilent(Pull(*renderer, -2, 1)));
    EXPECT_EQ(FirstFrame(Pull(*renderer, -1, 2)), 44800);
}

class SoundControls : public tests::AudioRendererTest {};

TEST_F(SoundControls, AreBothOffAtFirstAndTellWhatWasSet) {
    const auto renderer = MakeAudioRenderer();
    EXPECT_FALSE(renderer->IsAudioMuted());
    EXPECT_FALSE(renderer->IsAudioEnabled());
    for (const bool on : {true, false, true}) {
        renderer->SetAudioMuted(on);
        EXPECT_EQ(renderer->IsAudioMuted(), on);
        EXPECT_NE(renderer->IsAudioEnabled(), on);
        renderer->SetAudioEnabled(on);
        EXPECT_EQ(renderer->IsAudioEnabled(), on);
        EXPECT_EQ(renderer->IsAudioMuted(), on);
        renderer->SetAudioEnabled(on);
    }
}

class SoundBlock : public tests::AudioRendererTest {};

TEST_F(SoundBlock, IsAskedForAs1600FramesWithoutFlags) {
    const auto renderer = MakeAudioRenderer();
    Pull(*renderer, kStart);
    EXPECT_EQ(group.soundRequest, (std::pair<std::int32_t, std::uint32_t>(1600, 0)));
}

TEST_F(SoundBlock, OfAMutedSourceCarriesTimeAndTheHostsValues) {
    const auto renderer = MakeAudioRenderer();
    renderer->SetRamsValue(77);
    renderer->SetCbsValue(1, 5);
    renderer->SetAudioMuted(true);
    const BufferPointer buffer = Pull(*renderer, kStart);
    EXPECT_EQ(buffer->Timestamp(), kStart);
    EXPECT_EQ(buffer->AsInt32("rams", -1), 77);
    EXPECT_EQ(buffer->AsUInt64("cBs1", 0), 5U);
    EXPECT_FALSE(buffer->Has("cBs0"));
}

TEST_F(SoundBlock, OfAnInactiveSourceCarriesTimeAndTheHostsValues) {
    const auto renderer = MakeAudioRenderer();
    zRecord settings;
    settings.SetBool("audioActive", false);
    renderer->ApplySettings(settings);
    renderer->SetCbsValue(2, 6);
    const BufferPointer buffer = Pull(*renderer, kStart);
    EXPECT_EQ(buffer->Timestamp(), kStart);
    EXPECT_EQ(buffer->AsInt32("rams", -1), 0);
    EXPECT_EQ(buffer->AsUInt64("cBs2", 0), 6U);
}

TEST_F(SoundBlock, IsActiveAgainWhenTheSettingsSaySo) {
    const auto renderer = MakeAudioRenderer();
    for (const bool active : {false, true, false, true}) {
        zRecord settings;
        settings.SetBool("audioActive", active);
        EXPECT_EQ(renderer->ApplySettings(settings), 0);
        EXPECT_EQ(IsHeard(*renderer, RampSound()), active);
    }
}

TEST_F(SoundBlock, OfMonoMayGrowAndShrink) {
    const auto renderer = MakeAudioRenderer();
    std::int64_t nextFrame = 0;
    const auto deliver = [&](std::int64_t frames) {
        std::vector<std::int16_t> samples;
        for (std::int64_t frame = nextFrame; frame < nextFrame + frames; ++frame)
            samples.push_back(RampSound::LeftAt(frame));
        nextFrame += frames;
        renderer->OnAudioData({samples.data(), 16, 48000, 1, static_cast<std::uint64_t>(frames)});
    };
    for (const std::int64_t frames : {480, 4800, 10, 470, 9600, 32640})
        deliver(frames);
    Pull(*renderer, kStart);
    while (nextFrame < 62400)
        deliver(nextFrame % 3 == 0 ? 480 : 1601);
    const std::vector<std::int16_t> heard = Samples(Pull(*renderer, kStart + 300'000));
    for (std::int64_t frame = 0; frame < 1600; ++frame) {
        const auto at = static_cast<std::size_t>(frame * 2);
        ASSERT_EQ(heard[at], RampSound::LeftAt(59200 + frame)) << frame;
        ASSERT_EQ(heard[at + 1], heard[at]) << frame;
    }
}

}  // namespace
