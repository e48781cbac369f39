#include "connection/state_names.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

void ExpectTable(const char* (*name)(std::uint32_t), const std::vector<std::string>& table) {
    for (std::uint32_t state = 0; state < table.size(); ++state)
        EXPECT_EQ(name(state), table[state]);
    for (std::uint32_t state = static_cast<std::uint32_t>(table.size()); state < 32; ++state)
        EXPECT_STREQ(name(state), "");
    EXPECT_STREQ(name(0xFFFFFFFF), "");
}

TEST(StateNames, IceConnection) {
    ExpectTable(
        &IceConnectionStateName,
        {"IceConnectionNew", "IceConnectionChecking", "IceConnectionConnected", "IceConnectionCompleted",
         "IceConnectionFailed", "IceConnectionDisconnected", "IceConnectionClosed", "IceConnectionMax"});
}

TEST(StateNames, IceGathering) {
    ExpectTable(&IceGatheringStateName, {"IceGatheringNew", "IceGatheringGathering", "IceGatheringComplete"});
}

TEST(StateNames, Signaling) {
    ExpectTable(&SignalingStateName, {"Stable", "HaveLocalOffer", "HaveLocalPrAnswer", "HaveRemoteOffer",
                                      "HaveRemotePrAnswer", "Closed"});
}

}  // namespace
