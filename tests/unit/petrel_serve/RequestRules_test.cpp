#include "apps/petrel/serve/RequestRules.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace petrel {
namespace {

using testing::HasSubstr;
using web_server::HttpRequest;

const MachineNames kMachine{{"127.0.0.1", "192.0.2.1"}, {"localhost", "studio.local"}};

HttpRequest Post(const std::string& host, const std::string& origin,
                 const std::string& type = "application/json") {
    HttpRequest request;
    request.method = "POST";
    request.fields = {{"host", host}, {"origin", origin}, {"content-type", type}};
    return request;
}

int StatusOf(const HttpRequest& request) {
    const auto refused = RefusalByRules(request, kMachine);
    return refused ? refused->status : 0;
}

TEST(RequestRules, TakeReadingRequestsForOurOwnNamesOnly) {
    for (const char* method : {"GET", "HEAD"}) {
        HttpRequest request;
        request.method = method;
        request.fields = {{"host", "192.0.2.1:9443"}};
        EXPECT_EQ(StatusOf(request), 0);
        request.fields = {{"host", "evil.example:9443"}};
        EXPECT_EQ(StatusOf(request), 403);
        request.fields = {};
        EXPECT_EQ(StatusOf(request), 403);
    }
}

TEST(RequestRules, TakeChangesFromOurOwnPageOnly) {
    EXPECT_EQ(StatusOf(Post("192.0.2.1:9443", "https://192.0.2.1:9443")), 0);
    EXPECT_EQ(StatusOf(Post("Studio.local:9443", "https://studio.LOCAL:9443")), 0);
    for (const char* origin : {"", "null", "http://192.0.2.1:9443", "https://192.0.2.1",
                               "https://192.0.2.1:9444", "https://studio.local:9443", "https://evil.example",
                               "https://192.0.2.1:9443.evil.example", "https://192.0.2.1:9443/"}) {
        EXPECT_EQ(StatusOf(Post("192.0.2.1:9443", origin)), 403) << origin;
    }
    EXPECT_EQ(StatusOf(Post("evil.example", "https://evil.example")), 403);  // a name made to point here
}

TEST(RequestRules, TakeOnlyJson) {
    const std::string host = "localhost:1";
    for (const char* type : {"application/json", "Application/JSON; charset=utf-8", "application/json ;x"})
        EXPECT_EQ(StatusOf(Post(host, "https://localhost:1", type)), 0) << type;
    for (const char* type :
         {"", "text/plain", "application/x-www-form-urlencoded", "application/jsonp", "json"})
        EXPECT_EQ(StatusOf(Post(host, "https://localhost:1", type)), 415) << type;
}

TEST(RequestRules, KnowThreeMethods) {
    for (const char* method : {"PUT", "DELETE", "OPTIONS", "TRACE", "CONNECT", "get", "X"}) {
        HttpRequest request = Post("localhost", "https://localhost");
        request.method = method;
        EXPECT_EQ(StatusOf(request), 405) << method;
    }
}

TEST(SecretOf, FindsOurCookieAmongOthers) {
    HttpRequest request;
    const auto secretOf = [&request](const char* cookies) {
        request.fields = {{"cookie", cookies}};
        return SecretOf(request);
    };
    EXPECT_EQ(secretOf("petrel=abc"), "abc");
    EXPECT_EQ(secretOf("a=b; petrel=abc; c=d"), "abc");
    EXPECT_EQ(secretOf("xpetrel=abc"), "");
    EXPECT_EQ(secretOf("a=petrel=abc"), "");
    EXPECT_EQ(secretOf("petrel="), "");
    EXPECT_EQ(secretOf(";;;"), "");
    EXPECT_EQ(secretOf(("petrel=" + std::string(1000, 'a')).c_str()), "");
    EXPECT_EQ(SecretOf({}), "");
}

TEST(SecretCookie, IsForThisServersPageAlone) {
    EXPECT_EQ(SecretCookie("abc"), "petrel=abc; Path=/; Secure; HttpOnly; SameSite=Strict; Max-Age=34560000");
    EXPECT_THAT(ClearedSecretCookie(), HasSubstr("Max-Age=0"));
}

TEST(IsTabIdentifier, TakesUuids) {
    EXPECT_TRUE(IsTabIdentifier("5f1c0000-0000-4000-8000-000000000000"));
    for (const char* text : {"", "a b", "a/b", "a\nb", "\xC3\xA4"})
        EXPECT_FALSE(IsTabIdentifier(text));
    EXPECT_FALSE(IsTabIdentifier(std::string(65, 'a')));
}

}  // namespace
}  // namespace petrel
