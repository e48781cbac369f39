// Phones that the host's discovery reports, sources that are withdrawn, and addresses that are taken.
#include "session/nxWebRtcSession.h"
#include "tests/unit/plugin/FactoryTest.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

class FactoryDiscovery : public tests::FactoryTest {};

TEST_F(FactoryDiscovery, AnnouncesAPhone) {
    zRecord record = Discovery("peer", "192.168.1.20", "9001", "My phone");
    factory->PeerDiscovered(record);
    ASSERT_EQ(registry.announced.size(), 1U);
    const auto& [description, settings] = registry.announced[0];
    EXPECT_EQ(description.identifier, "peer");
    EXPECT_EQ(description.displayName, "My phone");
    EXPECT_EQ(description.typeName, "iOS Cam - Petrel");
    EXPECT_EQ(description.typeIdentifier, kTypeIdentifier);
    EXPECT_EQ(description.kind, 3U);
    EXPECT_EQ(description.category, 4U);
    EXPECT_TRUE(settings.AsBool("autoDiscovered", false));
    EXPECT_STREQ(settings.AsCString("kestrel_peer_identifier", ""), "peer");
    EXPECT_STREQ(settings.AsCString("kestrel_ip_address", ""), "192.168.1.20:9001");
    EXPECT_FALSE(settings.Has("unique_id"));
    EXPECT_EQ(nxWebRtcSession::Alive(), 0);
}

TEST_F(FactoryDiscovery, CallsANamelessPhoneNone) {
    zRecord record = Discovery("peer", "192.168.1.20", "9001", "");
    factory->PeerDiscovered(record);
    EXPECT_EQ(registry.announced.at(0).description.displayName, "None");
}

TEST_F(FactoryDiscovery, LeavesAMissingPortOut) {
    zRecord record = Discovery("peer", "192.168.1.20", "");
    factory->PeerDiscovered(record);
    EXPECT_STREQ(registry.announced.at(0).settings.AsCString("kestrel_ip_address", ""), "192.168.1.20");
}

TEST_F(FactoryDiscovery, AnnouncesAgainWithTheNewAddress) {
    zRecord first = Discovery("peer", "192.168.1.20");
    zRecord second = Discovery("peer", "192.168.1.30");
    factory->PeerDiscovered(first);
    factory->PeerDiscovered(second);
    ASSERT_EQ(registry.announced.size(), 2U);
    EXPECT_STREQ(registry.announced[1].settings.AsCString("kestrel_ip_address", ""), "192.168.1.30:9001");
}

TEST_F(FactoryDiscovery, AnnouncesAPhoneOfWhichNothingElseIsKnown) {
    zRecord record;
    record.AddChild().SetCString("PeerIdentifier", "peer");
    factory->PeerDiscovered(record);
    ASSERT_EQ(registry.announced.size(), 1U);
    EXPECT_EQ(registry.announced[0].description.displayName, "None");
    EXPECT_STREQ(registry.announced[0].settings.AsCString("kestrel_ip_address", nullptr), "");
}

TEST_F(FactoryDiscovery, ReadsTheFirstChildOnly) {
    zRecord record;
    record.AddChild();
    record.AddChild().SetCString("PeerIdentifier", "second");
    factory->PeerDiscovered(record);
    factory->PeerLost(record);
    EXPECT_THAT(registry.announced, IsEmpty());
    EXPECT_THAT(registry.withdrawn, IsEmpty());
    record.Child(0)->SetCString("PeerIdentifier", "first");
    factory->PeerDiscovered(record);
    factory->PeerLost(record);
    ASSERT_EQ(registry.announced.size(), 1U);
    EXPECT_EQ(registry.announced[0].description.identifier, "first");
    EXPECT_THAT(registry.WithdrawnIdentifiers(), ElementsAre("first"));
}

TEST_F(FactoryDiscovery, RemembersTheNewestAddressOfEachPhoneUntilItIsLost) {
    zRecord phone = Discovery("phone", "192.168.1.20");
    zRecord moved = Discovery("phone", "192.168.1.30");
    zRecord other = Discovery("other", "192.168.1.40", "");
    for (zRecord* record : {&phone, &other, &moved})
        factory->PeerDiscovered(*record);
    EXPECT_THAT(factory->DiscoveredPeers(),
                ElementsAre(Pair("other", "192.168.1.40"), Pair("phone", "192.168.1.30:9001")));
    zRecord unknown = Discovery("unknown");
    factory->PeerLost(unknown);
    EXPECT_THAT(factory->DiscoveredPeers(), SizeIs(2));
    factory->PeerLost(phone);
    EXPECT_THAT(factory->DiscoveredPeers(), ElementsAre(Pair("other", "192.168.1.40")));
}

TEST_F(FactoryDiscovery, IgnoresRecordsWithoutAPeerIdentifier) {
    zRecord empty;
    zRecord childless;
    childless.SetCString("host", "192.168.1.20");
    zRecord unnamed = Discovery("");
    for (zRecord* record : {&empty, &childless, &unnamed}) {
        factory->PeerDiscovered(*record);
        factory->PeerLost(*record);
    }
    EXPECT_THAT(registry.announced, IsEmpty());
    EXPECT_THAT(registry.withdrawn, IsEmpty());
    EXPECT_THAT(trace, IsEmpty());
}

TEST_F(FactoryDiscovery, WithdrawsALostPhone) {
    zRecord record = Discovery("peer");
    factory->PeerLost(record);
    ASSERT_EQ(registry.withdrawn.size(), 1U);
    const auto& [description, flag] = registry.withdrawn[0];
    EXPECT_EQ(description.identifier, "peer");
    EXPECT_EQ(description.typeName, "iOS Cam - Petrel");
    EXPECT_EQ(description.typeIdentifier, kTypeIdentifier);
    EXPECT_EQ(description.kind, 3U);
    EXPECT_EQ(description.category, 4U);
    EXPECT_EQ(flag, 1U);
}

