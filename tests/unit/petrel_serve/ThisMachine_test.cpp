#include "apps/petrel/serve/ThisMachine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace petrel {
namespace {

using testing::AllOf;
using testing::AnyOf;
using testing::Contains;
using testing::Each;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST(ThisMachine, KnowsTheLoopback) {
    const MachineNames machine = NamesOfThisMachine();
    EXPECT_THAT(machine.addresses, Contains("127.0.0.1"));
    EXPECT_THAT(machine.addresses, Contains("::1"));
    EXPECT_THAT(machine.addresses, Each(Not(StartsWith("fe80:"))));
    EXPECT_THAT(machine.names, Contains("localhost"));
    EXPECT_EQ(machine, NamesOfThisMachine());
}

TEST(ThisMachine, OffersNoLoopbackAddressToPhones) {
    const std::vector<std::string> ipv4 = NetworkAddresses(Families::Ipv4);
    EXPECT_THAT(ipv4, Each(Not(AnyOf(StartsWith("127."), HasSubstr(":")))));
    std::vector<std::string> both = NetworkAddresses(Families::Both);
    ASSERT_GE(both.size(), ipv4.size());
    EXPECT_TRUE(std::equal(ipv4.begin(), ipv4.end(), both.begin())) << "those of IPv4 come first";
    both.erase(both.begin(), both.begin() + static_cast<std::ptrdiff_t>(ipv4.size()));
    EXPECT_THAT(both, Each(AllOf(HasSubstr(":"), Not(AnyOf("::1", StartsWith("fe80:"))))));
}

TEST(ThisMachine, CanListenOnItsOwnAddressesOnly) {
    EXPECT_EQ(ProblemOfOwnAddress("127.0.0.1"), "");
    EXPECT_EQ(ProblemOfOwnAddress("192.0.2.1"),
              "The address 192.0.2.1 cannot be used: Cannot assign requested address.");
}

TEST(HostOf, TakesThePortAway) {
    EXPECT_EQ(HostOf("Studio.LOCAL:9443"), "studio.local");
    EXPECT_EQ(HostOf("studio.local."), "studio.local");
    EXPECT_EQ(HostOf("192.0.2.1:9443"), "192.0.2.1");
    EXPECT_EQ(HostOf("192.0.2.1"), "192.0.2.1");
    EXPECT_EQ(HostOf("[2001:DB8:0::1]:9443"), "2001:db8::1");
    EXPECT_EQ(HostOf("[::1]"), "::1");
}

TEST(HostOf, IsEmptyForWhatIsNoHost) {
    for (const char* text : {"", ":9443", "[::1", "[nonsense]", "[::1]x", "a:b", "a:1:2", "a/b", "a b", "a@b",
                             "*.local", "a\tb", "[127.0.0.1]"}) {
        EXPECT_EQ(HostOf(text), "") << text;
    }
    EXPECT_EQ(HostOf(std::string(300, 'a')), "");
}

TEST(IsNameOfMachine, KnowsNobodyElsesNames) {
    const MachineNames machine{{"127.0.0.1", "192.0.2.1", "2001:db8::1"},
                               {"localhost", "studio", "studio.local"}};
    for (const char* host :
         {"localhost", "STUDIO.local:9443", "192.0.2.1:9443", "[2001:db8::1]:1", "[2001:db8:0:0::1]"}) {
        EXPECT_TRUE(IsNameOfMachine(machine, host)) << host;
    }
    for (const char* host :
         {"", "evil.example", "192.0.2.2", "studio.local.evil.example", "localhost@evil.example",
          "evil.example:9443", "[2001:db8::2]", "2001:db8::1", "0.0.0.0", "127.0.0.2"}) {
        EXPECT_FALSE(IsNameOfMachine(machine, host)) << host;
    }
}

TEST(InUrl, PutsBracketsAroundIpv6) {
    EXPECT_EQ(InUrl("192.0.2.1"), "192.0.2.1");
    EXPECT_EQ(InUrl("2001:db8::1"), "[2001:db8::1]");
}

}  // namespace
}  // namespace petrel
