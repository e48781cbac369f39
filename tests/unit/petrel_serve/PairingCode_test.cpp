#include "apps/petrel/serve/PairingCode.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace petrel {
namespace {

using Verdict = PairingCode::Verdict;
using namespace std::chrono_literals;

class PairingCodeTest : public testing::Test {
protected:
    PairingCode::Time now{1000s};
    PairingCode code{now};
};

TEST_F(PairingCodeTest, HasEightCharactersInTwoGroups) {
    EXPECT_THAT(code.Text(), testing::MatchesRegex("[A-HJ-NP-Z2-9]{4}-[A-HJ-NP-Z2-9]{4}"));
    EXPECT_EQ(PairingCode::kAlphabet.size(), 32U);
}

TEST_F(PairingCodeTest, IsTakenHoweverItIsTyped) {
    std::string lower = code.Text();
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](char c) { return static_cast<char>(std::tolower(c)); });
    std::string apart = " " + lower.substr(0, 2) + " " + lower.substr(2, 2) + lower.substr(5) + " ";
    for (const std::string& typed : {code.Text(), lower, apart})
        EXPECT_EQ(code.Check(typed, now), Verdict::Right) << typed;
}

TEST_F(PairingCodeTest, IsNothingElse) {
    std::string other = code.Text();
    other[0] = other[0] == 'A' ? 'B' : 'A';
    for (const std::string& typed : {std::string(), other, code.Text() + "A", code.Text().substr(1),
                                     std::string(100000, 'A'), code.Text() + std::string(1, '\0')}) {
        EXPECT_EQ(code.Check(typed, now), Verdict::Wrong);
    }
}

TEST_F(PairingCodeTest, IsGoodForOnePhone) {
    const std::string first = code.Text();
    EXPECT_EQ(code.Check(first, now), Verdict::Right);
    code.Use(now);
    EXPECT_NE(code.Text(), first);
    EXPECT_EQ(code.Check(first, now), Verdict::Used);
    EXPECT_EQ(code.Check(code.Text(), now), Verdict::Right);
}

TEST_F(PairingCodeTest, EndsAfterTenMinutes) {
    const std::string first = code.Text();
    EXPECT_EQ(code.Left(now), 600s);
    now += PairingCode::kLifetime - 1s;
    EXPECT_FALSE(code.RenewWhenExpired(now));
    EXPECT_EQ(code.Check(first, now), Verdict::Right);
    now += 1s;
    EXPECT_EQ(code.Left(now), 0s);
    EXPECT_EQ(code.Check(first, now), Verdict::Expired);
    EXPECT_NE(code.Text(), first);
    EXPECT_EQ(code.Left(now), 600s);
}

TEST_F(PairingCodeTest, IsReplacedWhenTheOperatorWantsAnother) {
    const std::string first = code.Text();
    code.Renew(now);
    EXPECT_EQ(code.Check(first, now), Verdict::Expired);
}

TEST_F(PairingCodeTest, ForgetsWhatWasLongAgo) {
    const std::string first = code.Text();
    for (int i = 0; i < 100; ++i)
        code.Renew(now);
    EXPECT_EQ(code.Check(first, now), Verdict::Wrong);
}

}  // namespace
}  // namespace petrel
