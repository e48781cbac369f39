// In which order the parts of a connection go, and what outlives it.
#include "host/media/nxBufferGroup2.h"
#include "renderers/nxWebRtcAudioRenderer.h"
#include "renderers/nxWebRtcRendererData.h"
#include "renderers/nxWebRtcVideoRenderer.h"
#include "tests/unit/connection/ConnectionTest.h"

namespace {

using fakes::FakeAudioTrack;
using fakes::FakeVideoTrack;
using fakes::FakeWebRtc;
using testing::ElementsAre;

// Tells when a renderer lets it go.
class TellingGroup final : public nxBufferGroup2 {
public:
    explicit TellingGroup(std::function<void()> tell) : atRelease(std::move(tell)) {}
    ~TellingGroup() override = default;

    std::uint32_t AddRef() override { return ++references; }
    std::uint32_t Release() override {
        atRelease();
        return --references;
    }
    zStatus CreateBuffer(const mdMediaRecord&, nxBuffer2**) override { return kStatusFailed; }
    zStatus CreateBuffer(const mdMediaRecord&, std::int32_t, std::uint32_t, nxBuffer2**) override {
        return kStatusFailed;
    }
    nxBuffer2* CreateColoredBuffer(std::int32_t, std::int32_t, std::uint32_t) override { return nullptr; }

private:
    const std::function<void()> atRelease;
    std::uint32_t references = 0;
};

class TellingSocket final : public fakes::FakeWebSocket {
public:
    explicit TellingSocket(std::function<void()> tell) : atEnd(std::move(tell)) {}
    ~TellingSocket() override { atEnd(); }

private:
    const std::function<void()> atEnd;
};

class ConnectionEnd : public tests::ConnectionTest {
protected:
    std::function<void()> Telling(const char* what) {
        return [this, what] { ended.emplace_back(what); };
    }
    // Gives the connection a stream of which the test keeps nothing.
    void DeliverStream() {
        const auto video = fakes::MakeVideoTrack();
        const auto audio = fakes::MakeAudioTrack();
        FakeVideoTrack::Of(video).sinks.BeforeRemove([this] {
            ended.emplace_back("picture sink");
            EXPECT_EQ(Peer()->Calls().back(), "SetObserver null");
        });
        FakeAudioTrack::Of(audio).sinks.BeforeRemove(Telling("sound sink"));
        Peer()->AddStream(fakes::MakeStream(video, audio));
    }

    std::vector<std::string> ended;
};

TEST_F(ConnectionEnd, DetachesTheObserverAndLetsThePartsGoInReverseOrder) {
    TellingGroup pictures(Telling("picture object"));
    TellingGroup sound(Telling("sound object"));
    std::int64_t objectsWithStream = 0;
    socket = std::make_shared<TellingSocket>([&] {
        ended.emplace_back("socket");
        objectsWithStream = FakeWebRtc::LivingObjects();
    });
    auto connection = MakeStarted();
    connection->GetVideoRenderer(&pictures);
    connection->GetAudioRenderer(&sound);
    DeliverStream();
    std::int64_t objectsAtTheLast = 0;
    connection->GetStats([&](const nxWebRtcStats&) {  // answered when the peer connection goes
        ended.emplace_back("peer connection");
        objectsAtTheLast = FakeWebRtc::LivingObjects();
    });
    factory = nullptr;
    socket.reset();
    connection.reset();
    EXPECT_THAT(ended, ElementsAre("sound object", "picture object", "picture sink", "sound sink", "socket",
                                   "peer connection"));
    EXPECT_EQ(objectsWithStream - objectsAtTheLast, 3) << "the stream and its two tracks";
    EXPECT_EQ(objectsAtTheLast, 4) << "with factory, observer and the request that is answered";
    EXPECT_EQ(FakeWebRtc::LivingObjects(), 0);
}

TEST_F(ConnectionEnd, LeavesTheRenderersToTheHostsCount) {
    auto connection = Make();
    nxWebRtcVideoRenderer* const video = connection->GetVideoRenderer(group).get();
    nxWebRtcAudioRenderer* const audio = connection->GetAudioRenderer(group).get();
    video->AddRef();
    audio->AddRef();
    connection.reset();
    EXPECT_EQ(nxWebRtcVideoRenderer::Alive(), 1);
    EXPECT_EQ(nxWebRtcAudioRenderer::Alive(), 1);
    EXPECT_EQ(video->Release(), 0U);
    EXPECT_EQ(audio->Release(), 0U);
    EXPECT_EQ(nxWebRtcVideoRenderer::Alive(), 0);
    EXPECT_EQ(nxWebRtcAudioRenderer::Alive(), 0);
}

using ConnectionRestart = ConnectionEnd;

TEST_F(ConnectionRestart, LetsTheOldPeerConnectionGoBeforeItAsksTheNewOne) {
    const auto connection = MakeStarted();
    std::size_t made = 0;
    std::vector<std::string> calls = {"none were looked at"};
    connection->GetStats([&](const nxWebRtcStats&) {
        made = FakeWebRtc::PeerConnections().size();
        calls = Peer()->Calls();
    });
    connection->Start(nullptr, 0);
    EXPECT_EQ(made, 2U);
    EXPECT_THAT(calls, testing::IsEmpty());
}

TEST_F(ConnectionRestart, LeavesNothingOfTheOldOne) {
    const auto connection = MakeStarted();
    const std::int64_t before = FakeWebRtc::LivingObjects();
    connection->Start(nullptr, 0);
    EXPECT_EQ(FakeWebRtc::LivingObjects(), before);
}

}  // namespace
