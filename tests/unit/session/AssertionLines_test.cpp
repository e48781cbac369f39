// A line that cannot be written is replaced by an assertion line, and what it tells of happens all the same.
#include <algorithm>
#include <functional>

#include "connection/nxWebRtcConnection.h"
#include "tests/unit/session/FailingLogs.h"
#include "tests/unit/session/SessionTest.h"

namespace {

using tests::LogFailure;

class Bench : public tests::SessionTest {
public:
    Bench() {
        session->onJoinResponse = [](const auto&, const auto&, const auto&) {};
    }
    void TestBody() override {}
    using SessionTest::BecomeOpen;
    using SessionTest::Close;
    using SessionTest::Deliver;
    using SessionTest::Fail;
    using SessionTest::Join;
    using SessionTest::Joined;
    using SessionTest::session;
    using SessionTest::Socket;
    using SessionTest::Start;
    using SessionTest::StartAndOpen;
    std::shared_ptr<fakes::FakePeerConnection> Peer() {
        StartAndOpen();
        connection = Joined("phone");
        connection->Start(nullptr, 0);
        return fakes::FakeWebRtc::LatestPeerConnection();
    }
    std::shared_ptr<nxWebRtcConnection> connection;
};

struct Line {
    const char* name;
    const char* beginning;
    std::function<void(Bench&)> provoke;  // writes the line once and checks what goes with it
    bool ofTheUserLog = false;
};

void PrintTo(const Line& line, std::ostream* out) {
    *out << line.name;
}

void GiveUp(Bench& bench) {
    bench.StartAndOpen();
    for (int error = 0; error < 10; ++error)
        bench.Fail();
    EXPECT_TRUE(bench.session->HasGivenUp());
}

void BeginReconnecting(Bench& bench) {
    bench.StartAndOpen();
    bench.Fail();
    EXPECT_EQ(Bench::Socket()->Openings().size(), 2U);
}

const std::vector<Line>& Lines() {
    static const std::vector<Line> lines = {
        {"Start", "nxWebRtcSession::Start---",
         [](Bench& bench) {
             bench.Start();
             EXPECT_EQ(Bench::Socket()->Openings().size(), 1U);
         }},
        {"Opened", "[rendezvous] socket opened successfully",
         [](Bench& bench) {
             bench.StartAndOpen();
             EXPECT_EQ(Bench::Socket()->Sent().size(), 1U);
             EXPECT_TRUE(bench.session->IsStarted());
         }},
        {"PeerJoined", "[rendezvous] 'peerJoined'",
         [](Bench& bench) {
             bench.StartAndOpen();
             EXPECT_NE(bench.Joined("phone"), nullptr);
         }},
        {"JoinAnswer", "ICE: ",
         [](Bench& bench) {
             int answers = 0;
             bench.session->onJoinResponse = [&answers](const auto&, const auto&, const auto&) { ++answers; };
             bench.StartAndOpen();
             bench.Deliver(R"({"action":"joinMasterResponse","iceServers":[],"result":"OK"})");
             EXPECT_EQ(answers, 1);
             bench.session->onJoinResponse = nullptr;
         }},
        {"PeerDisconnected", "[rendezvous] 'peerDisconnected'",
         [](Bench& bench) {
             int removals = 0;
             bench.session->onConnectionRemoved = [&removals](const auto&) { ++removals; };
             bench.StartAndOpen();
             bench.Join("phone");
             bench.Deliver(R"({"action":"peerDisconnected","peersIdentifier":"phone"})");
             EXPECT_EQ(removals, 1);
             bench.session->onConnectionRemoved = nullptr;
         }},
        {"Error", "[rendezvous] Websocket Error:", &BeginReconnecting},
        {"BeginningReconnection", "[rendezvous] - Websocket error", &BeginReconnecting},
        {"BeginningReconnectionForTheUser", "Rendezvous: Connection error", &BeginReconnecting, true},
        {"ReconnectedForTheUser", "Rendezvous: Reconnection to session succeeded.",
         [](Bench& bench) {
             BeginReconnecting(bench);
             bench.BecomeOpen();
             bench.session->Stop();
             bench.StartAndOpen();  // no second entry: the series has ended
         },
         true},
        {"GivingUp", "[rendezvous] - Websocket unable to reconnect", &GiveUp},
        {"GivingUpForTheUser", "Rendezvous: Session connection failed.", &GiveUp, true},
        {"Closed", "nxWebRtcSession::ClosedHandler()",
         [](Bench& bench) {
             bench.StartAndOpen();
             bench.Close();
             EXPECT_FALSE(bench.session->IsStarted());
         }},
        {"LibraryLog", "webrtc: ",
         [](Bench& bench) {
             bench.session->SetDebugLogging(1);
             fakes::FakeWebRtc::WriteLogLine("line");
         }},
        {"IceConnection", "nxWebRtcConnection::OnIceConnectionChange",
         [](Bench& bench) { EXPECT_TRUE(bench.Peer()->ChangeIceConnection(1)); }},
        {"IceGathering", "nxWebRtcConnection::OnIceGatheringChange",
         [](Bench& bench) { EXPECT_TRUE(bench.Peer()->ChangeIceGathering(1)); }},
        {"Signaling", "nxWebRtcConnection::OnSignalingChange",
         [](Bench& bench) { EXPECT_TRUE(bench.Peer()->ChangeSignaling(1)); }},
        {"Renegotiation", "nxWebRtcConnection::OnRenegotiationNeeded",
         [](Bench& bench) { EXPECT_TRUE(bench.Peer()->RenegotiationNeeded()); }},
        {"Failure", "nxWebRtcConnection::OnFailure",
         [](Bench& bench) { EXPECT_TRUE(bench.Peer()->Fail("why")); }},
    };
    return lines;
}

class AssertionLine : public testing::TestWithParam<Line> {
protected:
    ~AssertionLine() override { tests::FailLinesThatBegin("", LogFailure::Number); }

