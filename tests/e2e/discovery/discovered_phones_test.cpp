// Phones that come and go in the network, and what the host makes of them.
#include <gmock/gmock.h>
#include <signal.h>

#include "tests/e2e/discovery/DiscoveryTest.h"

namespace e2e {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kLost = "is no longer in the network";

class DiscoveredPhones : public DiscoveryTest {
protected:
    void SetUp() override {
        DiscoveryTest::SetUp();
        if (HasFatalFailure()) return;
        host->StartAvahi();
    }
};

TEST_F(DiscoveredPhones, APhoneIsFoundAndShown) {
    phones->StartAvahi();
    const auto phone = StartPhone(*phones, kPhoneAddress, {"--name", "Studio"});
    const auto halyard = StartHost({"--discovered"});
    ASSERT_TRUE(Shows(*halyard, "10.77.0.2:9001", "live")) << Trace();
    PassSeconds(*halyard, 3);
    const json report = End(*halyard, 0);
    ASSERT_EQ(report["sources"].size(), 1U) << "its records over IPv4 and IPv6 are one phone";
    const json source = report["sources"][0];
    EXPECT_EQ(source["name"], "Studio");
    EXPECT_EQ(source["address"], "10.77.0.2:9001");
    EXPECT_EQ(source["connected"], true);
    EXPECT_EQ(source["width"], 320);
    EXPECT_EQ(source["identifier"].get<std::string>().size(), 36U);
    EXPECT_EQ(Occurrences(halyard->Output(), "is in the network"), 1U) << halyard->Output();
    EXPECT_THAT(halyard->Output(), HasSubstr("The phone \"Studio\" is in the network, at 10.77.0.2."));
}

TEST_F(DiscoveredPhones, ThePhonesOfOneMachineAreToldApart) {
    phones->StartAvahi();
    const auto halyard = StartHost({"--discovered"});
    const auto process = StartPhone(*phones, kPhoneAddress, {"--phones", "2"});
    ASSERT_TRUE(Shows(*halyard, "10.77.0.2:9001", "live")) << Trace();
    ASSERT_TRUE(Shows(*halyard, "10.77.0.3:9001", "live")) << Trace();
    PassSeconds(*halyard, 3);
    const json report = End(*halyard, 0);
    ASSERT_EQ(report["sources"].size(), 2U);
    EXPECT_NE(report["sources"][0]["identifier"], report["sources"][1]["identifier"]);
}

TEST_F(DiscoveredPhones, AKilledPhoneIsLostAfterTheGrace) {
    phones->StartAvahi();
    const auto phone = StartPhone(*phones, kPhoneAddress);
    const auto halyard = StartHost({"--discovered"});
    ASSERT_TRUE(Shows(*halyard, "10.77.0.2:9001", "live")) << Trace();
    PassSeconds(*halyard, 2);
    phone->Signal(SIGKILL);
    const auto killedAt = std::chrono::steady_clock::now();
    ASSERT_TRUE(halyard->WaitForOutput(kLost, kSoon)) << halyard->Output();
    const std::chrono::duration<double> lostAfter = std::chrono::steady_clock::now() - killedAt;
    EXPECT_GE(lostAfter.count(), 15.0);
    EXPECT_LE(lostAfter.count(), 20.0);
    const std::size_t mark = halyard->Output().size();
    EXPECT_TRUE(Shows(*halyard, "10.77.0.2:9001", "offline", mark));

    const auto again = StartPhone(*phones, kPhoneAddress);
    EXPECT_TRUE(Shows(*halyard, "10.77.0.2:9001", "live", mark)) << Trace();
    EXPECT_EQ(End(*halyard, 0)["sources"].size(), 1U);
}

TEST_F(DiscoveredPhones, APhoneBackWithinTheGraceHasLostNothing) {
    phones->StartAvahi();
    auto phone = StartPhone(*phones, kPhoneAddress);
    const auto halyard = StartHost({"--discovered"});
    ASSERT_TRUE(Shows(*halyard, "10.77.0.2:9001", "live")) << Trace();
    PassSeconds(*halyard, 2);
    phone->Signal(SIGKILL);
    EXPECT_TRUE(phone->WaitForEnd(kSoon));
    PassSeconds(*halyard, 5);
    const std::size_t mark = halyard->Output().size();
    phone = StartPhone(*phones, kPhoneAddress);
    EXPECT_TRUE(Shows(*halyard, "10.77.0.2:9001", "live", mark)) << Trace();
    PassSeconds(*halyard, 16);
    EXPECT_THAT(halyard->Output(), Not(HasSubstr(kLost)));
    EXPECT_EQ(Occurrences(halyard->Output(), "is in the network"), 1U);
    EXPECT_EQ(End(*halyard, 0)["sources"].size(), 1U);
}

TEST_F(DiscoveredPhones, BadIdentifiersAreRejectedAtTheDoor) {
    const auto field = [](const std::string& text) { return "<txt-record>" + text + "</txt-record>"; };
    const auto binary = [](const std::string& hex) {
        return "<txt-record value-format=\"binary-hex\">PeerIdentifier=" + hex + "</txt-record>";
    };
    phones->AddService("quote", field("PeerIdentifier=quo\"te"));
    phones->AddService("backslash", field("PeerIdentifier=back\\slash"));
    phones->AddService("control", binary("636f6e0174726f6c"));
    phones->AddService("utf8", binary("75746638ff"));
    phones->AddService("empty", field("PeerIdentifier="));
    phones->AddService("nothing", field("Other=1"));
    phones->AddService("lower", field("peeridentifier=lower-case"));
    phones->StartAvahi();
    const auto phone = StartPhone(*phones, kPhoneAddress);
    const auto halyard = StartHost({"--discovered"});
    ASSERT_TRUE(Shows(*halyard, "10.77.0.2:9001", "live")) << Trace();
    EXPECT_TRUE(halyard->WaitForOutput("The phone \"lower\" is in the network", kSoon))
        << "the keys of a TXT record do not distinguish case";
    PassSeconds(*halyard, 3);
    const json report = End(*halyard, 1);
    EXPECT_EQ(report["sources"].size(), 2U);
    const std::string trace = Trace();
    EXPECT_THAT(trace, HasSubstr("a phone was reported that cannot be used: 'quo\"te' at"));
    EXPECT_THAT(trace, HasSubstr("a phone was reported that cannot be used: 'back\\slash' at"));
    EXPECT_THAT(trace, HasSubstr("a phone was reported that cannot be used: 'con trol' at"));
    EXPECT_THAT(trace, HasSubstr("a phone was reported that cannot be used: 'utf8\xEF\xBF\xBD' at"));
    EXPECT_THAT(trace, HasSubstr("the service 'empty' on 'pockets.local' names no phone"));
    EXPECT_THAT(trace, HasSubstr("the service 'nothing' on 'pockets.local' names no phone"));
    EXPECT_EQ(Occurrences(halyard->Output(), "is in the network"), 2U) << halyard->Output();
}

TEST_F(DiscoveredPhones, PhonesOfOneNameGetAlternativeNames) {
    phones->StartAvahi();
    const auto phone = StartPhone(*phones, kPhoneAddress, {"--name", "Studio"});
    ASSERT_TRUE(phone->WaitForOutput("10.77.0.2: announced as \"Studio\"", kSoon)) << phone->Errors();
    const auto onTheSameMachine = StartPhone(*phones, kOtherPhoneAddress, {"--name", "Studio"});
    EXPECT_TRUE(onTheSameMachine->WaitForOutput("10.77.0.3: announced as \"Studio #2\"", kSoon))
        << onTheSameMachine->Errors();
    const auto onAnother = StartPhone(*host, kHostAddress, {"--name", "Studio"});
    EXPECT_TRUE(onAnother->WaitForOutput("10.77.0.1: announced as \"Studio #3\"", kSoon))
        << onAnother->Errors();
    const auto halyard = StartHost({"--discovered"});
    for (const char* name : {"\"Studio\"", "\"Studio #2\"", "\"Studio #3\""}) {
        EXPECT_TRUE(halyard->WaitForOutput(std::string("The phone ") + name + " is in the network", kSoon))
            << halyard->Output();
    }
}

TEST_F(DiscoveredPhones, ALoopbackAddressIsAnnouncedToItsOwnMachineOnly) {
    phones->StartAvahi();
    const auto phone = StartPhone(*host, "127.0.0.2", {"--announce", "--name", "Here"});
    const auto far = StartPhone(*phones, "127.0.0.3", {"--announce", "--name", "There"});
    ASSERT_TRUE(far->WaitForOutput("127.0.0.3: announced", kSoon)) << far->Errors();
    const auto halyard = StartHost({"--discovered"});
    ASSERT_TRUE(Shows(*halyard, "127.0.0.2:9001", "live")) << Trace();
    PassSeconds(*halyard, 5);
    EXPECT_EQ(End(*halyard, 0)["sources"].size(), 1U);
    EXPECT_THAT(halyard->Output(), Not(HasSubstr("There")));
}

TEST_F(DiscoveredPhones, APhoneGivenByAddressIsNotRunTwice) {
    phones->StartAvahi();
    const auto phone = StartPhone(*phones, kPhoneAddress);
    const auto halyard = StartHost({"--source", kPhoneAddress, "--discovered"});
    ASSERT_TRUE(Shows(*halyard, "10.77.0.2", "live")) << Trace();
    ASSERT_TRUE(halyard->WaitForOutput("is in the network", kSoon)) << halyard->Output();
    PassSeconds(*halyard, 3);
    EXPECT_EQ(End(*halyard, 0)["sources"].size(), 1U);
}

}  // namespace
}  // namespace e2e
