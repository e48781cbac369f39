#include "renderers/nxWebRtcRendererData.h"

#include <chrono>
#include <nlohmann/json.hpp>
#include <thread>

#include "support/annotated_mutex.h"
#include "tests/unit/renderers/RendererTest.h"

namespace {

using fakes::FakeAudioTrack;
using fakes::FakeVideoTrack;
using testing::ElementsAre;
using testing::IsEmpty;
using tests::Picture;

const char* const kLit =
    R"({"action":"broadcastToPeers","subaction":"tallyStateChanged","tallyPeerIdentifier":"phone-1","value":true})";
const char* const kDark =
    R"({"action":"broadcastToPeers","subaction":"tallyStateChanged","tallyPeerIdentifier":"phone-1","value":false})";

class Tally : public tests::RendererTest {
protected:
    void SetOnAir(bool onAir) {
        data->StoreOnAir(onAir);
        data->SendTallyIfChanged();
    }
};

TEST_F(Tally, NothingIsSentUntilThePeerGoesOnAir) {
    data->SendTallyIfChanged();
    SetOnAir(false);
    EXPECT_THAT(socket->Sent(), IsEmpty());
}

TEST_F(Tally, GoingOnAirIsSentOnce) {
    SetOnAir(true);
    SetOnAir(true);
    EXPECT_THAT(socket->Sent(), ElementsAre(kLit));
    EXPECT_TRUE(data->lastTally.load());
}

TEST_F(Tally, MutingOnAirSendsOnlyWhenBothAreMuted) {
    const auto video = MakeVideoRenderer();
    const auto audio = MakeAudioRenderer();
    SetOnAir(true);
    socket->TakeSent();
    video->SetVideoMuted(true);
    EXPECT_THAT(socket->TakeSent(), IsEmpty());
    audio->SetAudioMuted(true);
    EXPECT_THAT(socket->TakeSent(), ElementsAre(kDark));
    video->SetVideoMuted(false);
    EXPECT_THAT(socket->TakeSent(), ElementsAre(kLit));
    video->SetVideoMuted(true);
    EXPECT_THAT(socket->TakeSent(), ElementsAre(kDark));
    audio->SetAudioMuted(false);
    EXPECT_THAT(socket->TakeSent(), ElementsAre(kLit));
}

TEST_F(Tally, MutingOffAirSendsNothing) {
    const auto video = MakeVideoRenderer();
    const auto audio = MakeAudioRenderer();
    video->SetVideoMuted(true);
    audio->SetAudioMuted(true);
    video->SetVideoMuted(false);
    EXPECT_THAT(socket->Sent(), IsEmpty());
}

TEST_F(Tally, ChangeWithoutASocketIsNeitherSentNorRemembered) {
    const auto video = MakeVideoRenderer();
    data->SetSender(nullptr);
    SetOnAir(true);
    EXPECT_FALSE(data->lastTally.load());
    data->SetSender(socket);
    EXPECT_THAT(socket->Sent(), IsEmpty());  // a socket alone sends nothing
    video->SetVideoMuted(true);              // the next change of any flag
    EXPECT_THAT(socket->Sent(), ElementsAre(kLit));
}

TEST_F(Tally, UnchangedTallyIsNotSentAgainOnANewSocket) {
    SetOnAir(true);
    const auto next = std::make_shared<fakes::FakeWebSocket>();
    data->SetSender(next);
    data->SendTallyIfChanged();
    EXPECT_THAT(next->Sent(), IsEmpty());
    SetOnAir(false);
    EXPECT_THAT(next->Sent(), ElementsAre(kDark));
    EXPECT_THAT(socket->Sent(), ElementsAre(kLit));
}

TEST_F(Tally, NewSocketLetsTheOldOneGo) {
    const std::weak_ptr<fakes::FakeWebSocket> old = socket;
    socket.reset();
    EXPECT_FALSE(old.expired());
    data->SetSender(std::make_shared<fakes::FakeWebSocket>());
    EXPECT_TRUE(old.expired());
}

TEST_F(Tally, NamesThePeerThatJoinedLater) {
    data->SetPeerIdentifier("Ä\"2");
    SetOnAir(true);
    const nlohmann::json message = nlohmann::json::parse(socket->Sent().at(0));
    EXPECT_EQ(message.at("tallyPeerIdentifier"), "Ä\"2");
}

class RendererData : public tests::RendererTest {
protected:
    std::shared_ptr<nxWebRtcVideoRenderer> video = MakeVideoRenderer();
    std::shared_ptr<nxWebRtcAudioRenderer> audio = MakeAudioRenderer();
    vo_webrtc::voPointer<vo_webrtc::voVideoTrackInterface> videoTrack = fakes::MakeVideoTrack();
    vo_webrtc::voPointer<vo_webrtc::voAudioTrackInterface> audioTrack = fakes::MakeAudioTrack();
    vo_webrtc::voPointer<vo_webrtc::voMediaStreamInterface> stream =
        fakes::MakeStream(videoTrack, audioTrack);
    FakeVideoTrack& videoSide = FakeVideoTrack::Of(videoTrack);
    FakeAudioTrack& audioSide = FakeAudioTrack::Of(audioTrack);
};

TEST_F(RendererData, FlagsStartFalse) {
    for (const std::atomic<bool>* flag : {&data->videoReceived, &data->audioMuted, &data->videoMuted,
                                          &data->onAir, &data->lastTally, &data->audioEnabled})
        EXPECT_FALSE(flag->load());
}

TEST_F(RendererData, AttachedSinkFeedsTheRenderer) {
    data->SetVideoRenderer(video);
    data->AttachVideoSink(stream);
    const Picture picture(64, 36, 50);
    videoSide.Deliver(picture.frame);
    EXPECT_EQ(Pull(*video, 0)->GetDisplayWidth(), 64);
}

TEST_F(RendererData, AttachedSoundSinkFeedsTheRenderer) {
    data->SetAudioRenderer(audio);
    data->AttachAudioSink(stream);
    audio->SetAudioEnabled(true);
    data->videoReceived = true;
    const std::vector<std::int16_t> samples(960, 77);
    for (int block = 0; block < 100; ++block)
        audioSide.Deliver({samples.data(), 16, 48000, 2, 480});
    Pull(*audio, 0);
    for (int block = 0; block < 30; ++block)
        audioSide.Deliver({samples.data(), 16, 48000, 2, 480});
    const auto heard = Pull(*audio, 300'000);
    EXPECT_EQ(heard->Data()[0], 77);
}

TEST_F(RendererData, AttachingTwiceIsOneSink) {
    data->SetVideoRenderer(video);
    data->SetAudioRenderer(audio);
    for (int repeat = 0; repeat < 3; ++repeat) {
        data->AttachVideoSink(stream);
        data->AttachAudioSink(stream);
    }
    EXPECT_EQ(videoSide.SinkCount(), 1U);
    EXPECT_EQ(audioSide.SinkCount(), 1U);
}

TEST_F(RendererData, NewStreamMovesTheSinks) {
    data->SetVideoRenderer(video);
    data->SetAudioRenderer(audio);
    data->AttachVideoSink(stream);
    data->AttachAudioSink(stream);
    const auto nextVideo = fakes::MakeVideoTrack();
    const auto nextAudio = fakes::MakeAudioTrack();
    const auto next = fakes::MakeStream(nextVideo, nextAudio);
    data->AttachVideoSink(next);
    data->AttachAudioSink(next);
    EXPECT_EQ(videoSide.SinkCount(), 0U);
    EXPECT_EQ(audioSide.SinkCount(), 0U);
    EXPECT_EQ(FakeVideoTrack::Of(nextVideo).SinkCount(), 1U);
    EXPECT_EQ(FakeAudioTrack::Of(nextAudio).SinkCount(), 1U);
}

TEST_F(RendererData, StreamWithoutTracksTakesTheSinksOff) {
    data->SetVideoRenderer(video);
    data->SetAudioRenderer(audio);
    data->AttachVideoSink(stream);
    data->AttachAudioSink(stream);
    const auto empty = fakes::MakeStream(nullptr, nullptr);
    data->AttachVideoSink(empty);
    data->AttachAudioSink(empty);
    EXPECT_EQ(videoSide.SinkCount(), 0U);
    EXPECT_EQ(audioSide.SinkCount(), 0U);
    data->UpdateAudioTrackEnabled();  // without a track nothing happens
}

TEST_F(RendererData, StreamBeforeTheRendererIsAttachedWhenAskedAgain) {
    data->AttachVideoSink(stream);
    EXPECT_EQ(videoSide.SinkCount(), 0U);
    data->SetVideoRenderer(video);
    data->AttachVideoSink(stream);
    EXPECT_EQ(videoSide.SinkCount(), 1U);
}

// Nothing is asked of a track as long as there is no sink for it.
TEST_F(RendererData, TrackWithoutASinkIsLeftAlone) {
    videoSide.sinks.BeforeRemove([] { ADD_FAILURE() << "no sink to remove"; });
    audioSide.sinks.BeforeRemove([] { ADD_FAILURE() << "no sink to remove"; });
    for (int repeat = 0; repeat < 2; ++repeat) {
        data->AttachVideoSink(stream);
        data->AttachAudioSink(stream);
    }
    EXPECT_EQ(videoSide.SinkCount(), 0U);
    EXPECT_EQ(audioSide.SinkCount(), 0U);
    data.reset();
    videoSide.sinks.BeforeRemove(nullptr);
    audioSide.sinks.BeforeRemove(nullptr);
}

TEST_F(RendererData, ReplacedSinkIsReleasedButNotTakenOffItsTrack) {
    data->SetVideoRenderer(video);
    data->AttachVideoSink(stream);
    data->SetVideoRenderer(video);
    EXPECT_EQ(videoSide.SinkCount(), 1U);
    data->AttachVideoSink(stream);
    EXPECT_EQ(videoSide.SinkCount(), 2U);
}

TEST_F(RendererData, ReplacedSoundSinkIsReleasedButNotTakenOffItsTrack) {
    data->SetAudioRenderer(audio);
    data->AttachAudioSink(stream);
    data->SetAudioRenderer(audio);
    EXPECT_EQ(audioSide.SinkCount(), 1U);
    data->AttachAudioSink(stream);
    EXPECT_EQ(audioSide.SinkCount(), 2U);
}

TEST_F(RendererData, SinkIgnoresDataAfterItsRendererIsGone) {
    data->SetVideoRenderer(video);
    data->SetAudioRenderer(audio);
    data->AttachVideoSink(stream);
    data->AttachAudioSink(stream);
    video.reset();
    audio.reset();
    EXPECT_EQ(nxWebRtcVideoRenderer::Alive(), 0);
    EXPECT_EQ(nxWebRtcAudioRenderer::Alive(), 0);
    const Picture picture(64, 36, 50);
    videoSide.Deliver(picture.frame);
    const std::int16_t samples[960] = {};
    audioSide.Deliver({samples, 16, 48000, 2, 480});
    EXPECT_FALSE(data->videoReceived.load());
    EXPECT_EQ(host_runtime::BufferGroup::BuffersAlive(), 0);
}

TEST_F(RendererData, EndTakesTheSinksOffTheirTracks) {
    data->SetVideoRenderer(video);
    data->SetAudioRenderer(audio);
    data->AttachVideoSink(stream);
    data->AttachAudioSink(stream);
    data.reset();
    EXPECT_EQ(videoSide.SinkCount(), 0U);
    EXPECT_EQ(audioSide.SinkCount(), 0U);
}

TEST_F(RendererData, AudioTrackStaysDisabledUntilTheHostEnablesIt) {
    data->SetAudioRenderer(audio);
    data->AttachAudioSink(stream);
    EXPECT_FALSE(audioSide.IsEnabled());
    audio->SetAudioEnabled(true);
    EXPECT_TRUE(audioSide.IsEnabled());
}

TEST_F(RendererData, EnablingBeforeTheStreamIsKept) {
    data->SetAudioRenderer(audio);
    audio->SetAudioEnabled(true);
    data->AttachAudioSink(stream);
    EXPECT_TRUE(audioSide.IsEnabled());
}

TEST_F(RendererData, AudioTrackIsEnabledOnlyWhileEnabledAndNotMuted) {
    data->SetAudioRenderer(audio);
    data->AttachAudioSink(stream);
    audio->SetAudioEnabled(true);
    audio->SetAudioMuted(true);
    EXPECT_FALSE(audioSide.IsEnabled());
    audio->SetAudioEnabled(false);
    audio->SetAudioMuted(false);
    EXPECT_FALSE(audioSide.IsEnabled());
    audio->SetAudioEnabled(true);
    EXPECT_TRUE(audioSide.IsEnabled());
}

TEST_F(RendererData, MayEndInsideAFrameCallback) {
    data->SetVideoRenderer(video);
    data->AttachVideoSink(stream);
    fakes::FakeWebRtc::BeforeConversion([this] { data.reset(); });
    const Picture picture(64, 36, 50);
    videoSide.Deliver(picture.frame);
    EXPECT_EQ(nxWebRtcRendererData::Alive(), 0);
    EXPECT_EQ(videoSide.SinkCount(), 0U);
    EXPECT_EQ(Pull(*video, 0)->GetDisplayWidth(), 64);
}

TEST_F(RendererData, RendererMayEndInsideAFrameCallback) {
    data->SetVideoRenderer(video);
    data->AttachVideoSink(stream);
    group.beforeCreate = [this] { video.reset(); };
    const Picture picture(64, 36, 50);
    videoSide.Deliver(picture.frame);
    EXPECT_EQ(nxWebRtcVideoRenderer::Alive(), 0);
}

TEST_F(RendererData, MayEndDuringASoundPullWhileSoundIsDelivered) {
    using namespace std::chrono_literals;
    data->SetAudioRenderer(audio);
    data->AttachAudioSink(stream);
    data->videoReceived = true;
    group.beforeSoundData = [this] { data.reset(); };  // in the middle of the pull, which holds its lock

    support::Mutex mutex;  // guards the two below
    bool delivered = false;
    bool inTime = false;
    support::Condition changed;
    std::thread delivering;
    // As a library would that waits in RemoveSink for the end of a running delivery.
    audioSide.sinks.BeforeRemove([&] {
        delivering = std::thread([&] {
            const std::int16_t samples[960] = {};
            audio->OnAudioData({samples, 16, 48000, 2, 480});
            const support::MutexLock lock(mutex);
            delivered = true;
            changed.NotifyAll();
        });
        const auto deadline = std::chrono::steady_clock::now() + 5s;
        const support::MutexLock lock(mutex);
        while (!delivered && changed.WaitUntil(mutex, deadline)) {
        }
        inTime = delivered;
    });
    Pull(*audio, 0);
    ASSERT_TRUE(delivering.joinable());
    delivering.join();
    EXPECT_TRUE(inTime);
    EXPECT_EQ(nxWebRtcRendererData::Alive(), 0);
    audioSide.sinks.BeforeRemove(nullptr);
}

}  // namespace
