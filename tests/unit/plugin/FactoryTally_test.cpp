// The tally on every way that leads to a phone: the host's one value for all sources, its state of one
// source, mutes, phones that join before and after, sockets that were lost. All through the factory's
// operations, the messages read off the socket.
#include "host/renderer/nxAudioControlsXI.h"
#include "host/renderer/nxVideoControlsXI.h"
#include "host_runtime/sources/HostPointer.h"
#include "tests/unit/plugin/FactoryTest.h"

namespace {

using fakes::FakeWebRtc;
using fakes::FakeWebSocket;
using host_runtime::HostPointer;
using testing::ElementsAre;
using testing::IsEmpty;

class FactoryTally : public tests::FactoryTest {
protected:
    static std::string Message(const std::string& peer, bool value) {
        return R"({"action":"broadcastToPeers","subaction":"tallyStateChanged","tallyPeerIdentifier":")" +
               peer + R"(","value":)" + (value ? "true" : "false") + "}";
    }
    static std::string Lit() { return Message("phone", true); }
    static std::string Dark() { return Message("phone", false); }

    void MakeRenderers(const std::string& identifier = "source") {
        Renderer(identifier, "vido");
        Renderer(identifier, "audo");
    }
    std::shared_ptr<FakeWebSocket> JoinedWithRenderers(const std::string& identifier,
                                                       const std::string& address = kAddress,
                                                       const std::string& phone = "phone") {
        const auto socket = ActivateAndOpen(identifier, address);
        Join(socket, phone, identifier);
        MakeRenderers(identifier);
        socket->TakeSent();
        return socket;
    }
    // After a close: a new socket, opened, with the phone joined again; what was sent since the join.
    std::vector<std::string> SentWhenRegained(const std::string& phone = "phone") {
        time.AdvanceBy(6 * kSecondUs);
        const auto socket = Socket();
        Open(socket);
        socket->TakeSent();
        Join(socket, phone, "source");
        return socket->TakeSent();
    }
    void MuteVideo(bool muted, const std::string& identifier = "source") {
        void* part = nullptr;
        ASSERT_EQ(Renderer(identifier, "vido")->QueryInterface("nxVideoControlsXI", &part), kStatusOk);
        HostPointer<nxVideoControlsXI>::Adopt(static_cast<nxVideoControlsXI*>(part))->SetVideoMuted(muted);
    }
    void MuteAudio(bool muted, const std::string& identifier = "source") {
        void* part = nullptr;
        ASSERT_EQ(Renderer(identifier, "audo")->QueryInterface("nxAudioControlsXI", &part), kStatusOk);
        HostPointer<nxAudioControlsXI>::Adopt(static_cast<nxAudioControlsXI*>(part))->SetAudioMuted(muted);
    }
};

// Both ways in which a host tells a source's state.
class FactoryTallyWay : public FactoryTally, public testing::WithParamInterface<bool> {
protected:
    void Tell(std::uint32_t state) {
        if (GetParam()) {
            factory->ForwardToSession("source", state);
        } else {
            factory->SetTallyValue(state);
        }
    }
};

INSTANTIATE_TEST_SUITE_P(Of, FactoryTallyWay, testing::Bool(), [](const auto& way) {
    return way.param ? std::string("OneSource") : std::string("AllSources");
});

TEST_P(FactoryTallyWay, MapsTheHostsStates) {
    const auto socket = JoinedWithRenderers("source");
    for (const std::uint32_t on : {1U, 2U}) {
        Tell(on);
        EXPECT_THAT(socket->TakeSent(), ElementsAre(Lit())) << on;
        for (const std::uint32_t ignored : {on, 0U, 3U, 6U, 100U, 0x80000004U, 0xFFFFFFFFU}) {
            Tell(ignored);
            EXPECT_THAT(socket->TakeSent(), IsEmpty()) << ignored;
        }
        const std::uint32_t off = on + 3;
        Tell(off);
        EXPECT_THAT(socket->TakeSent(), ElementsAre(Dark())) << off;
        Tell(off);
        EXPECT_THAT(socket->TakeSent(), IsEmpty()) << off;
    }
    EXPECT_THAT(FakeWebRtc::LogSettings(), IsEmpty());
}

TEST_P(FactoryTallyWay, BeforeTheSocketOpensReachesThePhoneWhenItJoins) {
    Activate("source");
    MakeRenderers();
    Tell(1);
    const auto socket = Socket();
    Open(socket);
    socket->TakeSent();
    Join(socket, "phone", "source");
    EXPECT_THAT(socket->TakeSent(), ElementsAre(Lit()));
}

TEST_P(FactoryTallyWay, BeforeTheJoinReachesThePhoneWhenItJoins) {
    const auto socket = ActivateAndOpen("source");
    MakeRenderers();
    socket->TakeSent();
    Tell(2);
    EXPECT_THAT(socket->TakeSent(), IsEmpty());
    Join(socket, "phone", "source");
    EXPECT_THAT(socket->TakeSent(), ElementsAre(Lit()));
}

