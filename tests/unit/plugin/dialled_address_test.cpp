#include "plugin/dialled_address.h"

#include <gtest/gtest.h>

namespace {

using Addresses = std::map<std::string, std::string>;

TEST(DialledAddress, IsThatOfTheSettings) {
    EXPECT_EQ(DialledAddress("source", "192.168.1.20:5000", {}), "192.168.1.20:5000");
    EXPECT_EQ(DialledAddress("source", "192.168.1.20", Addresses{{"other", "192.168.1.30"}}), "192.168.1.20");
    EXPECT_EQ(DialledAddress("source", "192.168.1.20", Addresses{{"Source", "192.168.1.30"}}),
              "192.168.1.20");
}

TEST(DialledAddress, IsReplacedByTheDirectAddressOfTheSource) {
    EXPECT_EQ(DialledAddress("source", "192.168.1.20", Addresses{{"source", "192.168.1.30"}}),
              "192.168.1.30");
    EXPECT_EQ(DialledAddress("source", "192.168.1.20", Addresses{{"source", ""}}), "");
}

TEST(DialledAddress, IsMissingWithoutOneInTheSettings) {
    EXPECT_EQ(DialledAddress("source", "", {}), std::nullopt);
    EXPECT_EQ(DialledAddress("source", "", Addresses{{"source", "192.168.1.30"}}), std::nullopt);
}

}  // namespace
