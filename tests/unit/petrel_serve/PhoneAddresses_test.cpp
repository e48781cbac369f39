#include "apps/petrel/serve/PhoneAddresses.h"

#include <gtest/gtest.h>

namespace petrel {
namespace {

PairedPhone At(const std::string& address) {
    PairedPhone phone;
    phone.address = address;
    return phone;
}

TEST(PhoneAddresses, CountUpOnTheLoopback) {
    const PhoneAddresses addresses({});
    EXPECT_EQ(addresses.FirstFree({}), "127.0.1.1");
    EXPECT_EQ(addresses.FirstFree({At("127.0.1.1"), At("127.0.1.2")}), "127.0.1.3");
    EXPECT_EQ(addresses.FirstFree({At("127.0.1.1"), At("127.0.1.3")}), "127.0.1.2");
    EXPECT_EQ(addresses.Count(), 254U);
}

TEST(PhoneAddresses, EndAtTheLastOne) {
    const PhoneAddresses addresses({});
    std::vector<PairedPhone> phones;
    while (const auto address = addresses.FirstFree(phones))
        phones.push_back(At(*address));
    EXPECT_EQ(phones.size(), 254U);
    EXPECT_EQ(phones.back().address, "127.0.1.254");
}

TEST(PhoneAddresses, AreThoseThatWereNamed) {
    const PhoneAddresses addresses({"192.0.2.1", "192.0.2.9"});
    EXPECT_EQ(addresses.FirstFree({At("192.0.2.1")}), "192.0.2.9");
    EXPECT_EQ(addresses.FirstFree({At("192.0.2.1"), At("192.0.2.9")}), std::nullopt);
}

TEST(PhoneAddresses, StayWithTheirPhones) {
    std::vector<PairedPhone> phones{At("127.0.1.3"), At("127.0.1.1")};
    PhoneAddresses({}).Assign(phones);
    EXPECT_EQ(phones[0].address, "127.0.1.3");
    EXPECT_EQ(phones[1].address, "127.0.1.1");
}

TEST(PhoneAddresses, AreGivenAnewWhenOthersAreNamed) {
    std::vector<PairedPhone> phones{At("127.0.1.1"), At("192.0.2.1"), At("192.0.2.1"), At("")};
    PhoneAddresses({"192.0.2.1", "192.0.2.2", "192.0.2.3"}).Assign(phones);
    EXPECT_EQ(phones[0].address, "192.0.2.2");
    EXPECT_EQ(phones[1].address, "192.0.2.1");
    EXPECT_EQ(phones[2].address, "192.0.2.3");
    EXPECT_EQ(phones[3].address, "");  // more phones than addresses
}

}  // namespace
}  // namespace petrel
