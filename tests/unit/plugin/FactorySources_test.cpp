#include "host/renderer/nxSourceDescription.h"
#include "session/nxWebRtcSession.h"
#include "tests/unit/plugin/FactoryTest.h"

namespace {

using fakes::FakeWebRtc;
using fakes::FakeWebSocket;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

class FactoryNewSource : public tests::FactoryTest {};

TEST_F(FactoryNewSource, DescribesItselfAndWritesItsSettings) {
    nxSourceDescription description;
    zRecord settings;
    settings.SetCString(FourCC("titl"), "Camera by the door");
    settings.SetCString("kestrel_ip_address", "left from before");
    factory->NewSource(description, settings);
    EXPECT_THAT(description.identifier,
                MatchesRegex("[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}"));
    EXPECT_EQ(description.displayName, "Camera by the door");
    EXPECT_EQ(description.typeName, "iOS Cam - Petrel");
    EXPECT_EQ(description.typeIdentifier, kTypeIdentifier);
    EXPECT_EQ(description.kind, 3U);
    EXPECT_EQ(description.category, 4U);
    EXPECT_FALSE(settings.AsBool("autoDiscovered", true));
    EXPECT_STREQ(settings.AsCString("kestrel_ip_address", nullptr), "");
    EXPECT_EQ(settings.AsCString("unique_id", ""), description.identifier);
    EXPECT_STREQ(settings.AsCString("name", ""), "Camera by the door");
}

TEST_F(FactoryNewSource, TakesTheNameOfItsKindWithoutATitle) {
    nxSourceDescription description;
    zRecord settings;
    factory->NewSource(description, settings);
    EXPECT_EQ(description.displayName, "iOS Cam - Petrel");
    EXPECT_STREQ(settings.AsCString("name", ""), "iOS Cam - Petrel");
}

TEST_F(FactoryNewSource, StartsNothing) {
    nxSourceDescription description;
    zRecord settings;
    factory->NewSource(description, settings);
    EXPECT_EQ(nxWebRtcSession::Alive(), 1);
    EXPECT_EQ(FakeWebSocket::MadeCount(), 0U);
    time.AdvanceBy(60 * kSecondUs);
    EXPECT_EQ(FakeWebSocket::MadeCount(), 0U);
    EXPECT_THAT(registry.announced, IsEmpty());

    zRecord again;
    nxSourceDescription other;
    factory->NewSource(other, again);
    EXPECT_NE(other.identifier, description.identifier);
}

class FactoryActivation : public tests::FactoryTest {};

TEST_F(FactoryActivation, StartsTheSessionAtItsAddress) {
    Activate("source", "192.168.1.20:5000");
    ASSERT_EQ(FakeWebSocket::MadeCount(), 1U);
    const auto opening = Socket()->Openings().at(0);
    EXPECT_EQ(opening.url, "ws://192.168.1.20:9001/");
    EXPECT_EQ(opening.connectTimeoutSeconds, 2.0);
    EXPECT_EQ(CountOfTrace("nxWebRtcSession::Start---\n{\n    \"sessionGuid\": \"source\"\n}\n---\n"), 1);
}

TEST_F(FactoryActivation, LeavesARunningSessionOfTheSameAddressAlone) {
    const auto socket = ActivateAndOpen("source");
    Activate("source");
    EXPECT_EQ(FakeWebSocket::MadeCount(), 1U);
    EXPECT_EQ(socket->Openings().size(), 1U);
    EXPECT_EQ(socket->CloseCount(), 0);
    EXPECT_EQ(nxWebRtcSession::Alive(), 1);
}

TEST_F(FactoryActivation, LeavesAStoppedSessionOfTheSameAddressAlone) {
    Close(ActivateAndOpen("source"));
    Activate("source");
    EXPECT_EQ(FakeWebSocket::MadeCount(), 1U);
}

TEST_F(FactoryActivation, MakesAnEntryWithoutAnAddressToo) {
    Activate("source", "");
    EXPECT_EQ(nxWebRtcSession::Alive(), 1);
    EXPECT_EQ(FakeWebSocket::MadeCount(), 0U);
    EXPECT_EQ(UrlOf("source"), "");
}

TEST_F(FactoryActivation, OfASourceWhosePhoneJoinedStartsItsConnectionOnlyOnce) {
    Join(ActivateAndOpen("source"), "phone", "source");
    EXPECT_EQ(FakeWebRtc::PeerConnections().size(), 1U);
    Activate("source", "192.168.1.99");  // not looked at any more
    EXPECT_EQ(FakeWebRtc::PeerConnections().size(), 1U);
    EXPECT_EQ(UrlOf("source"), kUrl);
}

TEST_F(FactoryActivation, OfAJoinedPhoneStartsTheConnectionThatCouldNotBeMadeBefore) {
    const auto socket = ActivateAndOpen("source");
    FakeWebRtc::RefusePeerConnections();
    Join(socket, "phone", "source");
    FakeWebRtc::Forget();
    Activate("source");
    ASSERT_EQ(FakeWebRtc::PeerConnections().size(), 1U);
    EXPECT_EQ(FakeWebRtc::LatestPeerConnection()->CountOfCalls("CreateOffer"), 1);
    EXPECT_EQ(FakeWebSocket::MadeCount(), 1U);
}

TEST_F(FactoryActivation, TellsIdentifiersApartByLetterCase) {
    Activate("source", "127.0.0.2");
    Activate("Source", "127.0.0.3");
    EXPECT_EQ(nxWebRtcSession::Alive(), 2);
    EXPECT_EQ(UrlOf("source"), "ws://127.0.0.2:9001/");
    EXPECT_EQ(UrlOf("Source"), "ws://127.0.0.3:9001/");
}

TEST_F(FactoryActivation, PutsTheIdentifierIntoThePayloadAsItIs) {
    Activate(R"(a","ownerKey":"key)");
    Open(Socket());
    EXPECT_THAT(
        Socket()->Sent(),
        ElementsAre(R"({"action":"joinMaster","ownerKey":"key","sessionGuid":"a","username":"Halyard"})"));
}

TEST_F(FactoryActivation, KeepsThePeerIdentifierWhenTheSettingsNameNone) {
    zRecord settings = DiscoveredSettings("peer", kAddress);
    factory->ActivateSource("source", settings);
    zRecord nameless = DiscoveredSettings("", kAddress);
    factory->ActivateSource("source", nameless);
    zRecord lost = Discovery("peer");
    factory->PeerLost(lost);
    EXPECT_EQ(nxWebRtcSession::Alive(), 0);
}

TEST_F(FactoryActivation, StartsTheSweepBeforeItDials) {
    zRecord bad = DirectSettings(kAddress);
    EXPECT_ANY_THROW(factory->ActivateSource("a\"b", bad));
    nxSourceDescription description;
    zRecord settings;
    factory->NewSource(description, settings);
    factory->StartSession(description.identifier.c_str(), R"({"sessionGuid":"x"})", kAddress);
    EXPECT_EQ(FakeWebSocket::MadeCount(), 1U);
    time.AdvanceBy(6 * kSecondUs);
    EXPECT_EQ(FakeWebSocket::MadeCount(), 2U);
}

TEST_F(FactoryActivation, LetsErrorsOfABadIdentifierOut) {
    zRecord settings = DirectSettings(kAddress);
    EXPECT_ANY_THROW(factory->ActivateSource("a\"b", settings));
    EXPECT_EQ(FakeWebSocket::MadeCount(), 0U);
    Activate("good");
    EXPECT_EQ(FakeWebSocket::MadeCount(), 1U);
}

TEST_F(FactoryActivation, OfADiscoveredSourceUsesTheAddressWithoutItsPort) {
    zRecord settings = DiscoveredSettings("peer", "192.168.1.20:7777");
    EXPECT_EQ(factory->ActivateSource("peer", settings), kStatusOk);
    EXPECT_EQ(Socket()->Openings().at(0).url, "ws://192.168.1.20:9001/");
}

class FactorySweep : public tests::FactoryTest {};

TEST_F(FactorySweep, StartsDirectSourcesThatAreNotConnectedEverySixSeconds) {
    Activate("source");
    time.AdvanceBy(5'999'999);
    EXPECT_EQ(FakeWebSocket::MadeCount(), 1U);
    time.AdvanceBy(1);
    EXPECT_EQ(FakeWebSocket::MadeCount(), 2U);
    time.AdvanceBy(6 * kSecondUs);
    ASSERT_EQ(FakeWebSocket::MadeCount(), 3U);
    EXPECT_EQ(Socket()->Openings().at(0).url, kUrl);
    EXPECT_EQ(Socket()->Openings().at(0).connectTimeoutSeconds, 2.0);
}

TEST_F(FactorySweep, LeavesConnectedSourcesAlone) {
    ActivateAndOpen("source");
    time.AdvanceBy(60 * kSecondUs);
    EXPECT_EQ(FakeWebSocket::MadeCount(), 1U);
}

TEST_F(FactorySweep, BringsALostPhoneBack) {
    Close(ActivateAndOpen("source"));
    time.AdvanceBy(6 * kSecondUs);
    EXPECT_EQ(FakeWebSocket::MadeCount(), 2U);
    Open(Socket());
    EXPECT_THAT(
        Socket()->Sent(),
        ElementsAre(R"({"action":"joinMaster","ownerKey":"","sessionGuid":"source","username":"Halyard"})"));
    time.AdvanceBy(60 * kSecondUs);
    EXPECT_EQ(FakeWebSocket::MadeCount(), 2U);
}

TEST_F(FactorySweep, BringsAGivenUpSessionBack) {
    const auto socket = ActivateAndOpen("source");
    for (int error = 0; error < 10; ++error)
        socket->Fail(cWebSocket::Error::ConnectFailed);
    time.RunDue();
    time.AdvanceBy(6 * kSecondUs);
    EXPECT_EQ(FakeWebSocket::MadeCount(), 2U);
    EXPECT_GE(socket->CloseCount(), 1);
}

TEST_F(FactorySweep, SkipsDiscoveredSources) {
    Close(ActivateAndOpen("direct"));
    zRecord settings = DiscoveredSettings("peer", "192.168.1.20");
    factory->ActivateSource("peer", settings);
    EXPECT_EQ(FakeWebSocket::MadeCount(), 2U);
    time.AdvanceBy(6 * kSecondUs);
    EXPECT_EQ(FakeWebSocket::MadeCount(), 3U);
    EXPECT_EQ(Socket()->Openings().at(0).url, kUrl);
}

TEST_F(FactorySweep, DoesNotRunForDiscoveredSourcesAlone) {
    zRecord settings = DiscoveredSettings("", "192.168.1.20");
    factory->ActivateSource("discovered", settings);
    zRecord withoutKey;
    withoutKey.SetCString("kestrel_ip_address", "192.168.1.21");
    factory->ActivateSource("unmarked", withoutKey);
    time.AdvanceBy(60 * kSecondUs);
    EXPECT_EQ(FakeWebSocket::MadeCount(), 2U);
}

TEST_F(FactorySweep, RunsOnceHoweverManySourcesThereAre) {
    Activate("one", "127.0.0.2");
    Activate("two", "127.0.0.3");
    time.AdvanceBy(6 * kSecondUs);
    EXPECT_EQ(FakeWebSocket::MadeCount(), 4U);
}

TEST_F(FactorySweep, GoesOnAfterASourceThatCannotBeStarted) {
    Activate("a\"b", "");
    factory->StartSession("a\"b", R"({"sessionGuid":"x"})", "127.0.0.9");
    Activate("good", "127.0.0.2");
    const std::size_t before = FakeWebSocket::MadeCount();
    time.AdvanceBy(6 * kSecondUs);
    EXPECT_EQ(FakeWebSocket::MadeCount(), before + 1);
    EXPECT_EQ(CountOfTrace("nxKestrelRenderersFactory sweep failed: "), 1);
    time.AdvanceBy(6 * kSecondUs);
    EXPECT_EQ(FakeWebSocket::MadeCount(), before + 2);
}

TEST_F(FactorySweep, SurvivesChangesOfTheListMeanwhile) {
    const auto socket = ActivateAndOpen("source");
    Join(socket, "phone", "source");
    zRecord lost = Discovery("other");
    registry.onWithdraw = [&] {
        registry.onWithdraw = nullptr;
        for (int index = 0; index < 50; ++index)
            Activate("new " + std::to_string(index), "");
        factory->PeerLost(lost);
    };
    for (int error = 0; error < 10; ++error)
        socket->Fail(cWebSocket::Error::ConnectFailed);
    time.RunDue();
    time.AdvanceBy(6 * kSecondUs);
    EXPECT_EQ(registry.onWithdraw, nullptr);
    EXPECT_EQ(nxWebRtcSession::Alive(), 51);
    EXPECT_EQ(FakeWebSocket::MadeCount(), 2U);
}

}  // namespace
