#include "mdns/NetworkInterfaces.h"

#include <gtest/gtest.h>
#include <net/if.h>

namespace {

TEST(NetworkInterfaces, EveryAddressOf127IsTheLoopbackInterface) {
    const int loopback = static_cast<int>(if_nametoindex("lo"));
    EXPECT_EQ(mdns::InterfaceOf("127.0.0.1"), loopback);
    EXPECT_EQ(mdns::InterfaceOf("127.0.0.2"), loopback);
    EXPECT_EQ(mdns::InterfaceOf("127.200.3.4"), loopback);
    EXPECT_TRUE(mdns::IsLoopbackInterface(loopback));
}

TEST(NetworkInterfaces, AnAddressThatNobodyHasIsOnNoInterface) {
    EXPECT_EQ(mdns::InterfaceOf("192.0.2.1"), std::nullopt);  // reserved for documents
    EXPECT_EQ(mdns::InterfaceOf("0.0.0.0"), std::nullopt);
    EXPECT_EQ(mdns::InterfaceOf("localhost"), std::nullopt);
    EXPECT_EQ(mdns::InterfaceOf(""), std::nullopt);
}

TEST(NetworkInterfaces, AnInterfaceThatIsGoneIsNotTheLoopbackOne) {
    EXPECT_FALSE(mdns::IsLoopbackInterface(1'000'000));
    EXPECT_FALSE(mdns::IsLoopbackInterface(0));
    EXPECT_FALSE(mdns::IsLoopbackInterface(-1));
}

TEST(NetworkInterfaces, LoopbackAddressesAreThoseOf127) {
    EXPECT_TRUE(mdns::IsLoopbackAddress("127.0.0.1"));
    EXPECT_TRUE(mdns::IsLoopbackAddress("127.255.255.254"));
    EXPECT_FALSE(mdns::IsLoopbackAddress("128.0.0.1"));
    EXPECT_FALSE(mdns::IsLoopbackAddress("126.255.255.255"));
    EXPECT_FALSE(mdns::IsLoopbackAddress("0.0.0.0"));
    EXPECT_FALSE(mdns::IsLoopbackAddress("::1"));
    EXPECT_FALSE(mdns::IsLoopbackAddress("localhost"));
}

}  // namespace
