#include "connection/nxWebRtcConnection.h"
#include "host_runtime/core/TraceOutput.h"
#include "host_runtime/core/UserLog.h"
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

TEST_F(SessionReconnect, ReportsNoSuccessOfALaterOpenWithoutErrors) {
    StartAndOpen();
    Fail();
    BecomeOpen();
    Close();
    StartAndOpen();
    EXPECT_THAT(UserLogLines(), ElementsAre(kBeginLog, kSuccessLog));
}

TEST_F(SessionReconnect, LeavesGivenUpByALaterOpen) {
    StartAndOpen();
    FailUntilGivenUp();
    BecomeOpen();
    EXPECT_FALSE(session->HasGivenUp());
    EXPECT_THAT(UserLogLines(), ElementsAre(kBeginLog, kGiveUpLog));
    Fail();  // a new series
    EXPECT_THAT(UserLogLines(), ElementsAre(kBeginLog, kGiveUpLog, kBeginLog));
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
    RecordReports();
    session->OnSocketError(Error::Lost);
    time.AdvanceBy(60 * kSecondUs);
    EXPECT_EQ(fakes::FakeWebSocket::MadeCount(), 0U);
    EXPECT_THAT(trace, ElementsAre("[rendezvous] Websocket Error:2\n", kBeginTrace));
    EXPECT_THAT(UserLogLines(), ElementsAre(kBeginLog));
    EXPECT_THAT(reports, ElementsAre("began"));
}

// The end of the series needs no socket, the join does.
TEST_F(SessionReconnect, EndsWithAnOpenThatComesAfterAStop) {
    StartAndOpen();
    for (int error = 0; error < 3; ++error)
        Fail();
    session->Stop();
    session->OnSocketOpened();
    EXPECT_FALSE(session->IsStarted());
    Start();
    Fail();
    EXPECT_EQ(Openings(), 2U) << "the first attempt of a new series waits for nothing";
    EXPECT_THAT(UserLogLines(), ElementsAre(std::string(kBeginLog) + " x2"));
}

TEST_F(SessionReconnect, StopsAtAPermanentErrorOnceGivenUp) {
    StartAndOpen();
    FailUntilGivenUp();
    Fail(Error::Permanent);
    EXPECT_FALSE(session->IsStarted());
    EXPECT_THAT(UserLogLines(), ElementsAre(kBeginLog, kGiveUpLog));
    EXPECT_EQ(CountOfTrace(kGiveUpTrace), 1);
}

TEST_F(SessionReconnect, IsNotGivenUpOnceStopped) {
    StartAndOpen();
    FailUntilGivenUp();
    session->Stop();
    EXPECT_FALSE(session->HasGivenUp());
}

// A session that stops keeps its count and its being in a series: only an open ends the series.
TEST_F(SessionReconnect, GoesOnCountingOverAStop) {
    StartAndOpen();
    for (int error = 0; error < 3; ++error)
        Fail();
    session->Stop();
    Start();
    Fail();  // the fourth: attempt 3
    time.AdvanceBy(3'000'002);
    EXPECT_EQ(Openings(), 1U);
    time.AdvanceBy(1);
    EXPECT_EQ(Openings(), 2U);
    EXPECT_THAT(UserLogLines(), ElementsAre(kBeginLog));
    BecomeOpen();
    EXPECT_THAT(UserLogLines(), ElementsAre(kBeginLog, kSuccessLog));
}

TEST_F(SessionReconnect, GivesUpAtOnceInASessionThatHadGivenUpBeforeItStopped) {
    StartAndOpen();
    FailUntilGivenUp();
    session->Stop();
    Start();
    Fail();
    time.AdvanceBy(60 * kSecondUs);
    EXPECT_EQ(Openings(), 1U);
    EXPECT_EQ(CountOfTrace(kGiveUpTrace), 2);
    EXPECT_EQ(CountOfTrace(kBeginTrace), 1);
}

TEST_F(SessionReconnect, KeepsItsCountAtAPermanentError) {
    StartAndOpen();
    Fail();
    Fail(Error::Permanent);
    Start();
    Fail();  // the second that counts: attempt 1
    EXPECT_EQ(Openings(), 1U);
    time.AdvanceBy(1'000'001);
    EXPECT_EQ(Openings(), 2U);
}

