#include "connection/nxWebRtcConnection.h"
#include "session/reconnect_delay.h"
#include "tests/unit/session/SessionTest.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Error = cWebSocket::Error;

constexpr const char* kBeginTrace = "[rendezvous] - Websocket error - beginning reconnection\n";
constexpr const char* kBeginLog = "1 Rendezvous: Connection error - beginning reconnection.";
constexpr const char* kGiveUpTrace = "[rendezvous] - Websocket unable to reconnect - giving up\n";
constexpr const char* kGiveUpLog = "1 Rendezvous: Session connection failed. Attempt to reconnect failed.";
constexpr const char* kSuccessLog = "0 Rendezvous: Reconnection to session succeeded.";

class SessionReconnect : public tests::SessionTest {
protected:
    void RecordReports() {
        session->onReconnecting = [this](bool began) { reports.push_back(began ? "began" : "ended"); };
        session->onSessionLost = [this](bool previous) {
            reports.push_back(previous ? "not rejoined" : "lost");
        };
    }
    std::size_t Openings() const { return Socket()->Openings().size(); }
    // Errors until the session gives up, without waiting for the attempts.
    void FailUntilGivenUp() {
        for (int error = 0; error < 10; ++error)
            Fail();
    }
    std::vector<std::string> reports;
};

TEST_F(SessionReconnect, BeginsAtTheFirstErrorWithoutDelay) {
    StartAndOpen();
    RecordReports();
    Socket()->Fail(Error::ConnectFailed);
    time.RunDue();
    EXPECT_EQ(CountOfTrace("[rendezvous] Websocket Error:1\n"), 1);
    EXPECT_EQ(CountOfTrace(kBeginTrace), 1);
    EXPECT_THAT(UserLogLines(), ElementsAre(kBeginLog));
    EXPECT_THAT(reports, ElementsAre("began"));
    EXPECT_EQ(Socket()->CloseCount(), 1);
    ASSERT_EQ(Openings(), 2U);
    EXPECT_EQ(Socket()->Openings()[1].url, kUrl);
    EXPECT_EQ(Socket()->Openings()[1].connectTimeoutSeconds, 2.0);
    EXPECT_EQ(fakes::FakeWebSocket::MadeCount(), 1U);
}

TEST_F(SessionReconnect, WaitsLongerBeforeEachAttemptAndGivesUpAfterNine) {
    StartAndOpen();
    RecordReports();
    Fail();
    for (std::int32_t attempt = 1; attempt <= kLastReconnectAttempt; ++attempt) {
        const std::size_t before = Openings();
        Fail(Error::Lost);
        time.AdvanceBy(attempt * 1'000'001LL - 1);
        EXPECT_EQ(Openings(), before) << attempt;
        time.AdvanceBy(1);
        EXPECT_EQ(Openings(), before + 1) << attempt;
    }
    EXPECT_EQ(Openings(), 10U);
    EXPECT_THAT(UserLogLines(), ElementsAre(kBeginLog));
    EXPECT_THAT(reports, ElementsAre("began"));
    EXPECT_FALSE(session->HasGivenUp());

    Fail();
    EXPECT_EQ(CountOfTrace(kGiveUpTrace), 1);
    EXPECT_THAT(UserLogLines(), ElementsAre(kBeginLog, kGiveUpLog));
    EXPECT_THAT(reports, ElementsAre("began", "ended", "lost"));
    EXPECT_TRUE(session->HasGivenUp());
    EXPECT_TRUE(session->IsStarted());
    time.AdvanceBy(60 * kSecondUs);
    EXPECT_EQ(Openings(), 10U);
}

TEST_F(SessionReconnect, RepeatsGivingUpAtEachFurtherError) {
    StartAndOpen();
    FailUntilGivenUp();
    time.AdvanceBy(60 * kSecondUs);
    RecordReports();
    const std::size_t before = Openings();
    Fail();
    Fail();
    time.AdvanceBy(60 * kSecondUs);
    EXPECT_EQ(Openings(), before);
    EXPECT_EQ(CountOfTrace(kGiveUpTrace), 3);
    EXPECT_THAT(UserLogLines(), ElementsAre(kBeginLog, std::string(kGiveUpLog) + " x3"));
    EXPECT_THAT(reports, ElementsAre("ended", "lost", "ended", "lost"));
}

TEST_F(SessionReconnect, CountsErrorsWhileAnAttemptIsPending) {
    StartAndOpen();
    FailUntilGivenUp();
    EXPECT_TRUE(session->HasGivenUp());
    EXPECT_EQ(CountOfTrace(kGiveUpTrace), 1);
}

TEST_F(SessionReconnect, ReportsOneSuccess) {
    StartAndOpen();
    RecordReports();
    Fail();
    Fail();
    BecomeOpen();
    EXPECT_THAT(UserLogLines(), ElementsAre(kBeginLog, kSuccessLog));
    EXPECT_THAT(reports, ElementsAre("began", "ended"));
    Fail();  // a new series
    EXPECT_THAT(UserLogLines(), ElementsAre(kBeginLog, kSuccessLog, kBeginLog));
}

