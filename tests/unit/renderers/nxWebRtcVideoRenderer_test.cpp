#include "renderers/nxWebRtcVideoRenderer.h"

#include "tests/unit/renderers/RendererTest.h"

namespace {

using tests::BufferPointer;
using tests::Picture;
using Coloured = tests::ScriptedBufferGroup::Coloured;
using testing::ElementsAre;

class VideoRenderer : public tests::RendererTest {
protected:
    static mdMediaRecord FormatOf(nxWebRtcVideoRenderer& renderer) {
        mdMediaRecord record(kMediaTypeVideo);
        record.ClearFields();
        EXPECT_EQ(renderer.OutputFormat(kMediaTypeVideo, record, 0), kStatusOk);
        return record;
    }
    static std::int32_t Code(const char (&text)[5]) { return static_cast<std::int32_t>(FourCC(text)); }
};

TEST_F(VideoRenderer, PullBeforeAnyFrameYieldsBlackOf720By480) {
    const auto renderer = MakeVideoRenderer();
    const BufferPointer buffer = Pull(*renderer, 5000);
    ASSERT_TRUE(buffer);
    EXPECT_THAT(group.coloured, ElementsAre(Coloured{720, 480, 0}));
    EXPECT_EQ(buffer->GetDisplayWidth(), 720);
    EXPECT_EQ(buffer->GetDisplayHeight(), 480);
    EXPECT_EQ(buffer->Timestamp(), 5000);
}

TEST_F(VideoRenderer, FallbackSizeIsKeptForOutputFormat) {
    const auto renderer = MakeVideoRenderer();
    Pull(*renderer, 0);
    const mdMediaRecord format = FormatOf(*renderer);
    EXPECT_EQ(format.AsInt32("mwid", 0), 720);
    EXPECT_EQ(format.AsInt32("mhei", 0), 480);
    EXPECT_TRUE(format.AsBool("vidI", false));
    EXPECT_EQ(format.AsInt32("mcol", 0), Code("rgb "));
}

TEST_F(VideoRenderer, OutputFormatBeforeAnyPullIsOneByOneWithoutPicture) {
    const auto renderer = MakeVideoRenderer();
    const mdMediaRecord format = FormatOf(*renderer);
    EXPECT_EQ(format.AsInt32("type", 0), Code("vido"));
    EXPECT_EQ(format.AsInt32("mwid", 0), 1);
    EXPECT_EQ(format.AsInt32("mhei", 0), 1);
    EXPECT_FALSE(format.AsBool("vidI", true));
    EXPECT_EQ(format.AsInt32("mcol", 0), Code("rgb "));
}

TEST_F(VideoRenderer, OutputFormatWithAHeldFrameIsUyvyButKeepsTheSizeOfTheLastHandOut) {
    const auto renderer = MakeVideoRenderer();
    const Picture picture(64, 36, 50);
    renderer->OnVideoFrame(picture.frame);
    const mdMediaRecord format = FormatOf(*renderer);
    EXPECT_EQ(format.AsInt32("mcol", 0), Code("2vuy"));
    EXPECT_EQ(format.AsInt32("mwid", 0), 1);
    EXPECT_FALSE(format.AsBool("vidI", true));

    Pull(*renderer, 0);
    EXPECT_EQ(FormatOf(*renderer).AsInt32("mwid", 0), 64);
    EXPECT_EQ(FormatOf(*renderer).AsInt32("mhei", 0), 36);
    EXPECT_TRUE(FormatOf(*renderer).AsBool("vidI", false));
}

TEST_F(VideoRenderer, OutputFormatIgnoresTypeAndIndex) {
    const auto renderer = MakeVideoRenderer();
    mdMediaRecord record(kMediaTypeAudio);
    EXPECT_EQ(renderer->OutputFormat(kMediaTypeAudio, record, 99), kStatusOk);
    EXPECT_EQ(record.AsInt32("type", 0), Code("vido"));
}

TEST_F(VideoRenderer, PullWhileMutedYieldsBlackOfTheLastHandedOutSizeAlthoughAFrameIsHeld) {
    const auto renderer = MakeVideoRenderer();
    const Picture picture(64, 36, 50);
    renderer->OnVideoFrame(picture.frame);
    Pull(*renderer, 0);
    const Picture larger(128, 72, 50);
    renderer->OnVideoFrame(larger.frame);  // held, never handed out

    renderer->SetVideoMuted(true);
    EXPECT_TRUE(renderer->IsVideoMuted());
    const BufferPointer muted = Pull(*renderer, 700);
    EXPECT_THAT(group.coloured, ElementsAre(Coloured{64, 36, 0}));
    EXPECT_EQ(muted->Timestamp(), 700);

    renderer->SetVideoMuted(false);
    EXPECT_EQ(Pull(*renderer, 800)->GetDisplayWidth(), 128);
}

TEST_F(VideoRenderer, MutedBeforeAnyFrameUsesTheFallbackSize) {
    const auto renderer = MakeVideoRenderer();
    renderer->SetVideoMuted(true);
    const Picture picture(64, 36, 50);
    renderer->OnVideoFrame(picture.frame);
    Pull(*renderer, 0);
    EXPECT_THAT(group.coloured, ElementsAre(Coloured{720, 480, 0}));
}

TEST_F(VideoRenderer, PullsWithoutANewFrameReturnTheSameBufferEachWithAReference) {
    const auto renderer = MakeVideoRenderer();
    const Picture picture(64, 36, 50);
    renderer->OnVideoFrame(picture.frame);
    const BufferPointer first = Pull(*renderer, 1000);
    const BufferPointer second = Pull(*renderer, 2000);
    EXPECT_EQ(first, second);
    EXPECT_EQ(second->AddRef(), 4U);  // ours, the renderer's and this one
    second->Release();
}

TEST_F(VideoRenderer, TimestampIsThatOfTheFirstHandOut) {
    const auto renderer = MakeVideoRenderer();
    const Picture picture(64, 36, 50);
    renderer->OnVideoFrame(picture.frame);
    EXPECT_EQ(Pull(*renderer, 1000)->Timestamp(), 1000);
    EXPECT_EQ(Pull(*renderer, 2000)->Timestamp(), 1000);
    renderer->OnVideoFrame(picture.frame);
    EXPECT_EQ(Pull(*renderer, 3000)->Timestamp(), 3000);
}

TEST_F(VideoRenderer, FrameBecomesUyvyInAHostBuffer) {
    const auto renderer = MakeVideoRenderer();
    Picture picture(4, 2, 50);
    picture.SetLuma(0, 0, 11);
    picture.SetLuma(1, 0, 12);
    picture.SetLuma(3, 1, 44);
    renderer->OnVideoFrame(picture.frame);
    const BufferPointer buffer = Pull(*renderer, 0);
    const nxPixelStore pixels = buffer->LockPixelsForWriting();
    const std::uint8_t* top = pixels.baseAddress;
    const std::uint8_t* bottom = top + pixels.bytesPerRow;
    EXPECT_THAT(std::vector<int>(top, top + 8), ElementsAre(100, 11, 200, 12, 100, 50, 200, 50));
    EXPECT_THAT(std::vector<int>(bottom, bottom + 8), ElementsAre(100, 50, 200, 50, 100, 50, 200, 44));
    buffer->UnlockPixels();
    EXPECT_EQ(fakes::FakeWebRtc::FramesConverted(), 1);
}

TEST_F(VideoRenderer, BufferDescribesItself) {
    const auto renderer = MakeVideoRenderer();
    const Picture picture(5, 3, 50);  // odd sizes too
    renderer->OnVideoFrame(picture.frame);
    const BufferPointer buffer = Pull(*renderer, 0);
    EXPECT_EQ(buffer->AsInt32("type", 0), Code("vido"));
    EXPECT_EQ(buffer->AsInt32("mcol", 0), Code("2vuy"));
    EXPECT_EQ(buffer->AsInt32("mwid", 0), 5);
    EXPECT_EQ(buffer->AsInt32("mhei", 0), 3);
    EXPECT_EQ(buffer->AsInt32("mbpr", 0), 12);
    EXPECT_EQ(buffer->AsInt32("mdSQ", 0), 5);
    EXPECT_EQ(buffer->AsInt32("mdSH", 0), 3);
    EXPECT_TRUE(buffer->AsBool("vidI", false));
    EXPECT_EQ(fakes::FakeWebRtc::FramesConverted(), 1);
}

TEST_F(VideoRenderer, SizeMayChangeWithAnyFrame) {
    const auto renderer = MakeVideoRenderer();
    for (const std::int32_t width : {64, 320, 16}) {
        const Picture picture(width, width / 2, 50);
        renderer->OnVideoFrame(picture.frame);
        EXPECT_EQ(Pull(*renderer, 0)->GetDisplayWidth(), width);
        EXPECT_EQ(FormatOf(*renderer).AsInt32("mwid", 0), width);
    }
}

TEST_F(VideoRenderer, OnlyTheNewestFrameIsKept) {
    const auto renderer = MakeVideoRenderer();
    for (const std::uint8_t luma : std::vector<std::uint8_t>{10, 20, 30}) {
        const Picture picture(64, 36, luma);
        renderer->OnVideoFrame(picture.frame);
        EXPECT_EQ(host_runtime::BufferGroup::BuffersAlive(), 1);
    }
    const BufferPointer buffer = Pull(*renderer, 0);
    EXPECT_EQ(buffer->Data()[1], 30);
}

TEST_F(VideoRenderer, LastPictureIsRepeatedWhenTheStreamStops) {
    const auto renderer = MakeVideoRenderer();
    const Picture picture(64, 36, 77);
    renderer->OnVideoFrame(picture.frame);
    for (std::int64_t timeUs = 0; timeUs < 10'000'000; timeUs += 33'333)
        ASSERT_EQ(Pull(*renderer, timeUs)->Data()[1], 77);
}

TEST_F(VideoRenderer, FirstFrameSetsVideoReceived) {
    const auto renderer = MakeVideoRenderer();
    EXPECT_FALSE(data->videoReceived.load());
    const Picture picture(64, 36, 50);
    renderer->OnVideoFrame(picture.frame);
    EXPECT_TRUE(data->videoReceived.load());
}

TEST_F(VideoRenderer, FrameWithoutABufferIsDropped) {
    const auto renderer = MakeVideoRenderer();
    const Picture picture(64, 36, 50);
    group.refuse = true;
    renderer->OnVideoFrame(picture.frame);
    EXPECT_FALSE(data->videoReceived.load());
    group.refuse = false;
    EXPECT_EQ(Pull(*renderer, 0)->GetDisplayWidth(), 720);
}

TEST_F(VideoRenderer, FallbackWithoutABufferIsNullAndStillSuccess) {
    const auto renderer = MakeVideoRenderer();
    group.refuse = true;
    EXPECT_FALSE(Pull(*renderer, 0));  // the pull checks the status
    EXPECT_EQ(FormatOf(*renderer).AsInt32("mwid", 0), 720);
}

TEST_F(VideoRenderer, BufferWithoutPixelStoreIsShownUnconverted) {
    const auto renderer = MakeVideoRenderer();
    group.withoutPixels = true;
    fakes::FakeWebRtc::BeforeConversion([] { ADD_FAILURE() << "the converter is not asked"; });
    const Picture picture(64, 36, 50);
    renderer->OnVideoFrame(picture.frame);
    EXPECT_TRUE(data->videoReceived.load());
    EXPECT_EQ(Pull(*renderer, 40)->GetDisplayWidth(), 64);
    EXPECT_TRUE(group.coloured.empty());
}

TEST_F(VideoRenderer, FailedConversionIsShownAllTheSame) {
    const auto renderer = MakeVideoRenderer();
    Picture picture(64, 36, 50);
    picture.frame.u = nullptr;
    renderer->OnVideoFrame(picture.frame);
    EXPECT_EQ(fakes::FakeWebRtc::FramesConverted(), 0);
    EXPECT_EQ(Pull(*renderer, 0)->GetDisplayWidth(), 64);
}

TEST_F(VideoRenderer, EmptyFrameIsDropped) {
    const auto renderer = MakeVideoRenderer();
    renderer->OnVideoFrame({});
    EXPECT_FALSE(data->videoReceived.load());
}

TEST_F(VideoRenderer, FramesAndControlsDoNothingAfterTheDataIsGone) {
    const auto renderer = MakeVideoRenderer();
    renderer->SetVideoMuted(true);
    data.reset();
    EXPECT_FALSE(renderer->IsVideoMuted());
    renderer->SetVideoMuted(true);
    EXPECT_FALSE(renderer->IsVideoMuted());

    const Picture picture(64, 36, 50);
    renderer->OnVideoFrame(picture.frame);
    EXPECT_EQ(host_runtime::BufferGroup::BuffersAlive(), 0);
    EXPECT_EQ(Pull(*renderer, 0)->GetDisplayWidth(), 720);
}

TEST_F(VideoRenderer, LastPictureSurvivesTheData) {
    const auto renderer = MakeVideoRenderer();
    const Picture picture(64, 36, 77);
    renderer->OnVideoFrame(picture.frame);
    data.reset();
    EXPECT_EQ(Pull(*renderer, 0)->Data()[1], 77);
}

TEST_F(VideoRenderer, AnswersExactlyItsTwoInterfaces) {
    const auto renderer = MakeVideoRenderer();
    for (const char* name : {"nxXISourcePlugs", "nxVideoControlsXI"}) {
        void* found = nullptr;
        ASSERT_EQ(renderer->QueryInterface(name, &found), kStatusOk) << name;
        ASSERT_NE(found, nullptr);
        static_cast<xIUnknown*>(found)->Release();
        EXPECT_EQ(renderer->QueryInterface(name, nullptr), kStatusOk) << name;
    }
    for (const char* name : {"xIUnknown", "xCUnknown", "nxRenderer2", "nxAudioControlsXI", "nxxisourceplugs",
                             "", static_cast<const char*>(nullptr)}) {
        void* found = renderer.get();
        EXPECT_EQ(renderer->QueryInterface(name, &found), -1);
        EXPECT_EQ(found, nullptr);
        EXPECT_EQ(renderer->QueryInterface(name, nullptr), -1);
    }
    EXPECT_EQ(renderer->AddRef(), 2U);  // nothing above left a reference behind
    renderer->Release();
}

TEST_F(VideoRenderer, InterfacesReachTheSameObject) {
    const auto renderer = MakeVideoRenderer();
    void* found = nullptr;
    renderer->QueryInterface("nxVideoControlsXI", &found);
    auto* const controls = static_cast<nxVideoControlsXI*>(found);
    controls->SetVideoMuted(true);
    EXPECT_TRUE(renderer->IsVideoMuted());

    ASSERT_EQ(controls->QueryInterface("nxXISourcePlugs", &found), kStatusOk);
    auto* const plugs = static_cast<nxXISourcePlugs*>(found);
    EXPECT_TRUE(plugs->IsAvailable());
    plugs->Release();
    EXPECT_EQ(controls->Release(), 1U);
}

TEST_F(VideoRenderer, PlugNameIsTheNameOfTheConnection) {
    const auto renderer = MakeVideoRenderer("A1-B2");
    zString out;
    EXPECT_STREQ(renderer->PlugName(out), "A1-B2");
    EXPECT_STREQ(out.Text(), "A1-B2");
    EXPECT_STREQ(MakeVideoRenderer("")->PlugName(out), "");
}

TEST_F(VideoRenderer, OtherOperationsKeepTheirDefaults) {
    const auto renderer = MakeVideoRenderer();
    zRecord settings;
    EXPECT_EQ(renderer->MediaType(), FourCC("vido"));
    EXPECT_EQ(renderer->Priority(), 0);
    EXPECT_EQ(renderer->ApplySettings(settings), 0);
    const nxRendererTimes times = renderer->Times();
    EXPECT_THAT(times.words, ElementsAre(0, 0, 0));
}

TEST_F(VideoRenderer, KeepsTheGroupAndItsPictureUntilItsEnd) {
    auto renderer = MakeVideoRenderer();
    EXPECT_EQ(group.references, 1U);
    const Picture picture(64, 36, 50);
    renderer->OnVideoFrame(picture.frame);
    renderer.reset();
    EXPECT_EQ(group.references, 0U);
    EXPECT_EQ(host_runtime::BufferGroup::BuffersAlive(), 0);
}

TEST_F(VideoRenderer, LivesAsLongAsTheHostCountsIt) {
    auto renderer = MakeVideoRenderer();
    nxWebRtcVideoRenderer* const counted = renderer.get();
    counted->AddRef();
    renderer.reset();
    EXPECT_EQ(nxWebRtcVideoRenderer::Alive(), 1);
    EXPECT_EQ(counted->Release(), 0U);
    EXPECT_EQ(nxWebRtcVideoRenderer::Alive(), 0);
}

TEST_F(VideoRenderer, DeleteSelfEndsItWhateverItsCountAndNullIsHarmless) {
    auto* const renderer = new nxWebRtcVideoRenderer("phone", &group, data);
    renderer->AddRef();
    renderer->DeleteSelf();
    EXPECT_EQ(nxWebRtcVideoRenderer::Alive(), 0);
    xCUnknown::DeleteSelf(nullptr);
}

}  // namespace
