// One session of the plug-in with two phones that a rendezvous service brings together.
#include <nlohmann/json.hpp>

#include "tests/e2e/rendezvous/RendezvousTest.h"

namespace rendezvous {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

TEST_F(RendezvousTest, ShowsTwoPhonesInOneSession) {
    service->AnswerJoinsWith(
        {{"iceServers", json::array()}, {"result", "OK"}, {"chatUrl", "https://chat.example/7"}});
    StartWithBothPhones();
    EXPECT_THAT(service->Joins(), ElementsAre(R"({"action":"joinMaster","ownerKey":"key of the owner",)"
                                              R"("sessionGuid":"studio-7","username":"Halyard"})"));
    // The answer comes before the phones, and the plug-in's own coming, which it hears too, is none.
    EXPECT_EQ(owner->Told().at(0), "reconnecting 0");
    EXPECT_EQ(owner->Told().at(1), "joined studio-7 OK https://chat.example/7");
    EXPECT_THAT(std::vector(owner->Told().begin() + 2, owner->Told().end()),
                UnorderedElementsAre("created " + First(), "created " + Second()));
    EXPECT_TRUE(trace.Contains("ICE: []"));
    EXPECT_TRUE(trace.Contains("'peerJoined' - createConnection name:Petrel simulator"));
    EXPECT_THAT(UserLogLines(), ElementsAre());
}

TEST_F(RendezvousTest, GoesOnWithoutThePhoneThatLeft) {
    StartWithBothPhones();
    service->SendAway(0);
    ASSERT_TRUE(owner->RunUntil([&] { return owner->WasTold("removed " + First()); })) << Everything();
    EXPECT_FALSE(owner->Session().FindConnectionByPeer(First()));
    EXPECT_TRUE(owner->Session().FindConnectionByPeer(Second()));
    EXPECT_TRUE(owner->WaitForMedia(Second())) << Everything();
    EXPECT_TRUE(trace.Contains("[rendezvous] 'peerDisconnected' peerId:" + First() + "\n"));
}

TEST_F(RendezvousTest, SeesAPhoneAgainThatWasKilledAndCameBack) {
    StartWithBothPhones();
    firstPhone->Kill();
    ASSERT_TRUE(owner->RunUntil([&] { return owner->WasTold("removed " + First()); })) << Everything();
    firstPhone->Start();
    const std::size_t again = service->AddPhone("ws://" + firstPhone->Address() + ":9001/");
    ASSERT_TRUE(owner->RunUntil([&] { return service->PeerIdentifier(again) == First(); })) << Everything();
    EXPECT_TRUE(owner->WaitForMedia(First())) << Everything();
}

TEST_F(RendezvousTest, HandsChatMessagesOn) {
    owner->Start(service->Address());
    ASSERT_TRUE(owner->RunUntil([&] { return owner->WasTold("joined studio-7 OK "); })) << Everything();
    service->SayToPlugin({{"action", "gotChatMessages"}});  // without messages: an error, and no more
    service->SayToPlugin(
        {{"action", "gotChatMessages"}, {"messages", {{{"from", "Zoë"}, {"text", "two minutes"}}}}});
    EXPECT_TRUE(owner->RunUntil([&] {
        return owner->WasTold("chat [{\"from\":\"Zoë\",\"text\":\"two minutes\"}]");
    })) << Everything();
    EXPECT_TRUE(trace.Contains("cannot get value"));
}

TEST_F(RendezvousTest, TellsOnlyThePhoneThatGoesOnAir) {
    StartWithBothPhones();
    constexpr std::int32_t kProgram = 1;
    constexpr std::int32_t kOff = 4;
    owner->Session().SetPeerTallyState(Second(), kProgram);
    EXPECT_TRUE(secondPhone->Process().WaitForOutput("on air", std::chrono::seconds(10))) << Everything();
    owner->Session().SetPeerTallyState(Second(), kOff);
    EXPECT_TRUE(secondPhone->Process().WaitForOutput("off air", std::chrono::seconds(10))) << Everything();
    EXPECT_EQ(firstPhone->Process().Errors().find("on air"), std::string::npos);
    // Both heard it, since the service passes broadcasts on to all.
    std::vector<std::string> broadcasts;
    for (const std::string& text : service->FromPlugin()) {
        if (text.find("broadcastToPeers") != std::string::npos) broadcasts.push_back(text);
    }
    EXPECT_THAT(broadcasts, ElementsAre(HasSubstr("\"value\":true"), HasSubstr("\"value\":false")));
}

}  // namespace
}  // namespace rendezvous
