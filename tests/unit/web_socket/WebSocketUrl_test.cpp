#include "host_runtime/network/WebSocketUrl.h"

#include <gtest/gtest.h>

namespace {

using host_runtime::ParseWebSocketUrl;

struct Case {
    const char* text;
    bool secure;
    const char* host;
    int port;
    const char* target;
    const char* hostHeader;
};

class WebSocketUrlParts : public testing::TestWithParam<Case> {};

INSTANTIATE_TEST_SUITE_P(
    Of, WebSocketUrlParts,
    testing::Values(Case{"ws://192.168.1.20:9001/", false, "192.168.1.20", 9001, "/", "192.168.1.20:9001"},
                    Case{"ws://192.168.1.20", false, "192.168.1.20", 80, "/", "192.168.1.20"},
                    Case{"ws://192.168.1.20:/", false, "192.168.1.20", 80, "/", "192.168.1.20"},
                    Case{"wss://example.test/join", true, "example.test", 443, "/join", "example.test"},
                    Case{"wss://example.test:443/join?a=b&c", true, "example.test", 443, "/join?a=b&c",
                         "example.test"},
                    Case{"wss://example.test:80/", true, "example.test", 80, "/", "example.test:80"},
                    Case{"WSS://Example.test?q", true, "Example.test", 443, "/?q", "Example.test"},
                    Case{"ws://[::1]:9001/a%20b", false, "::1", 9001, "/a%20b", "[::1]:9001"},
                    Case{"ws://phone%2elocal/", false, "phone.local", 80, "/", "phone%2elocal"},
                    // A second scheme in front makes a host name of the first.
                    Case{"wss://wss://example.test/", true, "wss", 443, "//example.test/", "wss"}));

TEST_P(WebSocketUrlParts, AreFound) {
    const auto url = ParseWebSocketUrl(GetParam().text);
    ASSERT_TRUE(url);
    EXPECT_EQ(url->secure, GetParam().secure);
    EXPECT_EQ(url->host, GetParam().host);
    EXPECT_EQ(url->port, GetParam().port);
    EXPECT_EQ(url->target, GetParam().target);
    EXPECT_EQ(url->hostHeader, GetParam().hostHeader);
}

class UnusableUrl : public testing::TestWithParam<std::string> {};

INSTANTIATE_TEST_SUITE_P(
    Of, UnusableUrl,
    testing::Values("", "/", "ws", "ws:", "ws:/", "ws://", "ws:///path", "ws://:9001/", "127.0.0.1:9001",
                    "http://127.0.0.1/", "wsx://127.0.0.1/", "ws://user@127.0.0.1/", "ws://127.0.0.1/#top",
                    "ws://127.0.0.1:0/", "ws://127.0.0.1:65536/", "ws://127.0.0.1:99999999999999999999/",
                    "ws://127.0.0.1:90a1/", "ws://127.0.0.1:-1/", "ws://127.0.0.1:12:13/", "ws://a b/",
                    "ws://127.0.0.1/a b", "ws://127.0.0.1/\r\nX: y", "ws://[::1/", "ws://%00/",
                    "ws://h\xC3\xB6st/", " ws://127.0.0.1/", "ws://127.0.0.1/" + std::string(10000, 'x')));

TEST_P(UnusableUrl, IsRecognised) {
    EXPECT_FALSE(ParseWebSocketUrl(GetParam()));
}

}  // namespace