TEST_F(FactoryDiscovery, OfALostPhoneWithoutASourceLeavesTheSourcesAlone) {
    Activate("direct");
    zRecord settings = DiscoveredSettings("other", "192.168.1.20");
    factory->ActivateSource("other", settings);
    zRecord record = Discovery("peer");
    factory->PeerLost(record);
    EXPECT_THAT(registry.WithdrawnIdentifiers(), ElementsAre("peer"));
    EXPECT_EQ(nxWebRtcSession::Alive(), 2);
}

TEST_F(FactoryDiscovery, WithdrawsALostPhoneBeforeItsSourcesEnd) {
    zRecord settings = DiscoveredSettings("peer", "192.168.1.20");
    factory->ActivateSource("peer", settings);
    std::int64_t sessions = 0;
    registry.onWithdraw = [&] { sessions = nxWebRtcSession::Alive(); };
    zRecord record = Discovery("peer");
    factory->PeerLost(record);
    EXPECT_EQ(sessions, 1);
    EXPECT_EQ(nxWebRtcSession::Alive(), 0);
}

TEST_F(FactoryDiscovery, EndsTheSourcesOfALostPhoneAndNoOthers) {
    Activate("first", "");
    zRecord settings = DiscoveredSettings("peer", "192.168.1.20");
    factory->ActivateSource("peer", settings);
    factory->ActivateSource("same phone", settings);
    Activate("last", "");
    EXPECT_EQ(nxWebRtcSession::Alive(), 4);
    zRecord record = Discovery("peer");
    factory->PeerLost(record);
    EXPECT_EQ(nxWebRtcSession::Alive(), 2);
    EXPECT_THAT(registry.WithdrawnIdentifiers(), ElementsAre("peer"));
    EXPECT_EQ(UrlOf("peer"), "");
    zRecord direct = DirectSettings("192.168.1.50");
    factory->ConnectDirect("first", direct);
    EXPECT_EQ(UrlOf("first"), "ws://192.168.1.50:9001/");
}

TEST_F(FactoryDiscovery, EndsADirectSourceThatWasGivenAPeerIdentifier) {
    Join(ActivateAndOpen("source"), "phone", "source");
    const auto socket = Socket();
    zRecord settings;
    settings.SetCString("kestrel_peer_identifier", "source");
    EXPECT_EQ(factory->ActivateSource("source", settings), kStatusOk);
    zRecord record = Discovery("source");
    factory->PeerLost(record);
    EXPECT_EQ(nxWebRtcSession::Alive(), 0);
    EXPECT_EQ(socket->CloseCount(), 1);
    EXPECT_FALSE(factory->IsAddressInUse(kAddress));
}

TEST_F(FactoryDiscovery, ReplacesThePeerIdentifierOfASource) {
    zRecord settings = DiscoveredSettings("old", "192.168.1.20");
    factory->ActivateSource("source", settings);
    zRecord newer = DiscoveredSettings("new", "192.168.1.20");
    factory->ActivateSource("source", newer);
    zRecord old = Discovery("old");
    factory->PeerLost(old);
    EXPECT_EQ(nxWebRtcSession::Alive(), 1);
    zRecord current = Discovery("new");
    factory->PeerLost(current);
    EXPECT_EQ(nxWebRtcSession::Alive(), 0);
}

class FactoryWithdrawal : public tests::FactoryTest {};

TEST_F(FactoryWithdrawal, FollowsThePhonesLeave) {
    const auto owner = std::make_shared<zObject>();
    std::vector<std::string> told;
    factory->AddWithdrawListener(owner, [&](const char* identifier) {
        told.push_back(identifier);
        EXPECT_EQ(registry.withdrawn.size(), told.size());  // the host hears of it first
    });
    const auto socket = ActivateAndOpen("source");
    Join(socket, "phone", "source");
    Deliver(socket, R"({"action":"peerDisconnected","peersIdentifier":"phone"})");
    EXPECT_THAT(registry.WithdrawnIdentifiers(), ElementsAre("phone"));
    EXPECT_EQ(registry.withdrawn[0].description.typeIdentifier, kTypeIdentifier);
    EXPECT_EQ(registry.withdrawn[0].flag, 1U);
    EXPECT_THAT(told, ElementsAre("phone"));
    Close(socket);
    EXPECT_THAT(told, ElementsAre("phone", "phone"));

    factory->RemoveWithdrawListener(owner, {});
    factory->StopSession("source");
    EXPECT_EQ(registry.withdrawn.size(), 3U);
    EXPECT_EQ(told.size(), 2U);
}

class FactoryAddressInUse : public tests::FactoryTest {};

TEST_F(FactoryAddressInUse, AsksEverySession) {
    EXPECT_FALSE(factory->IsAddressInUse(kAddress));
    Activate("one", "127.0.0.2");
    Activate("two", "127.0.0.3");
    Activate("three", "");
    EXPECT_TRUE(factory->IsAddressInUse("127.0.0.2"));
    EXPECT_TRUE(factory->IsAddressInUse("ws://127.0.0.3:80/"));
    EXPECT_FALSE(factory->IsAddressInUse("127.0.0.4"));
    EXPECT_FALSE(factory->IsAddressInUse(nullptr));
}

TEST_F(FactoryAddressInUse, CountsAStoppedSession) {
    Activate("source");
    factory->StopSession("source");
    EXPECT_TRUE(factory->IsAddressInUse(kAddress));
}

}  // namespace