TEST_F(SessionReconnect, LeavesGivenUpByALaterOpen) {
    StartAndOpen();
    FailUntilGivenUp();
    BecomeOpen();
    EXPECT_FALSE(session->HasGivenUp());
    EXPECT_THAT(UserLogLines(), ElementsAre(kBeginLog, kGiveUpLog));
}

TEST_F(SessionReconnect, TakesNoPendingAttemptAfterASuccess) {
    StartAndOpen();
    Fail();
    Fail();
    const std::size_t before = Openings();
    BecomeOpen();
    time.AdvanceBy(60 * kSecondUs);
    EXPECT_EQ(Openings(), before);
}

TEST_F(SessionReconnect, TakesNoPendingAttemptAfterStop) {
    StartAndOpen();
    const auto connection = Joined("phone");  // keeps the socket
    Fail();
    Fail();
    const auto socket = Socket();
    const std::size_t before = socket->Openings().size();
    session->Stop();
    Start();
    time.AdvanceBy(60 * kSecondUs);
    EXPECT_EQ(socket->Openings().size(), before);
    EXPECT_EQ(Openings(), 1U);
}

TEST_F(SessionReconnect, TakesNoPendingAttemptOnceTheSessionIsGone) {
    StartAndOpen();
    Fail();
    Fail();
    const auto socket = Socket();
    const std::size_t before = socket->Openings().size();
    session.reset();
    time.AdvanceBy(60 * kSecondUs);
    EXPECT_EQ(socket->Openings().size(), before);
}

TEST_F(SessionReconnect, StopsAtAPermanentError) {
    StartAndOpen();
    RecordReports();
    const auto connection = Joined("phone");
    const auto socket = Socket();
    Fail(Error::Permanent);
    EXPECT_FALSE(session->IsStarted());
    EXPECT_EQ(CountOfTrace("[rendezvous] Websocket Error:3\n"), 1);
    EXPECT_EQ(CountOfTrace(kBeginTrace), 0);
    EXPECT_THAT(UserLogLines(), IsEmpty());
    EXPECT_THAT(reports, IsEmpty());
    EXPECT_EQ(socket->CloseCount(), 1);
    time.AdvanceBy(60 * kSecondUs);
    EXPECT_EQ(socket->Openings().size(), 1U);
}

TEST_F(SessionReconnect, StopsAtAPermanentErrorInTheMiddleOfASeries) {
    StartAndOpen();
    Fail();
    Fail();
    Fail(Error::Permanent);
    EXPECT_FALSE(session->IsStarted());
    EXPECT_THAT(UserLogLines(), ElementsAre(kBeginLog));
}

TEST_F(SessionReconnect, RunsBeforeTheFirstOpenToo) {
    Start();
    Fail();
    EXPECT_EQ(Openings(), 2U);
    BecomeOpen();
    EXPECT_THAT(UserLogLines(), ElementsAre(kBeginLog, kSuccessLog));
}

TEST_F(SessionReconnect, NeedsNoOwner) {
    StartAndOpen();
    FailUntilGivenUp();
    EXPECT_TRUE(session->HasGivenUp());
}

TEST_F(SessionReconnect, IsHarmlessWithoutASocket) {
    session->OnSocketError(Error::Lost);
    time.AdvanceBy(60 * kSecondUs);
    EXPECT_EQ(fakes::FakeWebSocket::MadeCount(), 0U);
}

TEST_F(SessionReconnect, IsNotGivenUpOnceStopped) {
    StartAndOpen();
    FailUntilGivenUp();
    session->Stop();
    EXPECT_FALSE(session->HasGivenUp());
}

class SessionClosed : public tests::SessionTest {};

TEST_F(SessionClosed, StopsAfterACleanClose) {
    StartAndOpen();
    Close();
    EXPECT_EQ(CountOfTrace("nxWebRtcSession::ClosedHandler() - error:none wasClean:true\n"), 1);
    EXPECT_FALSE(session->IsStarted());
    EXPECT_EQ(Socket(), nullptr);
    time.AdvanceBy(60 * kSecondUs);
    EXPECT_THAT(UserLogLines(), IsEmpty());
    EXPECT_EQ(fakes::FakeWebSocket::MadeCount(), 1U);
}

TEST_F(SessionClosed, StopsAfterALoss) {
    StartAndOpen();
    Socket()->Lose(Error::Lost);
    time.RunDue();
    EXPECT_EQ(CountOfTrace("nxWebRtcSession::ClosedHandler() - error:2 wasClean:false\n"), 1);
    EXPECT_FALSE(session->IsStarted());
}

TEST_F(SessionClosed, CanBeStartedAgain) {
    StartAndOpen();
    Close();
    StartAndOpen();
    EXPECT_TRUE(session->IsStarted());
    EXPECT_THAT(UserLogLines(), IsEmpty());
}

}  // namespace
