#include <atomic>
#include <thread>

#include "host/media/nxBuffer2.h"
#include "renderers/nxWebRtcAudioRenderer.h"
#include "renderers/nxWebRtcRendererData.h"
#include "renderers/nxWebRtcVideoRenderer.h"
#include "tests/unit/connection/ConnectionTest.h"

namespace {

using fakes::FakeAudioTrack;
using fakes::FakeVideoTrack;

class ConnectionRenderers : public tests::ConnectionTest {
protected:
    struct Remote {
        vo_webrtc::voPointer<vo_webrtc::voVideoTrackInterface> video = fakes::MakeVideoTrack();
        vo_webrtc::voPointer<vo_webrtc::voAudioTrackInterface> audio = fakes::MakeAudioTrack();
        vo_webrtc::voPointer<vo_webrtc::voMediaStreamInterface> stream = fakes::MakeStream(video, audio);

        std::size_t VideoSinks() const { return FakeVideoTrack::Of(video).SinkCount(); }
        std::size_t AudioSinks() const { return FakeAudioTrack::Of(audio).SinkCount(); }
    };

    void Deliver(const Remote& from) {
        FakeVideoTrack::Of(from.video).Deliver(frame);
        FakeAudioTrack::Of(from.audio).Deliver({samples.data(), 16, 48000, 2, 480});
    }
    static void PullOnce(nxRenderer2& renderer, std::int64_t timeUs) {
        nxBuffer2* buffer = nullptr;
        renderer.BufferForParameters(&buffer, {timeUs, 1});
        if (buffer != nullptr) buffer->Release();
    }