TEST_F(SessionReconnect, DoesEverythingInItsOrder) {
    StartAndOpen();
    std::vector<std::string> events;
    host_runtime::SetTraceSink([&](zFourCC, const std::string& text) {
        events.push_back("trace " + text.substr(0, text.size() - 1));
    });
    host_runtime::SetUserLogListener(
        [&](const host_runtime::UserLogEntry& entry) { events.push_back("log " + entry.text); });
    session->onReconnecting = [&](bool began) {
        events.push_back("reconnecting " + std::to_string(began) + " closed " +
                         std::to_string(Socket()->CloseCount()));
    };
    session->onSessionLost = [&](bool previous) {
        events.push_back("lost " + std::to_string(previous) + " given up " +
                         std::to_string(session->HasGivenUp()));
    };
    Fail(Error::Protocol);
    BecomeOpen();
    FailUntilGivenUp();
    host_runtime::SetTraceSink({});
    host_runtime::SetUserLogListener({});
    std::vector<std::string> expected = {"trace [rendezvous] Websocket Error:4",
                                         "reconnecting 1 closed 1",
                                         "trace [rendezvous] - Websocket error - beginning reconnection",
                                         "log Rendezvous: Connection error - beginning reconnection.",
                                         "trace [rendezvous] socket opened successfully",
                                         "log Rendezvous: Reconnection to session succeeded.",
                                         "reconnecting 0 closed 1",
                                         "trace [rendezvous] Websocket Error:1",
                                         "reconnecting 1 closed 2",
                                         "trace [rendezvous] - Websocket error - beginning reconnection",
                                         "log Rendezvous: Connection error - beginning reconnection."};
    expected.insert(expected.end(), 9, "trace [rendezvous] Websocket Error:1");
    expected.insert(expected.end(),
                    {"reconnecting 0 closed 11", "lost 0 given up 1",
                     "trace [rendezvous] - Websocket unable to reconnect - giving up",
                     "log Rendezvous: Session connection failed. Attempt to reconnect failed."});
    EXPECT_EQ(events, expected);
}

TEST_F(SessionReconnect, ReopensAtTheUrlAndTimeoutOfTheLastStart) {
    session->Start("{}", "ws://127.0.0.7:9001/", 3.5);
    Fail();
    ASSERT_EQ(Openings(), 2U);
    EXPECT_EQ(Socket()->Openings()[1].url, "ws://127.0.0.7:9001/");
    EXPECT_EQ(Socket()->Openings()[1].connectTimeoutSeconds, 3.5);
}

// The owner may end the session from within its report.
TEST_F(SessionReconnect, EndsWithAnOwnerThatStopsItWhenItBegins) {
    StartAndOpen();
    session->onReconnecting = [this](bool) { session->Stop(); };
    const auto socket = Socket();
    Fail();
    time.AdvanceBy(60 * kSecondUs);
    EXPECT_EQ(socket->Openings().size(), 1U);
    session->onReconnecting = nullptr;
}

class SessionClosed : public tests::SessionTest {};

TEST_F(SessionClosed, TellsEveryErrorCode) {
    for (const auto error : {Error::ConnectFailed, Error::Lost, Error::Permanent, Error::Protocol}) {
        session->ClosedHandler(error, true);
        EXPECT_EQ(CountOfTrace("nxWebRtcSession::ClosedHandler() - error:" +
                               std::to_string(static_cast<int>(error)) + " wasClean:true\n"),
                  1);
    }
    session->ClosedHandler(std::nullopt, false);
    EXPECT_EQ(CountOfTrace("nxWebRtcSession::ClosedHandler() - error:none wasClean:false\n"), 1);
}

TEST_F(SessionClosed, StopsEvenInTheMiddleOfASeries) {
    StartAndOpen();
    Fail();
    Fail();
    const auto socket = Socket();
    Close();
    time.AdvanceBy(60 * kSecondUs);
    EXPECT_EQ(socket->Openings().size(), 2U);
    EXPECT_THAT(UserLogLines(), ElementsAre(kBeginLog));
}

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
