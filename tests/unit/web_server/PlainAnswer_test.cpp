#include "web_server/PlainAnswer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;
using testing::StartsWith;
using web_server::AsksForPath;
using web_server::PlainAnswer;
using web_server::Refusal;

TEST(PlainAnswer, NamesTheReasonAndEndsTheConnection) {
    EXPECT_THAT(PlainAnswer(Refusal::BadRequest), StartsWith("HTTP/1.1 400 Bad Request\r\n"));
    EXPECT_THAT(PlainAnswer(Refusal::NotFound), StartsWith("HTTP/1.1 404 Not Found\r\n"));
    EXPECT_THAT(PlainAnswer(Refusal::NotFound), HasSubstr("\r\nConnection: close\r\n"));
    EXPECT_THAT(PlainAnswer(Refusal::UpgradeRequired), StartsWith("HTTP/1.1 426 Upgrade Required\r\n"));
    EXPECT_THAT(PlainAnswer(Refusal::UpgradeRequired),
                HasSubstr("\r\nUpgrade: websocket\r\nConnection: upgrade, close\r\n"));
}

TEST(PlainAnswer, GivesTheLengthOfItsBody) {
    for (const Refusal refusal : {Refusal::BadRequest, Refusal::NotFound, Refusal::UpgradeRequired}) {
        const std::string answer = PlainAnswer(refusal);
        const std::string body = answer.substr(answer.find("\r\n\r\n") + 4);
        EXPECT_FALSE(body.empty());
        EXPECT_THAT(answer, HasSubstr("\r\nContent-Length: " + std::to_string(body.size()) + "\r\n"));
    }
}

TEST(AsksForPath, IgnoresTheQueryAndNothingElse) {
    EXPECT_TRUE(AsksForPath("/", "/"));
    EXPECT_TRUE(AsksForPath("/?a=b?c", "/"));
    EXPECT_TRUE(AsksForPath("/live", "/live"));
    EXPECT_FALSE(AsksForPath("/live/", "/live"));
    EXPECT_FALSE(AsksForPath("//", "/"));
    EXPECT_FALSE(AsksForPath("", "/"));
    EXPECT_FALSE(AsksForPath("*", "/"));
    EXPECT_FALSE(AsksForPath("http://host/", "/"));
}

}  // namespace
