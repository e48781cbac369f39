// A system that has no file descriptor left for the next client. This program's accept() fails when told to.
#include <sys/socket.h>

#include <atomic>
#include <cerrno>
#include <chrono>

#include "tests/unit/web_server/HttpsFixture.h"

namespace tests {
namespace {

std::atomic<int> failuresLeft{0};

}  // namespace
}  // namespace tests

extern "C" int __real_accept(int socket, sockaddr* address, socklen_t* length);
extern "C" int __wrap_accept(int socket, sockaddr* address, socklen_t* length);

extern "C" int __wrap_accept(int socket, sockaddr* address, socklen_t* length) {
    if (tests::failuresLeft > 0) {
        --tests::failuresLeft;
        errno = EMFILE;
        return -1;
    }
    return __real_accept(socket, address, length);
}

namespace tests {
namespace {

class AcceptorTest : public HttpsFixture {};

TEST_F(AcceptorTest, TriesAgainSomeTimeAfterAFailure) {
    failuresLeft = 3;
    const auto begin = std::chrono::steady_clock::now();
    Listen();
    const auto client = Dial();
    ASSERT_NE(client, nullptr);
    EXPECT_EQ(StatusOf(Ask(*client, "GET", "/")), 200);
    EXPECT_EQ(failuresLeft, 0);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(300)) << "three rests";
}

TEST_F(AcceptorTest, StopsWhileItRests) {
    failuresLeft = 1'000'000;
    Listen();
    const auto waiting = DialPlain();
    server->Stop();
    EXPECT_TRUE(waiting->WaitForEnd());
    failuresLeft = 0;
}

}  // namespace
}  // namespace tests