TEST_P(FactoryTallyWay, BeforeTheRenderersReachesThePhoneWhenTheyAreMade) {
    const auto socket = ActivateAndOpen("source");
    Join(socket, "phone", "source");
    socket->TakeSent();
    Tell(1);
    EXPECT_THAT(socket->TakeSent(), IsEmpty());
    Renderer("source", "audo");
    EXPECT_THAT(socket->TakeSent(), ElementsAre(Lit()));
    Renderer("source", "vido");
    EXPECT_THAT(socket->TakeSent(), IsEmpty());
}

TEST_P(FactoryTallyWay, BeforeJoinAndRenderersReachesThePhone) {
    const auto socket = ActivateAndOpen("source");
    Tell(1);
    Join(socket, "phone", "source");
    socket->TakeSent();
    MakeRenderers();
    EXPECT_THAT(socket->TakeSent(), ElementsAre(Lit()));
}

TEST_P(FactoryTallyWay, IsNotRepeatedOverANewSocket) {
    const auto socket = JoinedWithRenderers("source");
    Tell(1);
    Close(socket);
    EXPECT_THAT(SentWhenRegained(), IsEmpty());
    Tell(5);
    EXPECT_THAT(Socket()->TakeSent(), ElementsAre(Dark()));
}

TEST_P(FactoryTallyWay, ThatChangesWithoutASocketIsSentAfterTheReturn) {
    const auto socket = JoinedWithRenderers("source");
    socket->TakeSent();
    Close(socket);
    Tell(1);
    EXPECT_THAT(socket->TakeSent(), IsEmpty());
    EXPECT_THAT(SentWhenRegained(), ElementsAre(Lit()));
}

TEST_P(FactoryTallyWay, ThatChangesThereAndBackWithoutASocketSendsNothing) {
    const auto socket = JoinedWithRenderers("source");
    Close(socket);
    Tell(1);
    Tell(4);
    EXPECT_THAT(SentWhenRegained(), IsEmpty());
}

TEST_P(FactoryTallyWay, GoesOnOverASocketThatWasReopenedAfterAnError) {
    const auto socket = JoinedWithRenderers("source");
    socket->Fail(cWebSocket::Error::Lost);
    time.RunDue();
    Open(socket);
    Join(socket, "phone", "source");
    socket->TakeSent();
    Tell(1);
    EXPECT_THAT(socket->TakeSent(), ElementsAre(Lit()));
}

// What goes into a socket that is not open reaches nobody, so it does not count as told.
TEST_P(FactoryTallyWay, ThatChangesWhileTheSocketConnectsIsSentWithTheJoin) {
    const auto socket = JoinedWithRenderers("source");
    Close(socket);
    time.AdvanceBy(6 * kSecondUs);
    Tell(1);
    Open(Socket());
    Socket()->TakeSent();
    Join(Socket(), "phone", "source");
    EXPECT_THAT(Socket()->TakeSent(), ElementsAre(Lit()));
    Join(Socket(), "phone", "source");
    EXPECT_THAT(Socket()->TakeSent(), IsEmpty());
}

TEST_P(FactoryTallyWay, ThatChangesDuringSeveralVainAttemptsIsSentWithTheJoin) {
    const auto socket = JoinedWithRenderers("source");
    Tell(1);
    Close(socket);
    for (int sweep = 0; sweep < 4; ++sweep) {
        time.AdvanceBy(6 * kSecondUs);
        Tell(sweep % 2 == 0 ? 5 : 1);
        Socket()->Fail(cWebSocket::Error::ConnectFailed);
        time.RunDue();
    }
    Tell(5);
    EXPECT_THAT(SentWhenRegained(), ElementsAre(Dark()));
}

TEST_P(FactoryTallyWay, ThatChangesThereAndBackWhileTheSocketConnectsSendsNothingWithTheJoin) {
    const auto socket = JoinedWithRenderers("source");
    Tell(1);
    Close(socket);
    time.AdvanceBy(6 * kSecondUs);
    Tell(5);
    Tell(1);
    Open(Socket());
    Socket()->TakeSent();
    Join(Socket(), "phone", "source");
    EXPECT_THAT(Socket()->TakeSent(), IsEmpty());
}

TEST_P(FactoryTallyWay, ThatChangesAfterAnErrorIsSentWhenTheSocketIsOpenAgain) {
    const auto socket = JoinedWithRenderers("source");
    socket->Fail(cWebSocket::Error::Lost);
    time.RunDue();
    Tell(1);
    Open(socket);
    socket->TakeSent();
    Join(socket, "phone", "source");
    EXPECT_THAT(socket->TakeSent(), ElementsAre(Lit()));
}

TEST_P(FactoryTallyWay, IsToldAnewToAnotherPhone) {
    const auto socket = JoinedWithRenderers("source");
    Tell(1);
    Close(socket);
    EXPECT_THAT(SentWhenRegained("other phone"), ElementsAre(Message("other phone", true)));
}

