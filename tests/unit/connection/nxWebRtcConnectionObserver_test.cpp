#include "connection/nxWebRtcConnectionObserver.h"

#include <functional>

#include "tests/unit/connection/ConnectionTest.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ConnectionObserver : public tests::ConnectionTest {
protected:
    const std::string& Prefix(const char* operation) {
        prefix = std::string("nxWebRtcConnection::") + operation + " - " + AddressOf(*connection);
        return prefix;
    }

    tests::TraceCapture trace;
    std::shared_ptr<nxWebRtcConnection> connection = MakeStarted();
    std::string prefix;
};

TEST_F(ConnectionObserver, TracesIceConnectionStates) {
    Peer()->ChangeIceConnection(0);
    Peer()->ChangeIceConnection(5);
    Peer()->ChangeIceConnection(9);
    const std::string& line = Prefix("OnIceConnectionChange");
    EXPECT_THAT(trace.Notes(), ElementsAre(line + " IceConnectionNew\n",
                                           line + " IceConnectionDisconnected\n", line + " \n"));
}

TEST_F(ConnectionObserver, TracesIceGatheringStates) {
    Peer()->ChangeIceGathering(2);
    Peer()->ChangeIceGathering(3);
    const std::string& line = Prefix("OnIceGatheringChange");
    EXPECT_THAT(trace.Notes(), ElementsAre(line + " IceGatheringComplete\n", line + " \n"));
}

TEST_F(ConnectionObserver, TracesSignalingStates) {
    Peer()->ChangeSignaling(1);
    Peer()->ChangeSignaling(6);
    const std::string& line = Prefix("OnSignalingChange");
    EXPECT_THAT(trace.Notes(), ElementsAre(line + " HaveLocalOffer\n", line + " \n"));
}

TEST_F(ConnectionObserver, TracesRenegotiation) {
    Peer()->RenegotiationNeeded();
    EXPECT_THAT(trace.Notes(), ElementsAre(Prefix("OnRenegotiationNeeded") + "\n"));
}

TEST_F(ConnectionObserver, TracesFailuresAlsoWithoutAText) {
    Peer()->Fail("100 % {} %s");
    Peer()->Fail(nullptr);
    const std::string& line = Prefix("OnFailure");
    EXPECT_THAT(trace.Notes(), ElementsAre(line + " 100 % {} %s\n", line + " \n"));
}

TEST_F(ConnectionObserver, StatesAndFailuresOnlyTrace) {
    Peer()->ChangeIceConnection(4);
    Peer()->Fail("broken");
    Peer()->RenegotiationNeeded();
    EXPECT_TRUE(connection->HasPeerConnection());
    EXPECT_THAT(Peer()->Calls(), ElementsAre("SetObserver", "CreateOffer"));
    EXPECT_THAT(socket->Sent(), IsEmpty());
}

TEST_F(ConnectionObserver, RemovedStreamIsDropped) {
    EXPECT_TRUE(Peer()->RemoveStream(fakes::MakeStream(nullptr, nullptr)));
    EXPECT_THAT(trace.Notes(), IsEmpty());
}

TEST_F(ConnectionObserver, DoesNothingAfterTheConnectionIsGone) {
    const auto observer = Peer()->CurrentObserver();
    connection.reset();
    observer->OnAddStream(fakes::MakeStream(fakes::MakeVideoTrack(), fakes::MakeAudioTrack()));
    observer->OnRemoveStream(nullptr);
    observer->OnRenegotiationNeeded();
    observer->OnFailure("broken");
    observer->OnIceCandidate(fakes::MakeIceCandidate("a", "0", "0"));
    observer->OnOfferCreated("v=0", "offer");
    observer->OnAnswerCreated("v=0", "answer");
    observer->OnIceConnectionChange(1);
    observer->OnIceGatheringChange(1);
    observer->OnSignalingChange(1);
    EXPECT_THAT(socket->Sent(), IsEmpty());
    EXPECT_THAT(trace.Notes(), IsEmpty());
}

TEST_F(ConnectionObserver, DoesNotKeepTheConnectionAlive) {
    const auto observer = Peer()->CurrentObserver();
    connection.reset();
    EXPECT_EQ(nxWebRtcConnection::Alive(), 0);
}

// Lets its last outside reference go while it sends.
class EndingConnection : public nxWebRtcConnection {
public:
    using nxWebRtcConnection::nxWebRtcConnection;
    void SendOffer(const char* sdp, const char* type) override {
        letGo();
        nxWebRtcConnection::SendOffer(sdp, type);
    }
    std::function<void()> letGo;
};

TEST_F(ConnectionObserver, HoldsTheConnectionUntilTheCallReturns) {
    auto ending = Make<EndingConnection>();
    ending->Start(nullptr, 0);
    ending->letGo = [&ending] { ending.reset(); };
    const auto peer = Peer();
    EXPECT_TRUE(peer->OfferCreated("v=0", "offer"));
    EXPECT_EQ(socket->Sent().size(), 1U);
    EXPECT_FALSE(peer->IsReferenced());
    EXPECT_EQ(nxWebRtcConnection::Alive(), 1);  // only the fixture's
}

TEST_F(ConnectionObserver, StaleOneOfAnEarlierStartStillReachesTheConnection) {
    const auto stale = Peer()->CurrentObserver();
    connection->Start(nullptr, 0);
    stale->OnOfferCreated("v=0",
                          "offer");  // a library would not call it; the connection does not tell them apart
    EXPECT_EQ(socket->Sent().size(), 1U);
}

}  // namespace
