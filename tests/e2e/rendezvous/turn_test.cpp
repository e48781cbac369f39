// Media that has no way but a TURN server. Three networks: the host's, which is this process's own, the
// phone's, and one between them that forwards no packet; only the TURN server and the rendezvous service's
// line to the phone reach both sides.
#include "tests/e2e/nonsense/TraceLog.h"
#include "tests/e2e/rendezvous/NetworkNamespace.h"
#include "tests/e2e/rendezvous/RendezvousTest.h"
#include "tests/e2e/rendezvous/TurnServer.h"

namespace rendezvous {
extern std::string ownNetworkProblem;  // of main()

namespace {

using nlohmann::json;
using testing::HasSubstr;

constexpr const char* kHostAddress = "10.231.1.2";
constexpr const char* kMiddleOfHost = "10.231.1.1";
constexpr const char* kMiddleOfPhone = "10.231.2.1";
constexpr const char* kPhoneAddress = "10.231.2.2";
constexpr std::uint16_t kPhonePort = 9001;

json TurnEntry(const std::string& password, const std::string& transport) {
    const std::string url = std::string("turn:") + kMiddleOfHost + ":" + std::to_string(TurnServer::kPort);
    return {{"url", url + "?transport=" + transport},
            {"turnUsername", TurnServer::kUser},
            {"turnPassword", password}};
}

class Turn : public RendezvousTest {
protected:
    void SetUp() override {
        ASSERT_EQ(ownNetworkProblem, "");
        middle = std::make_unique<NetworkNamespace>();
        ASSERT_EQ(middle->Problem(), "");
        far = std::make_unique<NetworkNamespace>();
        ASSERT_EQ(far->Problem(), "");
        ASSERT_EQ(LayCables(), "");
        middle->Run([this] {
            turn = std::make_unique<TurnServer>(kMiddleOfHost, kMiddleOfPhone);
            ByteRelay::Route route;
            route.listenAddress = kMiddleOfHost;
            route.targetAddress = kPhoneAddress;
            route.targetPort = kPhonePort;
            phoneLine = std::make_unique<ByteRelay>(route);
        });
        ASSERT_EQ(turn->Problem(), "");
        far->Run([this] {
            firstPhone = std::make_unique<e2e::SimulatedPhone>(
                kPhoneAddress, std::vector<std::string>{"--size", "320x180", "--fps", "15"});
        });
    }

    void TearDown() override {
        owner.reset();
        service.reset();
        if (far) far->Run([this] { firstPhone.reset(); });
        if (middle)
            middle->Run([this] {
                phoneLine.reset();
                turn.reset();
            });
        if (ownNetworkProblem.empty()) Ip("link del host0");  // never in the network of the machine
    }

    // The phone's own candidates reach the host, but no packet does.
    void StartWith(const json& iceServers) {
        service->AnswerJoinsWith({{"iceServers", iceServers}, {"result", "OK"}});
        service->AddPhone(std::string("ws://") + kMiddleOfHost + ":" + std::to_string(phoneLine->Port()) +
                          "/");
        owner->Start(service->Address());
    }
    int OfferedCandidates(const std::string& kind) const {
        int count = 0;
        for (const std::string& text : service->FromPlugin()) {
            if (text.find("\"ice\"") != std::string::npos && text.find(" typ " + kind) != std::string::npos)
                ++count;
        }
        return count;
    }
    bool PhoneFindsNoWay() {
        const auto saysSo = [this] {
            return firstPhone->Process().Errors().find("no network path to the client works") !=
                   std::string::npos;
        };
        return owner->RunUntil(saysSo, std::chrono::seconds(60));
    }
    std::string AllLogs() const { return Everything() + turn->Output(); }