TEST_F(FactoryTally, WithoutSourcesIsOnlyStored) {
    factory->SetTallyValue(1);
    factory->ForwardToSession("source", 4);  // there is none yet
    const auto socket = ActivateAndOpen("source");
    Join(socket, "phone", "source");
    socket->TakeSent();
    Renderer("source", "vido");
    EXPECT_THAT(socket->TakeSent(), ElementsAre(Lit()));
}

TEST_F(FactoryTally, ReachesEverySource) {
    const auto one = JoinedWithRenderers("one", "127.0.0.2", "first");
    const auto two = JoinedWithRenderers("two", "127.0.0.3", "second");
    factory->SetTallyValue(2);
    EXPECT_THAT(one->TakeSent(), ElementsAre(Message("first", true)));
    EXPECT_THAT(two->TakeSent(), ElementsAre(Message("second", true)));
}

TEST_F(FactoryTally, ReachesOneSourceWhenForwarded) {
    const auto one = JoinedWithRenderers("one", "127.0.0.2", "first");
    const auto two = JoinedWithRenderers("two", "127.0.0.3", "second");
    factory->ForwardToSession("two", 1);
    factory->ForwardToSession("unknown", 1);
    factory->ForwardToSession(nullptr, 1);
    EXPECT_THAT(one->TakeSent(), IsEmpty());
    EXPECT_THAT(two->TakeSent(), ElementsAre(Message("second", true)));
}

TEST_F(FactoryTally, OfOneSourceReplacesTheValueOfAllAndTheOtherWayRound) {
    const auto socket = ActivateAndOpen("source");
    MakeRenderers();
    factory->SetTallyValue(1);
    factory->ForwardToSession("source", 4);
    socket->TakeSent();
    Join(socket, "phone", "source");
    EXPECT_THAT(socket->TakeSent(), IsEmpty());
    factory->SetTallyValue(1);
    EXPECT_THAT(socket->TakeSent(), ElementsAre(Lit()));
}

TEST_F(FactoryTally, GoesOutOnlyWhenPictureAndSoundAreBothMuted) {
    const auto socket = JoinedWithRenderers("source");
    factory->ForwardToSession("source", 1);
    EXPECT_THAT(socket->TakeSent(), ElementsAre(Lit()));
    MuteVideo(true);
    EXPECT_THAT(socket->TakeSent(), IsEmpty());
    MuteAudio(true);
    EXPECT_THAT(socket->TakeSent(), ElementsAre(Dark()));
    MuteVideo(true);
    MuteAudio(true);
    EXPECT_THAT(socket->TakeSent(), IsEmpty());
    MuteVideo(false);
    EXPECT_THAT(socket->TakeSent(), ElementsAre(Lit()));
    MuteAudio(false);
    EXPECT_THAT(socket->TakeSent(), IsEmpty());
    MuteAudio(true);
    EXPECT_THAT(socket->TakeSent(), IsEmpty());
    MuteVideo(true);
    EXPECT_THAT(socket->TakeSent(), ElementsAre(Dark()));
    MuteAudio(false);
    EXPECT_THAT(socket->TakeSent(), ElementsAre(Lit()));
}

TEST_F(FactoryTally, OffAirIsNotTouchedByMutes) {
    const auto socket = JoinedWithRenderers("source");
    for (const bool muted : {true, false}) {
        MuteVideo(muted);
        MuteAudio(muted);
    }
    EXPECT_THAT(socket->TakeSent(), IsEmpty());
}

TEST_F(FactoryTally, OfAMutedSourceLightsUpWithTheFirstUnmute) {
    const auto socket = ActivateAndOpen("source");
    MakeRenderers();
    MuteVideo(true);
    MuteAudio(true);
    factory->SetTallyValue(1);
    socket->TakeSent();
    Join(socket, "phone", "source");
    EXPECT_THAT(socket->TakeSent(), IsEmpty());
    MuteAudio(false);
    EXPECT_THAT(socket->TakeSent(), ElementsAre(Lit()));
}

TEST_F(FactoryTally, ThatMutesChangeWithoutASocketIsSentAfterTheReturn) {
    const auto socket = JoinedWithRenderers("source");
    factory->ForwardToSession("source", 1);
    socket->TakeSent();
    Close(socket);
    MuteVideo(true);
    MuteAudio(true);
    EXPECT_THAT(socket->TakeSent(), IsEmpty());
    EXPECT_THAT(SentWhenRegained(), ElementsAre(Dark()));
    Close(Socket());
    MuteVideo(false);
    EXPECT_THAT(SentWhenRegained(), ElementsAre(Lit()));
}

TEST_F(FactoryTally, IsEachSourcesOwnWhenMuted) {
    const auto one = JoinedWithRenderers("one", "127.0.0.2", "first");
    const auto two = JoinedWithRenderers("two", "127.0.0.3", "second");
    factory->SetTallyValue(1);
    one->TakeSent();
    two->TakeSent();
    MuteVideo(true, "one");
    MuteAudio(true, "one");
    EXPECT_THAT(one->TakeSent(), ElementsAre(Message("first", false)));
    EXPECT_THAT(two->TakeSent(), IsEmpty());
}

}  // namespace
