// Library threads and the main thread use one connection at the same time. What is held here shows under the
// thread sanitizer: a lock too few is a race.
#include <array>
#include <atomic>
#include <string>
#include <thread>

#include "connection/nxWebRtcConnectionObserver.h"
#include "renderers/nxWebRtcAudioRenderer.h"
#include "renderers/nxWebRtcVideoRenderer.h"
#include "tests/fakes/webrtc/FakeTracks.h"
#include "tests/unit/connection/ConnectionTest.h"

namespace {

using tests::ConnectionTest;
using Observer = vo_webrtc::voPointer<vo_webrtc::voPeerConnectionInterface::Observer>;
using Stream = vo_webrtc::voPointer<vo_webrtc::voMediaStreamInterface>;

// Lets two threads go at the same moment. Relaxed, so that it orders nothing between them for the sanitizer.
class StartLine {
public:
    void Wait() {
        waiting.fetch_add(1, std::memory_order_relaxed);
        while (waiting.load(std::memory_order_relaxed) < 2)
            std::this_thread::yield();
    }

private:
    std::atomic<int> waiting{0};
};

template <class OnLibraryThread, class OnMainThread>
void AtTheSameTime(OnLibraryThread onLibraryThread, OnMainThread onMainThread) {
    StartLine line;
    std::thread library([&] {
        line.Wait();
        onLibraryThread();
    });
    line.Wait();
    onMainThread();
    library.join();
}

class ConnectionThreads : public ConnectionTest {
protected:
    static Stream NewStream() { return fakes::MakeStream(fakes::MakeVideoTrack(), fakes::MakeAudioTrack()); }

    static constexpr int kRounds = 3000;
    static constexpr int kConnections = 300;
};

TEST_F(ConnectionThreads, MessagesGoOutWhileTheMainThreadChangesWhatTheySay) {
    const auto connection = MakeStarted();
    const Observer observer = Peer()->CurrentObserver();
    const auto otherSocket = std::make_shared<fakes::FakeWebSocket>();
    AtTheSameTime(
        [&] {
            for (int round = 0; round < kRounds; ++round) {
                observer->OnIceCandidate(fakes::MakeIceCandidate("candidate:1", "video0", "0"));
                observer->OnOfferCreated("v=0", "offer");
            }
        },
        [&] {
            for (int round = 0; round < kRounds; ++round) {
                connection->SetSocket(round % 2 == 0 ? otherSocket : socket);
                connection->SetPeersIdentifier("phone-" + std::to_string(round));
                connection->SetSessionGuid("guid-" + std::to_string(round));
            }
        });
    EXPECT_EQ(socket->Sent().size() + otherSocket->Sent().size(), 2U * kRounds);
}

TEST_F(ConnectionThreads, AStreamAndTheRenderersThatWantItMeet) {
    for (int round = 0; round < kConnections; ++round) {
        const auto connection = MakeStarted();
        const Observer observer = Peer()->CurrentObserver();
        const auto video = fakes::MakeVideoTrack();
        const auto audio = fakes::MakeAudioTrack();
        const Stream stream = fakes::MakeStream(video, audio);
        AtTheSameTime([&] { observer->OnAddStream(stream); },
                      [&] {
                          connection->GetVideoRenderer(group);
                          connection->GetAudioRenderer(group);
                      });
        EXPECT_EQ(fakes::FakeVideoTrack::Of(video).SinkCount(), 1U) << "round " << round;
        EXPECT_EQ(fakes::FakeAudioTrack::Of(audio).SinkCount(), 1U) << "round " << round;
        fakes::FakeWebRtc::Forget();
    }
}

TEST_F(ConnectionThreads, AStreamMayChangeWhileRenderersAreAskedFor) {
    for (int round = 0; round < kConnections; ++round) {
        const auto connection = MakeStarted();
        connection->GetRendererData();
        const Observer observer = Peer()->CurrentObserver();
        const std::array<Stream, 3> streams = {NewStream(), NewStream(), NewStream()};
        AtTheSameTime(
            [&] {
                for (const Stream& stream : streams)
                    observer->OnAddStream(stream);
            },
            [&] {
                connection->GetVideoRenderer(group);
                connection->GetAudioRenderer(group);
            });
        EXPECT_EQ(fakes::FakeVideoTrack::Of(streams[2]->VideoTrack(0)).SinkCount(), 1U);
        EXPECT_EQ(fakes::FakeVideoTrack::Of(streams[0]->VideoTrack(0)).SinkCount(), 0U);
        EXPECT_EQ(fakes::FakeAudioTrack::Of(streams[2]->AudioTrack(0)).SinkCount(), 1U);
        EXPECT_EQ(fakes::FakeAudioTrack::Of(streams[0]->AudioTrack(0)).SinkCount(), 0U);
        fakes::FakeWebRtc::Forget();
    }
}

TEST_F(ConnectionThreads, MutesMeetANewStream) {
    for (int round = 0; round < kConnections; ++round) {
        const auto connection = MakeStarted();
        connection->GetVideoRenderer(group);
        const auto audio = connection->GetAudioRenderer(group);
        const Observer observer = Peer()->CurrentObserver();
        const Stream stream = NewStream();
        AtTheSameTime([&] { observer->OnAddStream(stream); },
                      [&] {
                          audio->SetAudioEnabled(true);
                          audio->SetAudioMuted(true);
                          audio->SetAudioMuted(false);
                      });
        EXPECT_TRUE(fakes::FakeAudioTrack::Of(stream->AudioTrack(0)).IsEnabled());
        fakes::FakeWebRtc::Forget();
    }
}

TEST_F(ConnectionThreads, TallyGoesOutWhileTheSocketAndTheirPhoneChange) {
    const auto connection = MakeStarted();
    const auto video = connection->GetVideoRenderer(group);
    connection->GetAudioRenderer(group)->SetAudioMuted(true);  // so that the picture's mute decides
    const auto otherSocket = std::make_shared<fakes::FakeWebSocket>();
    connection->SetOnAir(true);
    AtTheSameTime(
        [&] {
            for (int round = 0; round < kRounds; ++round)
                video->SetVideoMuted(round % 2 == 0);
        },
        [&] {
            for (int round = 0; round < kRounds; ++round) {
                connection->SetSocket(round % 2 == 0 ? otherSocket : socket);
                connection->SetPeersIdentifier(round % 2 == 0 ? "phone-1" : "phone-2");
            }
        });
    EXPECT_GT(socket->Sent().size() + otherSocket->Sent().size(), 1U);
}

}  // namespace
