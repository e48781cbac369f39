// What the page and the hosts hear of each other.
#include "tests/unit/petrel_serve/HubFixture.h"

namespace tests {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::chrono_literals;

constexpr const char* kAddress = "127.0.1.1";
constexpr const char* kAnswer = "v=0\r\nanswer";

class LivePhoneTest : public HubFixture {
protected:
    LivePhoneTest() : cookie(Pair("Anna")) {
        identifier = Get("/api/me", cookie)->Json()["phone"]["identifier"];
    }

    json Tally(bool onAir) const {
        return {{"action", "broadcastToPeers"},
                {"subaction", "tallyStateChanged"},
                {"tallyPeerIdentifier", identifier},
                {"value", onAir}};
    }

    const std::string cookie;
    std::string identifier;
};

TEST_F(LivePhoneTest, IsThereForHostsWhileItsPageIs) {
    EXPECT_FALSE(IsListening(kAddress));
    const auto page = OpenPage(cookie);
    EXPECT_TRUE(IsListening(kAddress));
    EXPECT_THAT(announcements, ElementsAre("+Anna 127.0.1.1"));
    const json hello = page->Last("hello")->data;
    EXPECT_EQ(hello["address"], kAddress);
    EXPECT_EQ(hello["instance"], "instance");
    EXPECT_THAT(hello["viewers"], IsEmpty());
    LosePage(page);
    Advance(4900ms);
    EXPECT_TRUE(IsListening(kAddress));
    Advance(100ms);
    EXPECT_FALSE(IsListening(kAddress));
    EXPECT_THAT(announcements, ElementsAre("+Anna 127.0.1.1", "-127.0.1.1"));
    EXPECT_EQ(petrel::LivePhone::Alive(), 0);
}

TEST_F(LivePhoneTest, IsAnnouncedUnderANewNameAtOnce) {
    Post("/api/name", {{"name", "Berta"}}, cookie);
    EXPECT_THAT(announcements, IsEmpty()) << "nobody can reach it yet";
    const auto page = OpenPage(cookie);
    const auto host = Dial(kAddress);
    host->received.clear();
    Post("/api/name", {{"name", "Berta"}}, cookie);
    EXPECT_THAT(announcements, ElementsAre("+Berta 127.0.1.1")) << "that is its name already";
    Post("/api/name", {{"name", "Carla"}}, cookie);
    EXPECT_THAT(announcements, ElementsAre("+Berta 127.0.1.1", "+Carla 127.0.1.1"));
    EXPECT_THAT(host->received, IsEmpty()) << "whoever is joined would have to begin anew";
    // A phone that scans again stays who it is.
    Post("/api/pair", {{"code", hub->Code()}, {"name", "Dora"}}, cookie);
    EXPECT_EQ(announcements.back(), "+Dora 127.0.1.1");
    EXPECT_EQ(Dial(kAddress)->received.back()["username"], "Dora");
}

TEST_F(LivePhoneTest, AnswersAJoinWithItsNameAndNoIceServers) {
    const auto page = OpenPage(cookie);
    const auto host = Dial(kAddress, "GUID-1");
    ASSERT_THAT(host->Actions(), ElementsAre("joinMasterResponse", "peerJoined"));
    EXPECT_EQ(host->received[0]["result"], "OK");
    EXPECT_THAT(host->received[0]["iceServers"], IsEmpty());
    EXPECT_EQ(host->received[1], json({{"action", "peerJoined"},
                                       {"username", "Anna"},
                                       {"peersIdentifier", identifier},
                                       {"sessionGuid", "GUID-1"}}));
    const json viewer = page->Last("viewer")->data;
    EXPECT_EQ(
        viewer,
        json({{"viewer", 1}, {"name", "Halyard"}, {"address", ""}, {"session", "GUID-1"}, {"onAir", false}}));
}

TEST_F(LivePhoneTest, PassesOffersAndCandidatesToThePage) {
    const auto page = OpenPage(cookie);
    const auto host = Dial(kAddress);
    Offer(kAddress, host, "v=0\r\noffer \"x\"\r\n");
    Say(kAddress, host,
        {{"action", "ice"},
         {"peersIdentifier", identifier},
         {"sdp", "candidate:1"},
         {"sdpMLineIndex", "1"},
         {"sdpMid", "audio1"},
         {"sessionGuid", "GUID"}});
    EXPECT_EQ(page->Last("offer")->data,
              json({{"viewer", 1}, {"offer", 1}, {"sdp", "v=0\r\noffer \"x\"\r\n"}}));
    EXPECT_EQ(page->Last("candidate")->data, json({{"viewer", 1},
                                                   {"offer", 1},
                                                   {"candidate", "candidate:1"},
                                                   {"sdpMid", "audio1"},
                                                   {"sdpMLineIndex", 1}}));
}

TEST_F(LivePhoneTest, PassesAnswersAndCandidatesToTheHost) {
    OpenPage(cookie);
    const auto host = Dial(kAddress, "GUID-1");
    Offer(kAddress, host, "v=0\r\n");
    host->received.clear();
    EXPECT_EQ(Post("/api/answer", {{"viewer", 1}, {"sdp", kAnswer}}, cookie)->Status(), 200);
    EXPECT_EQ(Post("/api/candidate",
                   {{"viewer", 1},
                    {"candidate", "candidate:1 1 udp 1 192.0.2.9 5 typ host"},
                    {"sdpMid", "video0"},
                    {"sdpMLineIndex", 0}},
                   cookie)
                  ->Status(),
              200);
    EXPECT_EQ(Post("/api/candidates",
                   {{"viewer", 1},
                    {"offer", 1},
                    {"candidates",
                     {{{"candidate", "candidate:2 1 udp 1 192.0.2.9 6 typ host"},
                       {"sdpMid", nullptr},
                       {"sdpMLineIndex", 1}},
                      {{"candidate", ""}}}}},
                   cookie)
                  ->Status(),
              200);
    ASSERT_THAT(host->Actions(), ElementsAre("gotAnswer", "ice", "ice"));
    EXPECT_EQ(host->received[0], json({{"action", "gotAnswer"},
                                       {"peersIdentifier", identifier},
                                       {"sdp", kAnswer},
                                       {"sessionGuid", "GUID-1"},
                                       {"type", "answer"}}));
    EXPECT_EQ(host->received[1]["sdpMLineIndex"], 0);
    EXPECT_EQ(host->received[2]["sdpMLineIndex"], 1);
    EXPECT_EQ(host->received[2]["sdp"], "candidate:2 1 udp 1 192.0.2.9 6 typ host");
}

TEST_F(LivePhoneTest, RefusesAnswersThatAreNone) {
    OpenPage(cookie);
    const auto host = Dial(kAddress);
    Offer(kAddress, host, "v=0\r\n");
    host->received.clear();
    for (const json& body :
         {json::object(), json{{"viewer", 1}}, json{{"viewer", "1"}, {"sdp", kAnswer}},
          json{{"viewer", 1}, {"sdp", "nonsense"}}, json{{"viewer", 1}, {"sdp", 7}},
          json{{"viewer", -1}, {"sdp", kAnswer}}, json{{"viewer", 1.5}, {"sdp", kAnswer}}}) {
        EXPECT_EQ(Post("/api/answer", body, cookie)->Status(), 400) << body;
    }
    for (const char* candidate : {"nonsense", "candidate:1\r\n typ host", "candidate:1 without a kind"})
        EXPECT_EQ(Post("/api/candidate", {{"viewer", 1}, {"candidate", candidate}}, cookie)->Status(), 400);
    EXPECT_EQ(Post("/api/candidates", {{"viewer", 1}, {"candidates", "x"}}, cookie)->Status(), 400);
    EXPECT_EQ(Post("/api/answer", {{"viewer", 2}, {"sdp", kAnswer}}, cookie)->Error(), "no-such-viewer");
    EXPECT_EQ(Post("/api/renew", {{"viewer", 2}}, cookie)->Error(), "no-such-viewer");
    EXPECT_THAT(host->received, IsEmpty());
}

TEST_F(LivePhoneTest, RefusesAnswersToAnOlderOffer) {
    OpenPage(cookie);
    const auto host = Dial(kAddress);
    Offer(kAddress, host, "v=0\r\n1");
    Offer(kAddress, host, "v=0\r\n2");
    EXPECT_EQ(Post("/api/answer", {{"viewer", 1}, {"offer", 1}, {"sdp", kAnswer}}, cookie)->Error(),
              "older-offer");
    EXPECT_EQ(Post("/api/candidate", {{"viewer", 1}, {"offer", 1}, {"candidate", ""}}, cookie)->Status(),
              409);
    EXPECT_EQ(Post("/api/answer", {{"viewer", 1}, {"offer", 2}, {"sdp", kAnswer}}, cookie)->Status(), 200);
}

TEST_F(LivePhoneTest, TellsTheTallyOncePerChangeAndOnlyItsOwn) {
    const auto page = OpenPage(cookie);
    const auto host = Dial(kAddress);
    Say(kAddress, host, Tally(true));
    Say(kAddress, host, Tally(true));
    json foreign = Tally(false);
    foreign["tallyPeerIdentifier"] = "somebody else";
    Say(kAddress, host, foreign);
    EXPECT_THAT(page->Names(), ElementsAre("hello", "viewer", "tally"));
    EXPECT_EQ(page->Last("tally")->data, json({{"viewer", 1}, {"onAir", true}}));
    Say(kAddress, host, Tally(false));
    EXPECT_EQ(page->Last("tally")->data["onAir"], false);
}

// A page that was on air before this server was started anew still thinks so.
TEST_F(LivePhoneTest, PassesOnTheFirstTallyWhateverItSays) {
    const auto page = OpenPage(cookie);
    const auto host = Dial(kAddress);
    Say(kAddress, host, Tally(false));
    Say(kAddress, host, Tally(false));
    EXPECT_THAT(page->Names(), ElementsAre("hello", "viewer", "tally"));
    EXPECT_EQ(page->Last("tally")->data["onAir"], false);
}

// Plug-ins tell changes only. Each process has a key of its own, whose fingerprint stands in its offers.
constexpr const char* kOfferOfOneProcess = "v=0\r\na=fingerprint:sha-256 AA\r\n";
constexpr const char* kOfferOfAnother = "v=0\r\na=fingerprint:sha-256 BB\r\n";

TEST_F(LivePhoneTest, StaysOnAirWhenAHostDialsAgain) {
    const auto page = OpenPage(cookie);
    const auto host = Dial(kAddress);
    Offer(kAddress, host, kOfferOfOneProcess);
    Say(kAddress, host, Tally(true));
    Leave(kAddress, host);
    Advance(6s);
    const auto again = Dial(kAddress);
    EXPECT_EQ(page->Names().back(), "viewer") << "it might be another process";
    Offer(kAddress, again, kOfferOfOneProcess);
    EXPECT_THAT(page->Names(),
                ElementsAre("hello", "viewer", "offer", "tally", "gone", "viewer", "offer", "tally"));
    EXPECT_EQ(page->Last("tally")->data, json({{"viewer", 2}, {"onAir", true}}));
    Say(kAddress, again, Tally(false));
    EXPECT_EQ(page->Last("tally")->data, json({{"viewer", 2}, {"onAir", false}}));
}

TEST_F(LivePhoneTest, StaysOnAirWhenTheEndOfTheOldSocketIsNoticedLater) {
    const auto page = OpenPage(cookie);
    const auto host = Dial(kAddress);
    Offer(kAddress, host, kOfferOfOneProcess);
    Say(kAddress, host, Tally(true));
    const auto again = Dial(kAddress);
    Offer(kAddress, again, kOfferOfOneProcess);
    EXPECT_EQ(page->Last("tally")->data, json({{"viewer", 2}, {"onAir", true}}));
}

TEST_F(LivePhoneTest, StaysOnAirWhenItsPageWasAwayForAWhile) {
    const auto page = OpenPage(cookie);
    const auto host = Dial(kAddress);
    Offer(kAddress, host, kOfferOfOneProcess);
    Say(kAddress, host, Tally(true));
    LosePage(page);
    Advance(20s);
    ASSERT_FALSE(IsListening(kAddress));
    const auto again = OpenPage(cookie);
    Offer(kAddress, Dial(kAddress), kOfferOfOneProcess);
    EXPECT_EQ(again->Last("tally")->data["onAir"], true);
}

TEST_F(LivePhoneTest, IsNotOnAirAtAHostThatWasStartedAnew) {
    const auto page = OpenPage(cookie);
    const auto host = Dial(kAddress);
    Offer(kAddress, host, kOfferOfOneProcess);
    Say(kAddress, host, Tally(true));
    Leave(kAddress, host);
    Offer(kAddress, Dial(kAddress), kOfferOfAnother);
    EXPECT_EQ(page->Names().back(), "offer");
}

TEST_F(LivePhoneTest, WhatAHostSaysWhenItDialsAgainCounts) {
    const auto page = OpenPage(cookie);
    const auto host = Dial(kAddress);
    Offer(kAddress, host, kOfferOfOneProcess);
    Say(kAddress, host, Tally(true));
    Leave(kAddress, host);
    const auto again = Dial(kAddress);
    Say(kAddress, again, Tally(false));
    Offer(kAddress, again, kOfferOfOneProcess);
    EXPECT_EQ(page->Names().back(), "offer");
    Leave(kAddress, again);
    Offer(kAddress, Dial(kAddress), kOfferOfOneProcess);
    EXPECT_EQ(page->Last("tally")->data["onAir"], false) << "it was not on air any more";
}

TEST_F(LivePhoneTest, ServesSeveralHostsAndTellsThemApart) {
    const auto page = OpenPage(cookie);
    const auto first = Dial(kAddress, "GUID-1");
    const auto second = Dial(kAddress, "GUID-2");
    Offer(kAddress, second, "v=0\r\n");
    EXPECT_EQ(page->Last("viewer")->data["name"], "Halyard 2");
    EXPECT_EQ(page->Last("offer")->data["viewer"], 2);
    first->received.clear();
    EXPECT_EQ(Post("/api/answer", {{"viewer", 2}, {"sdp", kAnswer}}, cookie)->Status(), 200);
    EXPECT_THAT(first->received, IsEmpty());
    EXPECT_EQ(second->received.back()["sessionGuid"], "GUID-2");
    Leave(kAddress, first);
    EXPECT_EQ(page->Last("gone")->data, json({{"viewer", 1}}));
    EXPECT_EQ(Post("/api/answer", {{"viewer", 1}, {"sdp", kAnswer}}, cookie)->Status(), 404);
}

TEST_F(LivePhoneTest, NamesHostsOnOtherMachinesByTheirAddress) {
    const auto page = OpenPage(cookie);
    auto host = std::make_shared<FakeHost>();
    host->remoteAddress = "192.0.2.77:40000";
    listening.at(kAddress).onOpen(host);
    Say(kAddress, host, {{"action", "joinMaster"}, {"sessionGuid", "G"}, {"username", "Halyard"}});
    EXPECT_EQ(page->Last("viewer")->data["name"], "Halyard (192.0.2.77)");
    EXPECT_EQ(page->Last("viewer")->data["address"], "192.0.2.77");
}

// The way back

TEST_F(LivePhoneTest, GoesOnWithTheSameTabWithoutTearingAnythingDown) {
    const auto page = OpenPage(cookie, "tab-1");
    const auto host = Dial(kAddress);
    Offer(kAddress, host, "v=0\r\n1");
    LosePage(page);
    Say(kAddress, host, Tally(true));
    host->received.clear();
    Advance(4s);
    const auto again = OpenPage(cookie, "tab-1");
    EXPECT_THAT(again->Names(), ElementsAre("hello", "tally"));
    EXPECT_EQ(again->Last("hello")->data["resumed"], true);
    EXPECT_EQ(again->Last("hello")->data["viewers"][0]["viewer"], 1);
    EXPECT_EQ(again->Last("hello")->data["viewers"][0]["onAir"], true);
    EXPECT_THAT(host->received, IsEmpty());
    EXPECT_FALSE(host->closed);
    Advance(10s);
    EXPECT_TRUE(IsListening(kAddress));
}

TEST_F(LivePhoneTest, RepeatsWhatWasSentIntoADeadStream) {
    const auto page = OpenPage(cookie, "tab-1");
    const auto host = Dial(kAddress);
    const std::string seen = page->Last("viewer")->id;
    Offer(kAddress, host, "v=0\r\n1");  // written, but it never arrived
    const auto again = OpenPage(cookie, "tab-1", "&last=" + seen);
    EXPECT_TRUE(page->ended);
    EXPECT_THAT(again->Names(), ElementsAre("hello", "offer"));
    // The end of the stream that was replaced is nobody's loss.
    LosePage(page);
    Advance(10s);
    EXPECT_TRUE(IsListening(kAddress));
}

TEST_F(LivePhoneTest, EveryRequestOfThePageShowsOnItsStream) {
    const auto page = OpenPage(cookie);
    for (const char* const path : {"/api/state", "/api/renew", "/api/candidates", "/api/name"}) {
        const std::string before = page->sent;
        Post(path, json::object(), cookie);
        EXPECT_EQ(page->sent, before + ":\n\n") << path;
    }
    const std::string before = page->sent;
    Post("/api/state", json::object(), Pair("Another"));
    EXPECT_EQ(page->sent, before);
}

TEST_F(LivePhoneTest, LetsEveryHostOfferAnewForANewTab) {
    const auto page = OpenPage(cookie, "tab-1");
    const auto first = Dial(kAddress, "GUID-1");
    const auto second = Dial(kAddress, "GUID-2");
    const auto silent = Dial(kAddress, "");
    Offer(kAddress, first, "v=0\r\n1");
    Offer(kAddress, second, "v=0\r\n1");
    Say(kAddress, second, Tally(true));
    LosePage(page);
    Offer(kAddress, first, "v=0\r\nfor the old page");
    first->received.clear();
    second->received.clear();
    const auto again = OpenPage(cookie, "tab-2");
    EXPECT_THAT(again->Names(), ElementsAre("hello"));
    EXPECT_EQ(again->Last("hello")->data["resumed"], false);
    EXPECT_EQ(again->Last("hello")->data["viewers"][1]["onAir"], true);
    ASSERT_THAT(first->Actions(), ElementsAre("peerJoined"));
    EXPECT_EQ(first->received[0]["sessionGuid"], "GUID-1");
    EXPECT_THAT(second->Actions(), ElementsAre("peerJoined"));
    EXPECT_THAT(silent->received, IsEmpty());
    EXPECT_FALSE(first->closed);
}

TEST_F(LivePhoneTest, BeginsAnewWhenTooMuchWasMissed) {
    const auto page = OpenPage(cookie, "tab-1");
    const auto host = Dial(kAddress);
    const auto other = Dial(kAddress);
    LosePage(page);
    for (int i = 0; i < 10; ++i) {
        Say(kAddress, i % 2 == 0 ? host : other,
            {{"action", "masterMadeOffer"}, {"sdp", std::string(400'000, 'x')}, {"type", "offer"}});
    }
    host->received.clear();
    const auto again = OpenPage(cookie, "tab-1");
    EXPECT_EQ(again->Last("hello")->data["resumed"], false);
    EXPECT_THAT(host->Actions(), ElementsAre("peerJoined"));
}

TEST_F(LivePhoneTest, AsksAHostForANewOfferWhenThePageWantsOne) {
    OpenPage(cookie);
    const auto host = Dial(kAddress);
    Offer(kAddress, host, "v=0\r\n");
    host->received.clear();
    EXPECT_EQ(Post("/api/renew", {{"viewer", 1}}, cookie)->Status(), 200);
    EXPECT_THAT(host->Actions(), ElementsAre("peerJoined"));
}

TEST_F(LivePhoneTest, AsksNoHostWhoseOfferIsOnItsWay) {
    const auto page = OpenPage(cookie, "tab-1");
    const auto host = Dial(kAddress);
    LosePage(page);
    host->received.clear();
    OpenPage(cookie, "tab-2");
    Post("/api/renew", {{"viewer", 1}}, cookie);
    EXPECT_THAT(host->received, IsEmpty()) << "it has just heard of the phone";
    Advance(3s);
    Post("/api/renew", {{"viewer", 1}}, cookie);
    EXPECT_THAT(host->Actions(), ElementsAre("peerJoined")) << "it does not offer";
}

// A host that has offered anew meanwhile would take it for the answer to that.
TEST_F(LivePhoneTest, RefusesAnswersWhileANewOfferIsOnItsWay) {
    OpenPage(cookie);
    const auto host = Dial(kAddress);
    Offer(kAddress, host, "v=0\r\n1");
    Post("/api/renew", {{"viewer", 1}}, cookie);
    host->received.clear();
    const json answer = {{"viewer", 1}, {"offer", 1}, {"sdp", kAnswer}};
    EXPECT_EQ(Post("/api/answer", answer, cookie)->Error(), "older-offer");
    EXPECT_EQ(Post("/api/answer", {{"viewer", 1}, {"sdp", kAnswer}}, cookie)->Error(), "older-offer");
    EXPECT_THAT(host->received, IsEmpty());
    Offer(kAddress, host, "v=0\r\n2");
    EXPECT_EQ(Post("/api/answer", {{"viewer", 1}, {"offer", 2}, {"sdp", kAnswer}}, cookie)->Status(), 200);
}

TEST_F(LivePhoneTest, AHostThatDoesNotOfferAnewKeepsItsConnection) {
    OpenPage(cookie);
    const auto host = Dial(kAddress);
    Offer(kAddress, host, "v=0\r\n1");
    Post("/api/renew", {{"viewer", 1}}, cookie);
    Advance(3s);
    EXPECT_EQ(Post("/api/answer", {{"viewer", 1}, {"offer", 1}, {"sdp", kAnswer}}, cookie)->Status(), 200);
}

TEST_F(LivePhoneTest, IsOpenInOneTabOnlyUnlessAnotherTakesIt) {
    const auto page = OpenPage(cookie, "tab-1");
    const auto host = Dial(kAddress);
    Offer(kAddress, host, "v=0\r\n");
    const auto refused = Get("/api/events?tab=tab-2", cookie);
    EXPECT_EQ(refused->Status(), 409);
    EXPECT_EQ(refused->Error(), "open-elsewhere");
    EXPECT_FALSE(page->ended);
    host->received.clear();
    const auto taking = OpenPage(cookie, "tab-2", "&take=1");
    EXPECT_EQ(page->Names().back(), "taken");
    EXPECT_TRUE(page->ended);
    EXPECT_THAT(host->Actions(), ElementsAre("peerJoined"));
    EXPECT_EQ(Get("/api/events?tab=tab-1", cookie)->Status(), 409);
    LosePage(taking);
    EXPECT_NE(OpenPage(cookie, "tab-1"), nullptr);  // nobody has it now
}

TEST_F(LivePhoneTest, WantsATabThatIsOne) {
    for (const char* query : {"", "?tab=", "?tab=a%20b", "?tab=%", "?other=1"})
        EXPECT_EQ(Get(std::string("/api/events") + query, cookie)->Status(), 400) << query;
    EXPECT_FALSE(IsListening(kAddress));
}

TEST_F(LivePhoneTest, SaysWhenItsAddressIsTaken) {
    refusedAddress = kAddress;
    const auto refused = Get("/api/events?tab=a", cookie);
    EXPECT_EQ(refused->Status(), 503);
    EXPECT_EQ(refused->Error(), "address-in-use");
    refusedAddress.clear();
    EXPECT_NE(OpenPage(cookie), nullptr);
}

TEST_F(LivePhoneTest, TellsThePageThatTheServerEnds) {
    const auto page = OpenPage(cookie);
    Dial(kAddress);
    hub->Close();
    EXPECT_EQ(page->Names().back(), "closing");
    EXPECT_TRUE(page->ended);
    EXPECT_FALSE(IsListening(kAddress));
}

TEST_F(LivePhoneTest, RemembersWhenItWasSeen) {
    const auto lastSeen = [this] {
        return json::parse(temporary.ReadState("phones.json"))["phones"][0]["lastSeen"];
    };
    calendar += 1000;
    const auto page = OpenPage(cookie);
    EXPECT_EQ(lastSeen(), 1'800'001'000);
    calendar += 500;
    Advance(59s);
    EXPECT_EQ(lastSeen(), 1'800'001'000);
    Advance(1s);
    EXPECT_EQ(lastSeen(), 1'800'001'500);  // once a minute while it is open
    calendar += 500;
    LosePage(page);
    Advance(5s);
    EXPECT_EQ(lastSeen(), 1'800'002'000);
}

TEST_F(LivePhoneTest, OutlivesNonsenseFromHosts) {
    const auto page = OpenPage(cookie);
    const auto host = Dial(kAddress, "");
    for (const char* text :
         {"", "nonsense", "[]", "{}", R"({"action":1})", R"({"action":"joinMaster","sessionGuid":7})",
          R"({"action":"masterMadeOffer","sdp":"early"})", R"({"action":"ice"})",
          R"({"action":"broadcastToPeers","subaction":"tallyStateChanged","value":1})"}) {
        listening.at(kAddress).onMessage(host, text);
    }
    EXPECT_THAT(page->Names(), ElementsAre("hello"));
    EXPECT_THAT(host->received, IsEmpty());
    Leave(kAddress, host);
    EXPECT_THAT(page->Names(), ElementsAre("hello"));  // it had never joined
    listening.at(kAddress).onMessage(host, "late");
}

TEST_F(LivePhoneTest, KeepsTwoPhonesApart) {
    const std::string ben = Pair("Ben");
    const auto annas = OpenPage(cookie);
    const auto bens = OpenPage(ben);
    const auto host = Dial("127.0.1.2");
    EXPECT_THAT(annas->Names(), ElementsAre("hello"));
    EXPECT_THAT(bens->Names(), ElementsAre("hello", "viewer"));
    EXPECT_EQ(host->received[1]["username"], "Ben");
    EXPECT_EQ(Post("/api/answer", {{"viewer", 1}, {"sdp", kAnswer}}, cookie)->Status(),
              404);  // not its viewer
}

}  // namespace
}  // namespace tests
