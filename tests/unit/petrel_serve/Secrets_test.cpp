#include "apps/petrel/serve/Secrets.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

namespace petrel {
namespace {

using testing::MatchesRegex;

TEST(RandomText, IsLongEnoughForItsBytesAndSafeInCookies) {
    std::set<std::string> seen;
    for (int i = 0; i < 100; ++i) {
        const std::string text = RandomText(32);
        EXPECT_THAT(text, MatchesRegex("[A-Za-z0-9_-]{43}"));
        EXPECT_TRUE(seen.insert(text).second);
    }
}

TEST(RandomOf, UsesTheWholeAlphabetAndNothingElse) {
    std::set<char> used;
    for (const char c : RandomOf("ABC", 300))
        used.insert(c);
    EXPECT_EQ(used, (std::set<char>{'A', 'B', 'C'}));
}

TEST(RandomUuid, IsOfVersionFour) {
    EXPECT_THAT(RandomUuid(),
                MatchesRegex("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}"));
    EXPECT_NE(RandomUuid(), RandomUuid());
}

// FIPS 180-2, appendix B.1.
TEST(DigestOf, IsSha256) {
    EXPECT_EQ(DigestOf("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST(EqualsInConstantTime, ComparesAsUsual) {
    EXPECT_TRUE(EqualsInConstantTime("", ""));
    EXPECT_TRUE(EqualsInConstantTime("abc", "abc"));
    EXPECT_FALSE(EqualsInConstantTime("abc", "abd"));
    EXPECT_FALSE(EqualsInConstantTime("abc", "ab"));
}

// RFC 4648 section 10.
TEST(Base64, PadsToFours) {
    EXPECT_EQ(Base64(""), "");
    EXPECT_EQ(Base64("f"), "Zg==");
    EXPECT_EQ(Base64("foobar"), "Zm9vYmFy");
}

}  // namespace
}  // namespace petrel
