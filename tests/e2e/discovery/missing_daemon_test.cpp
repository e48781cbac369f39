// Machines without an Avahi daemon, and daemons that come and go.
#include <gmock/gmock.h>
#include <signal.h>

#include "tests/e2e/discovery/DiscoveryTest.h"

namespace e2e {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr const char* kNotFound = "Phones in the network are not found for now";
constexpr const char* kFoundAgain = "Phones in the network are found again.";
constexpr const char* kNotAnnounced = "not announced to the network for now";

using MissingDaemon = DiscoveryTest;

TEST_F(MissingDaemon, TheHostSaysSoOnceAndRunsItsOtherSources) {
    const auto phone = StartPhone(*phones, kPhoneAddress);
    const auto halyard = StartHost({"--discovered", "--source", kPhoneAddress});
    ASSERT_TRUE(halyard->WaitForOutput(kNotFound, kSoon)) << halyard->Output();
    ASSERT_TRUE(Shows(*halyard, "10.77.0.2", "live")) << Trace();
    PassSeconds(*halyard, 5);
    End(*halyard, 0);
    EXPECT_EQ(Occurrences(halyard->Output(), kNotFound), 1U) << halyard->Output();
    EXPECT_EQ(halyard->Errors(), "");
}

TEST_F(MissingDaemon, AMachineWithoutAMessageBusIsNoDifferent) {
    const Machine alone("alone");
    const tests::TemporaryDirectory state;
    const auto halyard =
        alone.Run(HALYARD_PROGRAM, {"--discovered", "--duration", "3", "--state", state.Path()});
    EXPECT_EQ(halyard->WaitForEnd(kSoon), 1) << "no phone was found: " << halyard->Errors();
    EXPECT_EQ(Occurrences(halyard->Output(), kNotFound), 1U) << halyard->Output();
}

TEST_F(MissingDaemon, WithoutTheOptionNothingIsBrowsed) {
    const auto phone = StartPhone(*phones, kPhoneAddress);
    const auto halyard = StartHost({"--source", kPhoneAddress});
    ASSERT_TRUE(Shows(*halyard, "10.77.0.2", "live")) << Trace();
    PassSeconds(*halyard, 2);
    End(*halyard, 0);
    EXPECT_THAT(halyard->Output(), Not(HasSubstr(kNotFound)));
}

TEST_F(MissingDaemon, ThePhoneSaysSoOnceAndServesAllTheSame) {
    const auto phone = StartPhone(*phones, kPhoneAddress);
    ASSERT_TRUE(phone->WaitForOutput(kNotAnnounced, kSoon)) << phone->Errors();
    host->StartAvahi();
    const auto halyard = StartHost({"--source", kPhoneAddress, "--discovered"});
    ASSERT_TRUE(Shows(*halyard, "10.77.0.2", "live")) << Trace();

    phones->StartAvahi();
    EXPECT_TRUE(halyard->WaitForOutput("is in the network, at 10.77.0.2.", kSoon)) << halyard->Output();
    phone->Signal(SIGTERM);
    EXPECT_EQ(phone->WaitForEnd(kSoon), 0);
    EXPECT_EQ(Occurrences(phone->Errors(), kNotAnnounced), 1U) << phone->Errors();
}

TEST_F(MissingDaemon, APhoneThatIsNotToBeAnnouncedIsSilent) {
    const auto phone = StartPhone(*phones, kPhoneAddress, {"--no-announce"});
    const auto local = StartPhone(*phones, "127.0.0.2");
    phones->StartAvahi();
    host->StartAvahi();
    const auto halyard = StartHost({"--discovered", "--duration", "4"});
    EXPECT_EQ(halyard->WaitForEnd(kSoon), 1);
    EXPECT_THAT(halyard->Output(), Not(HasSubstr("is in the network")));
    for (const auto* silent : {&phone, &local})
        EXPECT_THAT((*silent)->Errors(), Not(HasSubstr("announced")));
}

TEST_F(MissingDaemon, ADaemonThatStopsTakesNoPictureAwayAndIsUsedAgainWhenItReturns) {
    host->StartAvahi();
    phones->StartAvahi();
    const auto phone = StartPhone(*phones, kPhoneAddress);
    const auto halyard = StartHost({"--discovered"});
    ASSERT_TRUE(Shows(*halyard, "10.77.0.2:9001", "live")) << Trace();

    host->StopAvahi();
    ASSERT_TRUE(halyard->WaitForOutput(kNotFound, kSoon)) << halyard->Output();
    PassSeconds(*halyard, 17);
    std::size_t mark = halyard->Output().size();
    EXPECT_TRUE(Shows(*halyard, "10.77.0.2:9001", "live", mark));

    host->StartAvahi();
    EXPECT_TRUE(halyard->WaitForOutput(kFoundAgain, kSoon)) << halyard->Output();
    const auto second = StartPhone(*phones, kOtherPhoneAddress);
    EXPECT_TRUE(Shows(*halyard, "10.77.0.3:9001", "live")) << Trace();
    PassSeconds(*halyard, 17);
    mark = halyard->Output().size();
    EXPECT_TRUE(Shows(*halyard, "10.77.0.2:9001", "live", mark));
    EXPECT_EQ(End(*halyard, 0)["sources"].size(), 2U);
    EXPECT_THAT(halyard->Output(), Not(HasSubstr("no longer in the network")));
    EXPECT_EQ(Occurrences(halyard->Output(), kNotFound), 1U) << halyard->Output();
}

TEST_F(MissingDaemon, APhoneIsAnnouncedAgainWhenItsDaemonReturns) {
    host->StartAvahi();
    phones->StartAvahi();
    const auto phone = StartPhone(*phones, kPhoneAddress);
    ASSERT_TRUE(phone->WaitForOutput("10.77.0.2: announced", kSoon)) << phone->Errors();
    phones->StopAvahi();
    ASSERT_TRUE(phone->WaitForOutput(kNotAnnounced, kSoon)) << phone->Errors();
    const auto halyard = StartHost({"--discovered"});
    phones->StartAvahi();
    EXPECT_TRUE(Shows(*halyard, "10.77.0.2:9001", "live")) << Trace();
}

}  // namespace
}  // namespace e2e
