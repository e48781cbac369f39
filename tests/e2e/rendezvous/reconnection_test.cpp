// What becomes of a session in rendezvous mode when its service refuses it, cannot be reached or is lost.
#include "host_runtime/network/NetworkSettings.h"
#include "tests/e2e/rendezvous/RendezvousTest.h"

namespace rendezvous {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::IsEmpty;

using Reconnection = RendezvousTest;

constexpr const char* kFailed = "[rendezvous] Websocket Error:1\n";
constexpr const char* kPermanent = "[rendezvous] Websocket Error:3\n";
constexpr const char* kBeginning = "1 Rendezvous: Connection error - beginning reconnection.";
constexpr const char* kSucceeded = "0 Rendezvous: Reconnection to session succeeded.";

TEST_F(Reconnection, GoesOnUntilTheServiceCanBeReached) {
    SwitchOnPhones();
    service->Front().SetTurningAway(true);
    owner->Start(service->Address());
    ASSERT_TRUE(owner->RunUntil([&] { return trace.Count(kFailed) == 3; })) << Everything();
    EXPECT_THAT(owner->Told(), ElementsAre("reconnecting 1"));
    EXPECT_THAT(UserLogLines(), ElementsAre(kBeginning));

    service->Front().SetTurningAway(false);
    EXPECT_TRUE(BothPhonesAreSeen()) << Everything();
    EXPECT_EQ(service->Front().Visits(), 4) << "nothing multiplied";
    EXPECT_EQ(service->Joins().size(), 1U);
    EXPECT_EQ(owner->Told().at(1), "reconnecting 0");
    EXPECT_THAT(UserLogLines(), ElementsAre(kBeginning, kSucceeded));
}

// An established connection that is lost ends the session: its owner starts it again.
TEST_F(Reconnection, EverythingComesBackWhenTheOwnerStartsAgainAfterALoss) {
    StartWithBothPhones();
    service->Front().BreakAll();
    ASSERT_TRUE(owner->RunUntil([&] { return !owner->Session().IsStarted(); })) << Everything();
    EXPECT_TRUE(trace.Contains("nxWebRtcSession::ClosedHandler() - error:2 wasClean:false\n"))
        << Everything();
    EXPECT_TRUE(owner->WasTold("removed " + First()));
    EXPECT_TRUE(owner->WasTold("removed " + Second()));
    EXPECT_FALSE(owner->Session().FindConnectionByPeer(First()));
    EXPECT_THAT(UserLogLines(), IsEmpty());

    owner->Start(service->Address());
    EXPECT_TRUE(owner->RunUntil([&] { return service->Joins().size() == 2; })) << Everything();
    EXPECT_TRUE(BothPhonesAreSeen()) << Everything();
    EXPECT_EQ(service->Joins().at(0), service->Joins().at(1));
    EXPECT_EQ(service->Front().Visits(), 2);
}

TEST_F(Reconnection, EverythingComesBackWhenTheOwnerStartsAgainAfterAGoodbye) {
    StartWithBothPhones();
    service->CloseToPlugin();
    ASSERT_TRUE(owner->RunUntil([&] { return !owner->Session().IsStarted(); })) << Everything();
    EXPECT_TRUE(trace.Contains("nxWebRtcSession::ClosedHandler() - error:none wasClean:true\n"))
        << Everything();
    owner->Start(service->Address());
    EXPECT_TRUE(owner->RunUntil([&] { return service->Joins().size() == 2; })) << Everything();
    EXPECT_TRUE(BothPhonesAreSeen()) << Everything();
}

TEST_F(Reconnection, AFreshStartSurvivesASecondLossWhileTheServiceIsAway) {
    StartWithBothPhones();
    service->Front().SetTurningAway(true);
    service->Front().BreakAll();
    ASSERT_TRUE(owner->RunUntil([&] { return !owner->Session().IsStarted(); })) << Everything();
    owner->Start(service->Address());
    ASSERT_TRUE(owner->RunUntil([&] { return trace.Count(kFailed) == 2; })) << Everything();
    service->Front().SetTurningAway(false);
    EXPECT_TRUE(owner->RunUntil([&] { return service->Joins().size() == 2; })) << Everything();
    EXPECT_TRUE(BothPhonesAreSeen()) << Everything();
    EXPECT_THAT(UserLogLines(), ElementsAre(kBeginning, kSucceeded));
}

TEST_F(Reconnection, IsNotTriedAfterARefusedJoin) {
    service->AnswerJoinsWith({{"iceServers", json::array()}, {"result", "no such session"}});
    owner->Start(service->Address());
    ASSERT_TRUE(owner->RunUntil([&] { return owner->WasTold("joined studio-7 no such session "); }))
        << Everything();
    EXPECT_TRUE(owner->Session().IsStarted()) << "a refusal is not an error at once";
    service->Front().SetTurningAway(true);
    service->CloseToPlugin();
    ASSERT_TRUE(owner->RunUntil([&] { return !owner->Session().IsStarted(); })) << Everything();

    owner->Start(service->Address());
    ASSERT_TRUE(owner->RunUntil([&] { return trace.Contains(kFailed); })) << Everything();
    const int visits = service->Front().Visits();
    service->Front().SetTurningAway(false);
    // Nothing is queued that would dial again: the first reopening would come at once.
    EXPECT_FALSE(
        owner->RunUntil([&] { return service->Front().Visits() > visits; }, std::chrono::seconds(2)));
    EXPECT_THAT(UserLogLines(), IsEmpty());

    service->AnswerJoinsWith({{"iceServers", json::array()}, {"result", "OK"}});
    owner->Start(service->Address());
    ASSERT_TRUE(owner->RunUntil([&] { return owner->WasTold("joined studio-7 OK "); })) << Everything();
    SwitchOnPhones();
    EXPECT_TRUE(BothPhonesAreSeen()) << Everything();
}

TEST_F(Reconnection, IsNotTriedWithAServiceThatCannotBeTrusted) {
    host_runtime::SetNetworkSettings({});
    owner->Start(service->Address());
    ASSERT_TRUE(owner->RunUntil([&] { return trace.Contains(kPermanent); })) << Everything();
    EXPECT_TRUE(trace.Contains("its certificate is refused: unable to get local issuer certificate\n"));
    EXPECT_FALSE(owner->RunUntil([&] { return service->Front().Visits() > 1; }, std::chrono::seconds(2)));
    EXPECT_THAT(service->Joins(), IsEmpty());
    EXPECT_THAT(UserLogLines(), IsEmpty());
}

}  // namespace
}  // namespace rendezvous
