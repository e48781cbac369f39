#include "plugin/address_in_use.h"

#include <gtest/gtest.h>

#include <map>

namespace {

// A network in which these names exist.
std::string Resolve(const std::string& host) {
    static const std::map<std::string, std::string> names = {{"phone.local", "192.168.1.20"},
                                                             {"cam.local", "192.168.1.20"},
                                                             {"other.local", "192.168.1.21"},
                                                             {"192.168.1.20", "192.168.1.20"},
                                                             {"192.168.1.21", "192.168.1.21"}};
    const auto found = names.find(host);
    return found != names.end() ? found->second : std::string();
}

bool InUse(const std::string& address, const std::vector<std::string>& urls) {
    return IsAddressInUse(address, urls, &Resolve);
}

TEST(AddressInUse, IsNotWithoutSources) {
    EXPECT_FALSE(InUse("192.168.1.20", {}));
    EXPECT_FALSE(InUse("", {}));
    EXPECT_FALSE(InUse("", {"", "ws://192.168.1.20:9001/"}));
}

TEST(AddressInUse, BySameUrl) {
    EXPECT_TRUE(InUse("192.168.1.20:5000", {"ws://192.168.1.21:9001/", "ws://192.168.1.20:9001/"}));
    EXPECT_TRUE(InUse("nowhere.local", {"ws://nowhere.local:9001/"}));
    EXPECT_TRUE(InUse(" strange ", {"ws:// strange :9001/"}));
}

TEST(AddressInUse, BySameHost) {
    EXPECT_TRUE(InUse("nowhere.local", {"ws://nowhere.local:1/elsewhere"}));
    EXPECT_FALSE(InUse("h", {"ws://h:1/elsewhere"}));  // one character is no host
}

TEST(AddressInUse, ByResolvedAddress) {
    EXPECT_TRUE(InUse("phone.local", {"ws://192.168.1.20:9001/"}));
    EXPECT_TRUE(InUse("192.168.1.20", {"ws://phone.local:9001/"}));
    EXPECT_TRUE(InUse("phone.local", {"ws://other.local:9001/", "ws://cam.local:9001/"}));
    EXPECT_FALSE(InUse("phone.local", {"ws://other.local:9001/"}));
}

TEST(AddressInUse, UnresolvableNamesNeverMatchEachOther) {
    EXPECT_FALSE(InUse("nowhere.local", {"ws://missing.local:9001/", ""}));
}

TEST(AddressInUse, IsExactAboutLetterCaseOfUrls) {
    EXPECT_FALSE(InUse("NOWHERE.local", {"ws://nowhere.local:9001/"}));
}

TEST(AddressInUse, ResolvesOnlyWhenNothingElseMatched) {
    int lookUps = 0;
    const HostResolver counting = [&](const std::string& host) {
        ++lookUps;
        return Resolve(host);
    };
    EXPECT_TRUE(
        IsAddressInUse("phone.local", {"ws://other.local:9001/", "ws://phone.local:9001/"}, counting));
    EXPECT_EQ(lookUps, 0);
}

}  // namespace