    std::unique_ptr<NetworkNamespace> middle;
    std::unique_ptr<NetworkNamespace> far;
    std::unique_ptr<TurnServer> turn;
    std::unique_ptr<ByteRelay> phoneLine;

private:
    std::string LayCables() const {
        std::string problems;
        const auto run = [&problems](const std::string& words) { problems += Ip(words); };
        const std::string middleId = std::to_string(middle->ThreadId());
        run("link set lo up");
        run("link add host0 type veth peer name middle0 netns " + middleId);
        run(std::string("addr add ") + kHostAddress + "/24 dev host0");
        run("link set host0 up");
        middle->Run([&] {
            run("link set lo up");
            run("link add middle1 type veth peer name phone0 netns " + std::to_string(far->ThreadId()));
            run(std::string("addr add ") + kMiddleOfHost + "/24 dev middle0");
            run(std::string("addr add ") + kMiddleOfPhone + "/24 dev middle1");
            run("link set middle0 up");
            run("link set middle1 up");
        });
        far->Run([&] {
            run("link set lo up");
            run(std::string("addr add ") + kPhoneAddress + "/24 dev phone0");
            run("link set phone0 up");
        });
        return problems;
    }
};

class TurnOver : public Turn, public testing::WithParamInterface<const char*> {};

INSTANTIATE_TEST_SUITE_P(Transport, TurnOver, testing::Values("udp", "tcp"),
                         [](const auto& transport) { return transport.param; });

TEST_P(TurnOver, PictureAndSoundArriveThroughTheServerAndNowhereElse) {
    StartWith(json::array({TurnEntry(TurnServer::kPassword, GetParam())}));
    ASSERT_TRUE(owner->RunUntil([&] { return !First().empty(); })) << AllLogs();
    ASSERT_TRUE(owner->WaitForMedia(First())) << AllLogs();
    EXPECT_GT(OfferedCandidates("relay"), 0);
    EXPECT_THAT(turn->Output(), HasSubstr(std::string("username=<") + TurnServer::kUser + ">"));
    const bool overTcp = turn->Output().find("tcp or tls connected to") != std::string::npos;
    EXPECT_EQ(overTcp, GetParam() == std::string("tcp"));

    // Everything came through it: nothing comes when it is gone.
    turn->Kill();
    const auto still = [this, last = std::int64_t{-1}, since = std::chrono::steady_clock::now()]() mutable {
        const std::int64_t now = owner->Pulled(First()).distinctFrames;
        if (now != std::exchange(last, now)) since = std::chrono::steady_clock::now();
        return std::chrono::steady_clock::now() - since > std::chrono::seconds(2);
    };
    EXPECT_TRUE(owner->RunUntil(still, std::chrono::seconds(20))) << "pictures found another way";
}

TEST_F(Turn, TheRelayedAddressIsGivenBackWhenTheConnectionEnds) {
    StartWith(json::array({TurnEntry(TurnServer::kPassword, "udp")}));
    ASSERT_TRUE(owner->RunUntil([&] { return !First().empty(); })) << AllLogs();
    ASSERT_TRUE(owner->WaitForMedia(First())) << AllLogs();
    const auto isGivenBack = [this] { return turn->Output().find(", lifetime=0") != std::string::npos; };
    EXPECT_FALSE(isGivenBack());
    service->SendAway(0);
    EXPECT_TRUE(owner->RunUntil(isGivenBack, std::chrono::seconds(5))) << AllLogs();
}

// The controls: what the test above sees is the TURN server's doing.

TEST_F(Turn, NothingArrivesWithoutAServer) {
    StartWith(json::array());
    EXPECT_TRUE(PhoneFindsNoWay()) << AllLogs();
    EXPECT_EQ(OfferedCandidates("relay"), 0);
    EXPECT_EQ(owner->Pulled(First()).newPictures, 0);
}

TEST_F(Turn, NothingArrivesWithAWrongPassword) {
    StartWith(json::array({TurnEntry("guessed", "udp")}));
    EXPECT_TRUE(PhoneFindsNoWay()) << AllLogs();
    EXPECT_EQ(OfferedCandidates("relay"), 0);
    EXPECT_EQ(owner->Pulled(First()).newPictures, 0);
}

}  // namespace
}  // namespace rendezvous
