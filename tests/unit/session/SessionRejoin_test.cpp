// An attempt to rejoin a previous session: an error ends it without a series, a start or a join answer as
// well.
#include "tests/unit/session/RejoinPending.h"
#include "tests/unit/session/SessionTest.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SessionRejoin : public tests::SessionTest {
protected:
    SessionRejoin() {
        session->onReconnecting = [this](bool began) { trace.push_back(began ? "began" : "ended"); };
        session->onSessionLost = [this](bool previous) {
            trace.push_back(previous ? "not rejoined" : "lost");
        };
    }
    bool& Pending() { return tests::RejoinPending(*session); }
};

TEST_F(SessionRejoin, FailsWithTheNextErrorAndBeginsNoSeries) {
    StartAndOpen();
    Pending() = true;
    trace.clear();
    Fail();
    EXPECT_THAT(trace, ElementsAre("[rendezvous] Websocket Error:1\n", "not rejoined",
                                   "[rendezvous] - Websocket unable to connect to previous session\n"));
    EXPECT_FALSE(Pending());
    EXPECT_TRUE(session->IsStarted());
    EXPECT_EQ(Socket()->CloseCount(), 1);
    time.AdvanceBy(60 * kSecondUs);
    EXPECT_EQ(Socket()->Openings().size(), 1U);
    EXPECT_THAT(UserLogLines(), IsEmpty());
}

TEST_F(SessionRejoin, IsOverBeforeItsOwnerHears) {
    StartAndOpen();
    Pending() = true;
    bool stillPending = true;
    session->onSessionLost = [&](bool) { stillPending = Pending(); };
    Fail();
    EXPECT_FALSE(stillPending);
    session->onSessionLost = nullptr;
}

TEST_F(SessionRejoin, LeavesTheNextErrorToASeries) {
    StartAndOpen();
    Pending() = true;
    Fail();
    Fail();
    EXPECT_EQ(Socket()->Openings().size(), 2U);
    EXPECT_THAT(UserLogLines(), ElementsAre("1 Rendezvous: Connection error - beginning reconnection."));
}

TEST_F(SessionRejoin, NeedsNoOwner) {
    session->onSessionLost = nullptr;
    StartAndOpen();
    Pending() = true;
    Fail();
    EXPECT_EQ(CountOfTrace("[rendezvous] - Websocket unable to connect to previous session\n"), 1);
}

TEST_F(SessionRejoin, IsStoppedByAPermanentErrorUntold) {
    StartAndOpen();
    Pending() = true;
    trace.clear();
    Fail(cWebSocket::Error::Permanent);
    EXPECT_THAT(trace, ElementsAre("[rendezvous] Websocket Error:3\n"));
    EXPECT_FALSE(session->IsStarted());
    EXPECT_TRUE(Pending());
}

TEST_F(SessionRejoin, EndsWithAStartEvenOfAStartedSession) {
    StartAndOpen();
    Pending() = true;
    Start();
    EXPECT_FALSE(Pending());
}

TEST_F(SessionRejoin, EndsWithTheJoinAnswerOnceItWasTold) {
    StartAndOpen();
    Pending() = true;
    Deliver(R"({"action":"joinMasterResponse","iceServers":[],"result":"OK"})");
    EXPECT_TRUE(Pending()) << "nobody listens for the answer";
    bool pendingWhenTold = false;
    session->onJoinResponse = [&](const auto&, const auto&, const auto&) { pendingWhenTold = Pending(); };
    Deliver(R"({"action":"joinMasterResponse","iceServers":[],"result":"NO"})");
    EXPECT_TRUE(pendingWhenTold);
    EXPECT_FALSE(Pending());
    session->onJoinResponse = nullptr;
}

}  // namespace
