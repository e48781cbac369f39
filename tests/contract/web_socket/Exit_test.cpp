// A process may end with sockets in any state.
#include <unistd.h>

#include <cstdlib>

#include "tests/contract/web_socket/Box.h"
#include "tests/contract/web_socket/WebSocketFixture.h"

namespace tests {
namespace {

class WebSocketAtExit : public WebSocketContract {
protected:
    WebSocketAtExit() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

    [[noreturn]] void ExitWhileMessagesArrive() {
        Serve([](RawPeer& peer) {
            peer.AcceptWebSocket();
            while (peer.SendFrame({kText, true, "more"})) {
            }
        });
        // Registered before the network thread starts, so the server goes on until that has stopped.
        static std::unique_ptr<RawServer>* const toStop = &server;
        std::atexit([] { toStop->reset(); });
        Open();
        log->WaitForLines(20);
        std::exit(0);
    }

    [[noreturn]] void ExitWhileAHandlerHangs() {
        const Gate entered;
        socket->onError = [entered](cWebSocket::Error) {
            entered.Open();
            for (;;)
                pause();
        };
        socket->open("nonsense", kLongEnough);
        entered.Wait();
        std::exit(0);
    }
};

INSTANTIATE_TEST_SUITE_P(Over, WebSocketAtExit, testing::Values(Scheme::Plain, Scheme::Tls), SchemeName);

TEST_P(WebSocketAtExit, IsNotDisturbing) {
    EXPECT_EXIT(ExitWhileMessagesArrive(), testing::ExitedWithCode(0), "");
}

TEST_P(WebSocketAtExit, DoesNotWaitForAHandlerThatHangs) {
    EXPECT_EXIT(ExitWhileAHandlerHangs(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace tests
