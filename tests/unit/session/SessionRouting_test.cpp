// Which messages reach a connection, and how deep a message may nest.
#include "connection/nxWebRtcConnection.h"
#include "tests/unit/session/SessionTest.h"

namespace {

class SessionRoutes : public tests::SessionTest {
protected:
    int CountOfDropped() const {
        return CountOfTrace("nxWebRtcSession::OnSocketMessage - nested too deeply, dropped\n");
    }
    void DeliverNested(int depth) {
        const auto brackets = static_cast<std::size_t>(depth - 1);
        Deliver(R"({"action":"other","value":)" + std::string(brackets, '[') + std::string(brackets, ']') +
                "}");
    }
};

TEST_F(SessionRoutes, LeadNobodyToAConnectionThatNoPhoneJoined) {
    StartAndOpen();
    const auto connection = session->CreateConnectionForSource("source");
    connection->Start(nullptr, 0);
    Deliver(R"({"action":"gotAnswer","sdp":"v=0","type":"answer"})");
    Deliver(R"({"action":"gotAnswer","peersIdentifier":"","sdp":"v=0","type":"answer"})");
    EXPECT_EQ(fakes::FakeWebRtc::LatestPeerConnection()->CountOfCalls("SetRemoteDescription"), 0);
}

TEST_F(SessionRoutes, AreClosedToAMessageThatNestsDeeperThan32) {
    StartAndOpen();
    DeliverNested(32);
    EXPECT_EQ(CountOfDropped(), 0);
    DeliverNested(33);
    EXPECT_EQ(CountOfDropped(), 1);
}

}  // namespace