    static std::vector<std::string> WrittenBy(const Line& line, const std::string& failing,
                                              LogFailure failure) {
        Bench bench;
        tests::FailLinesThatBegin(failing, failure);
        line.provoke(bench);
        return tests::WrittenLines();
    }
};

INSTANTIATE_TEST_SUITE_P(Of, AssertionLine, testing::ValuesIn(Lines()),
                         [](const auto& line) { return std::string(line.param.name); });

// All lines of the same event, with the one that fails replaced in its place and nothing else changed.
TEST_P(AssertionLine, StandsInTheFailedLinesPlace) {
    const Line& line = GetParam();
    const bool log = line.ofTheUserLog;
    const struct {
        LogFailure failure;
        std::string text;
    } rows[] = {
        {LogFailure::RuntimeError, log ? "zUserLog Assert 'no {} room %s'\n" : "zTrace 'no {} room %s'\n"},
        {LogFailure::LogicError, log ? "zUserLog Unknown Assertion\n" : "zTrace Unknown Assertion\n"},
        {LogFailure::Number, log ? "zUserLog Unknown Assertion\n" : "zTrace Unknown Assertion\n"},
    };
    const auto kindOf = [&line, log](const std::string& text) {
        const std::string beginning = log ? text.substr(std::min<std::size_t>(6, text.size())) : text;
        return beginning.starts_with(line.beginning);
    };
    const std::vector<std::string> normal = WrittenBy(line, "", LogFailure::Number);
    ASSERT_GE(std::count_if(normal.begin(), normal.end(), kindOf), 1) << "the line was not written at all";
    for (const auto& row : rows) {
        const std::vector<std::string> replaced = WrittenBy(line, line.beginning, row.failure);
        ASSERT_EQ(replaced.size(), normal.size());
        for (std::size_t index = 0; index < normal.size(); ++index) {
            if (kindOf(normal[index])) {
                EXPECT_EQ(replaced[index], row.text);
            } else if (!normal[index].starts_with("nxWebRtcConnection::")) {  // these tell an address
                EXPECT_EQ(replaced[index], normal[index]);
            }
        }
    }
}

}  // namespace