    std::vector<std::uint8_t> plane = std::vector<std::uint8_t>(64 * 36, 90);
    vo_webrtc::voI420Frame frame{64, 36, plane.data(), plane.data(), plane.data(), 64, 32, 32};
    std::vector<std::int16_t> samples = std::vector<std::int16_t>(960, 7);
};

TEST_F(ConnectionRenderers, AskedForAfterTheStreamAreAttachedAtOnce) {
    const auto connection = MakeStarted();
    const Remote remote;
    Peer()->AddStream(remote.stream);
    connection->GetVideoRenderer(group);
    connection->GetAudioRenderer(group);
    EXPECT_EQ(remote.VideoSinks(), 1U);
    EXPECT_EQ(remote.AudioSinks(), 1U);
    EXPECT_FALSE(FakeAudioTrack::Of(remote.audio).IsEnabled());
}

TEST_F(ConnectionRenderers, AskedForBeforeTheStreamAreAttachedWhenItArrives) {
    const auto connection = MakeStarted();
    connection->GetVideoRenderer(group);
    const auto audio = connection->GetAudioRenderer(group);
    audio->SetAudioEnabled(true);
    const Remote remote;
    Peer()->AddStream(remote.stream);
    EXPECT_EQ(remote.VideoSinks(), 1U);
    EXPECT_EQ(remote.AudioSinks(), 1U);
    EXPECT_TRUE(FakeAudioTrack::Of(remote.audio).IsEnabled());
}

TEST_F(ConnectionRenderers, StreamIsKeptUntilARendererIsAskedFor) {
    const auto connection = MakeStarted();
    const Remote remote;
    Peer()->AddStream(remote.stream);
    EXPECT_EQ(nxWebRtcRendererData::Alive(), 0);
    connection->GetVideoRenderer(group);
    EXPECT_EQ(remote.VideoSinks(), 1U);
    EXPECT_EQ(remote.AudioSinks(), 0U);
}

TEST_F(ConnectionRenderers, SecondStreamTakesOver) {
    const auto connection = MakeStarted();
    connection->GetVideoRenderer(group);
    connection->GetAudioRenderer(group);
    const Remote first;
    const Remote second;
    Peer()->AddStream(first.stream);
    Peer()->AddStream(second.stream);
    Peer()->AddStream(second.stream);
    EXPECT_EQ(first.VideoSinks() + first.AudioSinks(), 0U);
    EXPECT_EQ(second.VideoSinks(), 1U);
    EXPECT_EQ(second.AudioSinks(), 1U);
}

TEST_F(ConnectionRenderers, StreamReachesThePictureBeforeTheSound) {
    const auto connection = MakeStarted();
    connection->GetVideoRenderer(group);
    connection->GetAudioRenderer(group);
    const Remote first;
    const Remote second;
    Peer()->AddStream(first.stream);
    std::vector<std::string> moved;
    FakeVideoTrack::Of(first.video).sinks.BeforeRemove([&moved] { moved.emplace_back("picture"); });
    FakeAudioTrack::Of(first.audio).sinks.BeforeRemove([&] {
        moved.emplace_back("sound");
        EXPECT_EQ(second.VideoSinks(), 1U);
    });
    Peer()->AddStream(second.stream);
    EXPECT_EQ(moved, (std::vector<std::string>{"picture", "sound"}));
}

TEST_F(ConnectionRenderers, StreamThatArrivesWhileAnOlderOneIsAttachedWins) {
    const auto connection = MakeStarted();
    const Remote first;
    const Remote second;
    Peer()->AddStream(first.stream);
    fakes::BeforeNextTrack(first.stream, [&] { Peer()->AddStream(second.stream); });
    connection->GetVideoRenderer(group);
    EXPECT_EQ(first.VideoSinks(), 0U);
    EXPECT_EQ(second.VideoSinks(), 1U);

    Peer()->AddStream(first.stream);
    fakes::BeforeNextTrack(first.stream, [&] { Peer()->AddStream(second.stream); });
    connection->GetAudioRenderer(group);
    EXPECT_EQ(first.AudioSinks(), 0U);
    EXPECT_EQ(second.AudioSinks(), 1U);
}

TEST_F(ConnectionRenderers, FlagsSurviveARestart) {
    const auto connection = MakeStarted();
    const auto audio = connection->GetAudioRenderer(group);
    audio->SetAudioEnabled(true);
    connection->GetRendererData()->videoReceived = true;
    connection->Start(nullptr, 0);
    EXPECT_TRUE(audio->IsAudioEnabled());
    EXPECT_TRUE(connection->GetRendererData()->videoReceived.load());
}

TEST_F(ConnectionRenderers, OldTracksStayUntilTheNextStream) {
    const auto connection = MakeStarted();
    connection->GetVideoRenderer(group);
    const Remote first;
    Peer()->AddStream(first.stream);
    connection->Start(nullptr, 0);
    EXPECT_EQ(first.VideoSinks(), 1U);
    const Remote second;
    Peer()->AddStream(second.stream);
    EXPECT_EQ(first.VideoSinks(), 0U);
    EXPECT_EQ(second.VideoSinks(), 1U);
}

TEST_F(ConnectionRenderers, EndTakesTheSinksOffTheTracks) {
    auto connection = MakeStarted();
    const auto video = connection->GetVideoRenderer(group);
    const Remote remote;
    Peer()->AddStream(remote.stream);
    connection.reset();
    EXPECT_EQ(remote.VideoSinks(), 0U);
    Deliver(remote);
}

TEST_F(ConnectionRenderers, StreamAndRenderersAtTheSameTimeEndUpAttachedOnce) {
    for (int repeat = 0; repeat < 300; ++repeat) {
        const auto connection = MakeStarted();
        const Remote first;
        const Remote second;
        std::atomic<int> ready{0};
        const auto meet = [&ready] {
            ++ready;
            while (ready.load() < 2)
                std::this_thread::yield();
        };
        std::thread library([&] {
            meet();
            Peer()->AddStream(first.stream);
            Peer()->AddStream(second.stream);
        });
        meet();
        connection->GetVideoRenderer(group);
        connection->GetAudioRenderer(group);
        library.join();
        ASSERT_EQ(first.VideoSinks() + first.AudioSinks(), 0U);
        ASSERT_EQ(second.VideoSinks(), 1U);
        ASSERT_EQ(second.AudioSinks(), 1U);
    }
}

TEST_F(ConnectionRenderers, MediaPullsAndControlsRunSideBySideWhileTheConnectionGoes) {
    for (int repeat = 0; repeat < 20; ++repeat) {
        auto connection = MakeStarted();
        const auto video = connection->GetVideoRenderer(group);
        const auto audio = connection->GetAudioRenderer(group);
        audio->SetAudioEnabled(true);
        const Remote remote;
        const auto peer = Peer();
        std::atomic<bool> stop{false};
        std::thread library([&] {
            peer->AddStream(remote.stream);
            while (!stop.load()) {
                Deliver(remote);
                peer->OfferCreated("v=0", "offer");
            }
        });
        std::thread host([&] {
            mdMediaRecord format(kMediaTypeVideo);
            for (std::int64_t timeUs = 0; !stop.load(); timeUs += 33'333) {
                PullOnce(*video, timeUs);
                PullOnce(*audio, timeUs);
                video->OutputFormat(kMediaTypeVideo, format, 0);
            }
        });
        for (int step = 0; step < 50; ++step) {
            connection->SetOnAir(step % 2 == 0);
            video->SetVideoMuted(step % 3 == 0);
            audio->SetAudioMuted(step % 5 == 0);
            audio->SetRamsValue(static_cast<std::uint32_t>(step));
            connection->SetPeersIdentifier(std::to_string(step));
            if (step == 25) connection->SetSocket(std::make_shared<fakes::FakeWebSocket>());
        }
        connection.reset();  // perhaps not the last reference: one may be held by a callback
        stop = true;
        library.join();
        host.join();
        EXPECT_EQ(nxWebRtcConnection::Alive(), 0);
        EXPECT_EQ(remote.VideoSinks() + remote.AudioSinks(), 0U);
    }
}

}  // namespace
