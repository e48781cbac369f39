#include "web_server/HttpText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace web_server {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST(AnswerText, HasItsLengthAndSaysWhetherItIsTheLast) {
    const HttpAnswer answer{200, "text/plain", "hello", {{"ETag", "\"1\""}}};
    EXPECT_EQ(AnswerText(answer, AfterAnswer::KeepsOpen),
              "HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nContent-Length: 5\r\nETag: \"1\"\r\n"
              "Connection: keep-alive\r\n\r\nhello");
    EXPECT_THAT(AnswerText(answer, AfterAnswer::Closes), HasSubstr("Connection: close\r\n"));
}

TEST(AnswerText, LeavesTheBodyOutForHeadButKeepsItsLength) {
    const std::string text =
        AnswerText({200, "text/plain", "hello", {}}, AfterAnswer::KeepsOpen, AnswerBody::LeftOut);
    EXPECT_THAT(text, HasSubstr("Content-Length: 5\r\n"));
    EXPECT_THAT(text, Not(HasSubstr("hello")));
}

TEST(AnswerText, GivesNotModifiedNoLength) {
    EXPECT_THAT(AnswerText({304, "", "", {}}, AfterAnswer::KeepsOpen), Not(HasSubstr("Content-Length")));
}

TEST(EventStreamHead, HasNoLengthAndIsNotStored) {
    const std::string head = EventStreamHead({{"X-Field", "value"}});
    EXPECT_THAT(head, StartsWith("HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\n"));
    EXPECT_THAT(head, HasSubstr("Cache-Control: no-store\r\n"));
    EXPECT_THAT(head, HasSubstr("X-Field: value\r\n"));
    EXPECT_THAT(head, Not(HasSubstr("Content-Length")));
}

TEST(Refused, IsASentenceInJson) {
    const HttpAnswer refused = Refused(413, "too-large", "The request is too large.");
    EXPECT_EQ(refused.status, 413);
    EXPECT_EQ(refused.body, "{\"error\":\"too-large\",\"sentence\":\"The request is too large.\"}");
    EXPECT_EQ(refused.contentType, "application/json");
}

TEST(RefusalOf, LooksAtTheHeadBeforeTheBodyIsRead) {
    const auto statusOf = [](const RequestHead& head) {
        const auto refused = RefusalOf(head);
        return refused ? refused->status : 0;
    };
    RequestHead head{1, "/api/pair", true, false, 10, 10};
    EXPECT_EQ(statusOf(head), 0);
    head.length = 11;
    EXPECT_EQ(statusOf(head), 413);
    head.length.reset();
    EXPECT_EQ(statusOf(head), 411);
    head.needsLength = false;
    EXPECT_EQ(statusOf(head), 0);
    head.isChunked = true;
    EXPECT_EQ(statusOf(head), 411);
    for (const std::size_t hosts : {0U, 2U})
        EXPECT_EQ(statusOf({hosts, "/", false, false, std::nullopt, 0}), 400);
    const std::string longTarget = "/" + std::string(4096, 'x');
    EXPECT_EQ(statusOf({1, longTarget, false, false, std::nullopt, 0}), 400);
    EXPECT_EQ(statusOf({1, "relative", false, false, std::nullopt, 0}), 400);
}

TEST(PlainHttpAnswer, SendsOurOwnHostsOnToHttps) {
    const std::string answer = PlainHttpAnswer("192.0.2.1:9443", "/page?a=b");
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 301 "));
    EXPECT_THAT(answer, HasSubstr("Location: https://192.0.2.1:9443/page?a=b\r\n"));
}

TEST(PlainHttpAnswer, SendsNobodyToAnotherHost) {
    const std::string answer = PlainHttpAnswer("", "/");
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 400 "));
    EXPECT_THAT(answer, HasSubstr("https://"));
    EXPECT_THAT(answer, Not(HasSubstr("Location")));
}

TEST(PlainHttpAnswer, DropsATargetThatCouldLeadElsewhere) {
    for (const char* target :
         {"//evil.example/", "http://evil.example/", "", "/a\r\nSet-Cookie: x", "/a b"}) {
        EXPECT_THAT(PlainHttpAnswer("192.0.2.1", target), HasSubstr("Location: https://192.0.2.1/\r\n"))
            << target;
    }
}

TEST(FieldOfHead, FindsAFieldInAnyCaseAndTrimsIt) {
    constexpr std::string_view kHead = "GET /x HTTP/1.1\r\nhOsT: \t a.local:9443 \r\nOther: 1";
    EXPECT_EQ(FieldOfHead(kHead, "host"), "a.local:9443");
    EXPECT_EQ(FieldOfHead(kHead, "other"), "1");
    EXPECT_EQ(FieldOfHead(kHead, "missing"), "");
    EXPECT_EQ(FieldOfHead("", "host"), "");
    EXPECT_EQ(FieldOfHead("\r\n", "host"), "");
}

TEST(TargetOfHead, StandsBetweenTheFirstAndTheLastBlank) {
    EXPECT_EQ(TargetOfHead("GET /x HTTP/1.1\r\nHost: a b c"), "/x");
    EXPECT_EQ(TargetOfHead("GET"), "");
    EXPECT_EQ(TargetOfHead("GET /x"), "");
    EXPECT_EQ(TargetOfHead(""), "");
}

TEST(DecodePercent, ReadsWholeSequencesOnly) {
    EXPECT_EQ(DecodePercent("a%2Fb%c3%A4"), "a/b\xC3\xA4");
    EXPECT_EQ(DecodePercent(""), "");
    for (const char* text : {"%", "%2", "%zz", "a%2", "%-1"})
        EXPECT_EQ(DecodePercent(text), std::nullopt) << text;
}

TEST(HttpRequest, FindsQueryValuesByTheirWholeName) {
    HttpRequest request;
    request.query = "tab=a%2Db&take=1&empty=&flag&tab=second";
    EXPECT_EQ(request.QueryValue("tab"), "a-b");
    EXPECT_EQ(request.QueryValue("take"), "1");
    EXPECT_EQ(request.QueryValue("empty"), "");
    EXPECT_EQ(request.QueryValue("flag"), "");
    EXPECT_EQ(request.QueryValue("ta"), std::nullopt);
    EXPECT_EQ(HttpRequest().QueryValue("tab"), std::nullopt);
}

}  // namespace
}  // namespace web_server
