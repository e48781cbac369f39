#include "renderers/nxWebRtcAudioRenderer.h"

#include "tests/unit/renderers/AudioRendererTest.h"

namespace {

using testing::ElementsAre;
using tests::BufferPointer;
using tests::RampSound;

using AudioRenderer = tests::AudioRendererTest;

TEST_F(AudioRenderer, SoundBeforeTheFirstPictureIsDropped) {
    data->videoReceived = false;
    const auto renderer = MakeAudioRenderer();
    EXPECT_FALSE(IsHeard(*renderer, RampSound()));
    data->videoReceived = true;
    EXPECT_TRUE(IsHeard(*renderer, RampSound()));
}

TEST_F(AudioRenderer, OtherFormatsNeverReachTheRing) {
    const auto renderer = MakeAudioRenderer();
    RampSound slow, deep, wide, none, nowhere;
    slow.block.sampleRate = 44100;
    deep.block.bitsPerSample = 24;
    wide.block.channels = 3;
    none.block.channels = 0;
    nowhere.block.samples = nullptr;
    EXPECT_FALSE(IsHeard(*renderer, std::move(slow)));
    EXPECT_FALSE(IsHeard(*renderer, std::move(deep)));
    EXPECT_FALSE(IsHeard(*renderer, std::move(wide)));
    EXPECT_FALSE(IsHeard(*renderer, std::move(none)));
    EXPECT_FALSE(IsHeard(*renderer, std::move(nowhere)));
    EXPECT_TRUE(IsHeard(*renderer, RampSound()));
}

TEST_F(AudioRenderer, MonoIsDuplicatedLeftAndRight) {
    const auto renderer = MakeAudioRenderer();
    const std::vector<std::int16_t> mono = {1, -2, 3, -4};
    std::vector<std::int16_t> block;
    for (int repeat = 0; repeat < 120; ++repeat)
        block.insert(block.end(), mono.begin(), mono.end());
    const auto deliver = [&](int blocks) {
        for (int index = 0; index < blocks; ++index)
            renderer->OnAudioData({block.data(), 16, 48000, 1, 480});
    };
    deliver(100);
    Pull(*renderer, 0);
    deliver(30);
    const std::vector<std::int16_t> heard = Samples(Pull(*renderer, 300'000));
    EXPECT_THAT(std::vector<int>(heard.begin(), heard.begin() + 8), ElementsAre(1, 1, -2, -2, 3, 3, -4, -4));
}

TEST_F(AudioRenderer, MonoBlockOf480FramesFills1920Bytes) {
    const auto renderer = MakeAudioRenderer();
    RampSound sound;
    const std::vector<std::int16_t> mono(480, 7);
    for (int index = 0; index < 100; ++index)
        renderer->OnAudioData({mono.data(), 16, 48000, 1, 480});
    Pull(*renderer,
         0);  // synchronised with one second received, so the block at 300 ms begins at frame 59200
    sound.nextFrame = 48000;
    sound.Deliver(*renderer, 30);
    EXPECT_EQ(FirstFrame(Pull(*renderer, 300'000)), 59200);
}

TEST_F(AudioRenderer, FirstPullIsSilentFor200MillisecondsThenTwoBlocksBehindTheNewestSound) {
    const auto renderer = MakeAudioRenderer();
    RampSound sound;
    sound.Deliver(*renderer, 50);  // half a second
    std::int64_t expectedFrame = 24000 - 3200;
    for (int pull = 0; pull < 300; ++pull, expectedFrame += 1600) {
        const std::int64_t elapsedUs = GridTime(pull);
        while (sound.nextFrame < 24000 + elapsedUs * 48 / 1000)
            sound.Deliver(*renderer, 1);
        const BufferPointer buffer = Pull(*renderer, kStart + elapsedUs);
        if (pull <= 6) {
            ASSERT_TRUE(IsSilent(buffer)) << pull;
        } else {
            ASSERT_EQ(FirstFrame(buffer), expectedFrame) << pull;
        }
    }
}

TEST_F(AudioRenderer, BlockIsWholeAndContinuous) {
    const auto renderer = MakeAudioRenderer();
    RampSound sound;
    Synchronise(*renderer, sound);
    const std::vector<std::int16_t> heard = Samples(Pull(*renderer, kStart + 300'000));
    ASSERT_EQ(heard.size(), 3200U);
    for (std::int64_t frame = 0; frame < 1600; ++frame) {
        ASSERT_EQ(heard[static_cast<std::size_t>(frame * 2)], RampSound::LeftAt(59200 + frame));
        ASSERT_EQ(heard[static_cast<std::size_t>(frame * 2 + 1)], RampSound::RightAt(59200 + frame));
    }
}

TEST_F(AudioRenderer, BlockEndingAtTheNewestSampleIsNotYetAvailable) {
    const auto renderer = MakeAudioRenderer();
    RampSound sound;
    sound.Deliver(*renderer, 100);
    Pull(*renderer, kStart, 1);
    Pull(*renderer, kStart, 2);
    sound.Deliver(*renderer, 160, 80);  // 60800 frames: exactly the end of the block at 300 ms
    EXPECT_TRUE(IsSilent(Pull(*renderer, kStart + 300'000, 1)));
    sound.Deliver(*renderer, 1, 1);
    EXPECT_EQ(FirstFrame(Pull(*renderer, kStart + 300'000, 2)), 59200);
}

TEST_F(AudioRenderer, BlockInTheFutureResynchronisesItsConsumer) {
    const auto renderer = MakeAudioRenderer();
    RampSound sound;
    sound.Deliver(*renderer, 100);
    Pull(*renderer, kStart);
    EXPECT_TRUE(IsSilent(Pull(*renderer, kStart + 300'000)));  // not yet written
    sound.Deliver(*renderer, 100);
    EXPECT_TRUE(IsSilent(Pull(*renderer, kStart + 333'333)));  // synchronises again
    sound.Deliver(*renderer, 30);
    EXPECT_EQ(FirstFrame(Pull(*renderer, kStart + 633'333)), 96000 - 3200 + 14400);
}

TEST_F(AudioRenderer, BlockInTheFutureAtFrameZeroOrBelowKeepsTheClock) {
    const auto renderer = MakeAudioRenderer();
    RampSound sound;
    for (const std::int64_t elapsedUs : {0, 33'333, 66'667})  // frames -3200, -1600 and 0
        EXPECT_TRUE(IsSilent(Pull(*renderer, kStart + elapsedUs)));
    sound.Deliver(*renderer, 50);
    EXPECT_EQ(FirstFrame(Pull(*renderer, kStart + 300'000)), 11200);
}

TEST_F(AudioRenderer, WithoutSoundEveryFourthPullSynchronisesAgain) {
    const auto renderer = MakeAudioRenderer();
    RampSound sound;
    for (const std::int64_t elapsedUs : {0, 33'333, 66'667, 100'000})  // the last one is frame 1600
        EXPECT_TRUE(IsSilent(Pull(*renderer, kStart + elapsedUs)));
    sound.Deliver(*renderer, 50);
    EXPECT_TRUE(IsSilent(Pull(*renderer, kStart + 300'000)));
}

TEST_F(AudioRenderer, EachConsumerHasItsOwnClock) {
    const auto renderer = MakeAudioRenderer();
    RampSound sound;
    Synchronise(*renderer, sound);
    EXPECT_TRUE(IsSilent(Pull(*renderer, kStart + 300'000, 2)));
    EXPECT_FALSE(IsSilent(Pull(*renderer, kStart + 300'000, 1)));
}

TEST_F(AudioRenderer, TimeBeforeTheSynchronisationIsSilentAndLeavesTheClock) {
    const auto renderer = MakeAudioRenderer();
    RampSound sound;
    Synchronise(*renderer, sound);
    EXPECT_TRUE(IsSilent(Pull(*renderer, kStart - 10'000'000)));
    EXPECT_EQ(FirstFrame(Pull(*renderer, kStart + 300'000)), 59200);
}

TEST_F(AudioRenderer, ReaderMoreThanASecondBehindReadsWhateverTheRingHolds) {
    const auto renderer = MakeAudioRenderer();
    RampSound sound;
    sound.Deliver(*renderer, 100);
    Pull(*renderer, kStart);
    sound.Deliver(*renderer, 230);
    EXPECT_EQ(FirstFrame(Pull(*renderer, kStart + 300'000)), 59200 + 2 * 48000);
}

TEST_F(AudioRenderer, MuteWipesRingAndClocksOnTheNextPull) {
    const auto renderer = MakeAudioRenderer();
    RampSound sound;
    Synchronise(*renderer, sound);
    renderer->SetAudioMuted(true);
    EXPECT_TRUE(IsSilent(Pull(*renderer, kStart + 300'000)));
    renderer->SetAudioMuted(false);

    sound.Deliver(*renderer, 50);
    EXPECT_TRUE(IsSilent(Pull(*renderer, kStart + 333'333)));  // a new consumer
    sound.Deliver(*renderer, 30);
    // Frame 0 of the ring is now the first one after the mute.
    EXPECT_EQ(FirstFrame(Pull(*renderer, kStart + 633'333)), 62400 + 24000 - 3200 + 14400);
}

TEST_F(AudioRenderer, PullsWhileMutedAdvanceNothing) {
    const auto renderer = MakeAudioRenderer();
    RampSound sound;
    renderer->SetAudioMuted(true);
    for (int pull = 0; pull < 10; ++pull)
        EXPECT_TRUE(IsSilent(Pull(*renderer, kStart + GridTime(pull))));
    renderer->SetAudioMuted(false);
    sound.Deliver(*renderer, 50);
    EXPECT_TRUE(IsSilent(Pull(*renderer, kStart + 333'333)));  // synchronises only now
    sound.Deliver(*renderer, 30);
    EXPECT_EQ(FirstFrame(Pull(*renderer, kStart + 633'333)), 24000 - 3200 + 14400);
}

TEST_F(AudioRenderer, MuteWithoutAPullKeepsRingAndClocks) {
    const auto renderer = MakeAudioRenderer();
    RampSound sound;
    Synchronise(*renderer, sound);
    renderer->SetAudioMuted(true);
    renderer->SetAudioMuted(false);
    EXPECT_EQ(FirstFrame(Pull(*renderer, kStart + 300'000)), 59200);
}

TEST_F(AudioRenderer, MutedPullWithAnEmptyRingKeepsTheClocks) {
    const auto renderer = MakeAudioRenderer();
    RampSound sound;
    Pull(*renderer, kStart);
    renderer->SetAudioMuted(true);
    Pull(*renderer, kStart + 33'333);
    renderer->SetAudioMuted(false);
    sound.Deliver(*renderer, 50);
    EXPECT_EQ(FirstFrame(Pull(*renderer, kStart + 300'000)), 11200);
}

TEST_F(AudioRenderer, InactiveIsSilentWhileRingAndClocksRunOn) {
    const auto renderer = MakeAudioRenderer();
    RampSound sound;
    zRecord settings;
    settings.SetBool("audioActive", false);
    EXPECT_EQ(renderer->ApplySettings(settings), 0);
    Synchronise(*renderer, sound);
    EXPECT_TRUE(IsSilent(Pull(*renderer, kStart + 300'000)));

    zRecord unset;  // absent is active
    EXPECT_EQ(renderer->ApplySettings(unset), 0);
    EXPECT_EQ(FirstFrame(Pull(*renderer, kStart + 300'000)), 59200);
}

TEST_F(AudioRenderer, BlockLargerThanTheRingCountsButIsNotWritten) {
    const auto renderer = MakeAudioRenderer();
    RampSound sound;
    sound.Deliver(*renderer, 100);
    Pull(*renderer, kStart);
    const std::vector<std::int16_t> large(48001 * 2, 31000);
    renderer->OnAudioData({large.data(), 16, 48000, 2, 48001});
    EXPECT_EQ(FirstFrame(Pull(*renderer, kStart + 300'000)), 59200 - 48000);
}

TEST_F(AudioRenderer, EmptyBlockChangesNothing) {
    const auto renderer = MakeAudioRenderer();
    const std::int16_t sample = 0;
    renderer->OnAudioData({&sample, 16, 48000, 2, 0});
    renderer->OnAudioData({&sample, 16, 48000, 1, 0});
    EXPECT_TRUE(IsHeard(*renderer, RampSound()));
}

TEST_F(AudioRenderer, SoundIsKeptAfterTheDataIsGone) {
    const auto renderer = MakeAudioRenderer();
    data.reset();
    EXPECT_TRUE(IsHeard(*renderer, RampSound()));
}

TEST_F(AudioRenderer, PullWithoutABufferIsNullAndStillSuccess) {
    const auto renderer = MakeAudioRenderer();
    group.refuse = true;
    EXPECT_FALSE(Pull(*renderer, 0));  // the pull checks the status
}

TEST_F(AudioRenderer, BufferCarriesTimeAndTheHostsValues) {
    const auto renderer = MakeAudioRenderer();
    const BufferPointer plain = Pull(*renderer, 1234);
    EXPECT_EQ(plain->Timestamp(), 1234);
    EXPECT_EQ(plain->DataSize(), 6400U);
    EXPECT_EQ(plain->AsInt32("msmr", 0), 48000);
    EXPECT_EQ(plain->AsInt32("mcbu", 0), 1);
    EXPECT_EQ(plain->AsInt32("mcha", 0), 2);
    EXPECT_EQ(plain->AsInt32("mbps", 0), 16);
    EXPECT_TRUE(plain->Has("rams"));
    EXPECT_EQ(plain->AsInt32("rams", -1), 0);
    for (const char* key : {"cBs0", "cBs1", "cBs2", "cBs3"})
        EXPECT_FALSE(plain->Has(key)) << key;

    renderer->SetRamsValue(77);
    renderer->SetCbsValue(0, 5);
    renderer->SetCbsValue(3, 0xFFFFFFFFFFFFFFFF);
    renderer->SetCbsValue(2, 0x0001000100010001);
    const BufferPointer stamped = Pull(*renderer, 2000);
    EXPECT_EQ(stamped->AsInt32("rams", -1), 77);
    EXPECT_EQ(stamped->AsUInt64("cBs0", 0), 5U);
    EXPECT_EQ(stamped->AsUInt64("cBs3", 0), 0xFFFFFFFFFFFFFFFF);
    EXPECT_FALSE(stamped->Has("cBs1"));
    EXPECT_FALSE(stamped->Has("cBs2"));
}

TEST_F(AudioRenderer, CbsIndexOutsideZeroToThreeIsIgnored) {
    const auto renderer = MakeAudioRenderer();
    for (const std::int32_t index : {-1, 4, 1'000'000, INT32_MIN})
        renderer->SetCbsValue(index, 5);
    const BufferPointer buffer = Pull(*renderer, 0);
    for (const char* key : {"cBs0", "cBs1", "cBs2", "cBs3"})
        EXPECT_FALSE(buffer->Has(key)) << key;
}

TEST_F(AudioRenderer, StoresTheHostsLiveDelayValues) {
    const auto renderer = MakeAudioRenderer();
    EXPECT_EQ(renderer->GetLiveDelay(), 0.0);
    EXPECT_EQ(renderer->GetLiveDelayWord(), 0U);
    EXPECT_EQ(renderer->GetRamsValue(), 0U);
    renderer->SetLiveDelay(1.5);
    renderer->SetLiveDelayWord(6);
    renderer->SetRamsValue(7);
    EXPECT_EQ(renderer->GetLiveDelay(), 1.5);
    EXPECT_EQ(renderer->GetLiveDelayWord(), 6U);
    EXPECT_EQ(renderer->GetRamsValue(), 7U);
    EXPECT_FALSE(renderer->HandlesLiveDelay());
}

TEST_F(AudioRenderer, OutputFormatIsFixed) {
    const auto renderer = MakeAudioRenderer();
    mdMediaRecord record(kMediaTypeVideo);
    EXPECT_EQ(renderer->OutputFormat(kMediaTypeVideo, record, 3), kStatusOk);
    EXPECT_EQ(record.AsInt32("type", 0), static_cast<std::int32_t>(FourCC("audo")));
    EXPECT_EQ(record.AsInt32("msmr", 0), 48000);
    EXPECT_EQ(record.AsInt32("mcbu", 0), 1);
    EXPECT_EQ(record.AsInt32("mcha", 0), 2);
    EXPECT_EQ(record.AsInt32("mbps", 0), 16);
    EXPECT_EQ(renderer->MediaType(), FourCC("audo"));
}

TEST_F(AudioRenderer, AnswersExactlyItsThreeInterfaces) {
    const auto renderer = MakeAudioRenderer();
    for (const char* name : {"nxXISourcePlugs", "nxAudioControlsXI", "nxXIAudioLiveDelay"}) {
        void* found = nullptr;
        ASSERT_EQ(renderer->QueryInterface(name, &found), kStatusOk) << name;
        ASSERT_NE(found, nullptr);
        static_cast<xIUnknown*>(found)->Release();
    }
    for (const char* name :
         {"xIUnknown", "nxRenderer2", "nxVideoControlsXI", static_cast<const char*>(nullptr)}) {
        void* found = renderer.get();
        EXPECT_EQ(renderer->QueryInterface(name, &found), -1);
        EXPECT_EQ(found, nullptr);
        EXPECT_EQ(renderer->QueryInterface(name, nullptr), -1);
    }
    EXPECT_EQ(renderer->AddRef(), 2U);
    renderer->Release();
}

TEST_F(AudioRenderer, InterfacesReachTheSameObject) {
    const auto renderer = MakeAudioRenderer("A1-B2");
    void* found = nullptr;
    renderer->QueryInterface("nxAudioControlsXI", &found);
    auto* const controls = static_cast<nxAudioControlsXI*>(found);
    controls->SetAudioEnabled(true);
    EXPECT_TRUE(renderer->IsAudioEnabled());
    controls->Release();
    renderer->QueryInterface("nxXIAudioLiveDelay", &found);
    auto* const delay = static_cast<nxXIAudioLiveDelay*>(found);
    delay->SetRamsValue(9);
    EXPECT_EQ(renderer->GetRamsValue(), 9U);
    delay->Release();
    zString out;
    EXPECT_STREQ(renderer->PlugName(out), "A1-B2");
    EXPECT_TRUE(renderer->IsAvailable());
}

TEST_F(AudioRenderer, ControlsDoNothingAfterTheDataIsGone) {
    const auto renderer = MakeAudioRenderer();
    renderer->SetAudioMuted(true);
    renderer->SetAudioEnabled(true);
    EXPECT_TRUE(renderer->IsAudioMuted());
    EXPECT_TRUE(renderer->IsAudioEnabled());
    data.reset();
    renderer->SetAudioMuted(true);
    renderer->SetAudioEnabled(true);
    EXPECT_FALSE(renderer->IsAudioMuted());
    EXPECT_FALSE(renderer->IsAudioEnabled());
}

TEST_F(AudioRenderer, KeepsTheGroupUntilItsEnd) {
    auto renderer = MakeAudioRenderer();
    EXPECT_EQ(group.references, 1U);
    renderer.reset();
    EXPECT_EQ(group.references, 0U);
}

}  // namespace
