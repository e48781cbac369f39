#include "host_runtime/sources/SourceText.h"

#include <gtest/gtest.h>

namespace host_runtime {
namespace {

TEST(SourceIdentifier, AcceptsUuidsAndForeignLetters) {
    EXPECT_TRUE(IsUsableIdentifier("8194E1DE-8A84-4714-9866-9605C4807817"));
    EXPECT_TRUE(IsUsableIdentifier("T\xC3\xA9l\xC3\xA9phone {1}"));
}

TEST(SourceIdentifier, RefusesWhatWouldBreakAMessage) {
    for (const std::string_view identifier : {"", "a\"b", "a\\b", "line\n", "bell\a", "delete\x7F",
                                              "\xC2\x85", "cut\xC3", "\xFF", "\xED\xA0\x80"}) {
        EXPECT_FALSE(IsUsableIdentifier(identifier)) << identifier;
    }
    EXPECT_FALSE(IsUsableIdentifier(std::string_view("a\0b", 3)));
}

TEST(PhoneHost, IsANameOrAnIPv4Address) {
    for (const std::string_view host : {"192.168.1.20", "phone", "phone.local"})
        EXPECT_TRUE(IsUsableHost(host)) << host;
    for (const std::string_view host : {"", "fe80::1", "[fe80::1]", "a b", "h/path", "h:9001", "\"", "\xFF"})
        EXPECT_FALSE(IsUsableHost(host)) << host;
}

TEST(PhoneAddress, LosesBlanksAtItsEndsOnly) {
    EXPECT_EQ(TrimmedAddress(" \t 192.168.1.20 \r\n"), "192.168.1.20");
    EXPECT_EQ(TrimmedAddress("a b"), "a b");
    EXPECT_EQ(TrimmedAddress("   "), "");
    EXPECT_EQ(TrimmedAddress(""), "");
}

TEST(PhoneAddress, IsTheSamePhoneWhateverSchemePortAndPath) {
    for (const std::string_view address : {"192.168.1.20", " 192.168.1.20 ", "ws://192.168.1.20/",
                                           "192.168.1.20:5000", "ws://192.168.1.20:9001/camera"}) {
        EXPECT_EQ(AddressKey(address), "192.168.1.20") << address;
    }
    EXPECT_NE(AddressKey("192.168.1.2"), AddressKey("192.168.1.20"));
    EXPECT_EQ(AddressKey(""), "");
    EXPECT_EQ(AddressKey(":9001"), "");
}

}  // namespace
}  // namespace host_runtime
