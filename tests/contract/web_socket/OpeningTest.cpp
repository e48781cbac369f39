#include "tests/contract/web_socket/WebSocketFixture.h"

namespace tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

INSTANTIATE_TEST_SUITE_P(, WebSocketContract, testing::Values(Scheme::Plain, Scheme::Tls), SchemeName);

TEST_P(WebSocketContract, OpensWithPathAndQuery) {
    std::string request;
    Serve([&request](RawPeer& peer) {
        peer.AcceptWebSocket();
        request = peer.Request();
        peer.SendFrame({kText, true, "hello"});
        peer.WaitForEnd();
    });
    socket->open(Url("/live/one?key=a%20b").c_str(), kLongEnough);
    EXPECT_THAT(Reports(2), ElementsAre("open", "message hello"));
    EXPECT_THAT(request, HasSubstr("GET /live/one?key=a%20b HTTP/1.1\r\n"));
    EXPECT_THAT(request, HasSubstr("Host: 127.0.0.1:" + std::to_string(server->Port()) + "\r\n"));
    EXPECT_THAT(request, HasSubstr("Sec-WebSocket-Version: 13\r\n"));
    EXPECT_THAT(request, HasSubstr("User-Agent: Halyard\r\n"));
}

}  // namespace
}  // namespace tests
