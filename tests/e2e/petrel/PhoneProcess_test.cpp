// The program as a process: it starts, listens, speaks, and ends when asked to.
#include <arpa/inet.h>
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>

#include "tests/e2e/host/ChildProcess.h"

namespace {

using e2e::ChildProcess;
using testing::HasSubstr;

// Addresses of this process alone, so that test programs may run side by side.
std::string OwnAddress(int last) {
    return fmt::format("127.{}.{}.{}", 100 + getpid() / 250 % 100, 1 + getpid() % 250, last);
}
const std::string kFirstAddress = OwnAddress(2);
const std::string kSecondAddress = OwnAddress(3);
constexpr std::chrono::seconds kStartLimit(30);
// What is allowed is one second; the rest is for a machine that does other things too.
constexpr std::chrono::seconds kEndLimit(5);

// A plain socket that greets the phone as a WebSocket client would.
class PlainClient {
public:
    explicit PlainClient(const std::string& address) : descriptor(socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in to{};
        to.sin_family = AF_INET;
        to.sin_port = htons(9001);
        inet_pton(AF_INET, address.c_str(), &to.sin_addr);
        connected = connect(descriptor, reinterpret_cast<const sockaddr*>(&to), sizeof to) == 0;
        const timeval limit{10, 0};
        setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    }
    ~PlainClient() { close(descriptor); }
    PlainClient(const PlainClient&) = delete;
    PlainClient& operator=(const PlainClient&) = delete;

    bool Connected() const { return connected; }
    std::string ReplyTo(const std::string& request, const std::string& until) {
        EXPECT_EQ(send(descriptor, request.data(), request.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(request.size()));
        std::string reply;
        char bytes[1000];
        while (reply.find(until) == std::string::npos) {
            const ssize_t count = recv(descriptor, bytes, sizeof bytes, 0);
            if (count <= 0) break;
            reply.append(bytes, static_cast<std::size_t>(count));
        }
        return reply;
    }

private:
    int descriptor;
    bool connected = false;
};

const std::string kUpgrade =
    "GET / HTTP/1.1\r\nHost: phone\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
    "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\n\r\n";

// One masked text frame (RFC 6455 section 5.2) of fewer than 126 bytes; the mask is zero.
std::string TextFrame(const std::string& text) {
    return std::string("\x81") + static_cast<char>(0x80 | text.size()) + std::string(4, '\0') + text;
}

TEST(PhoneProcess, AnnouncesItselfToAClientThatJoins) {
    ChildProcess phone(PETREL_PROGRAM, {"simulate", "--listen", kFirstAddress, "--name", "Camera"});
    ASSERT_TRUE(phone.WaitForOutput("listening", kStartLimit)) << phone.Errors();
    {
        PlainClient client(kFirstAddress);
        ASSERT_TRUE(client.Connected());
        EXPECT_THAT(client.ReplyTo(kUpgrade, "\r\n\r\n"), HasSubstr("101"));
        const std::string join = TextFrame(R"({"action":"joinMaster","sessionGuid":"guid"})");
        EXPECT_THAT(client.ReplyTo(join, "}"), HasSubstr(R"("sessionGuid":"guid","username":"Camera"})"));
    }
    EXPECT_TRUE(phone.WaitForOutput("left", kStartLimit)) << phone.Errors();
    phone.Signal(SIGTERM);
    EXPECT_EQ(phone.WaitForEnd(kEndLimit), 0);
}

TEST(PhoneProcess, ListensOnAsManyAddressesAsPhones) {
    ChildProcess phones(PETREL_PROGRAM, {"simulate", "--listen", kFirstAddress, "--phones", "2"});
    ASSERT_TRUE(phones.WaitForOutput(kSecondAddress + ": listening", kStartLimit)) << phones.Errors();
    EXPECT_TRUE(PlainClient(kFirstAddress).Connected());
    EXPECT_TRUE(PlainClient(kSecondAddress).Connected());
    phones.Signal(SIGINT);
    EXPECT_EQ(phones.WaitForEnd(kEndLimit), 0);
}

TEST(PhoneProcess, EndsWithClientsConnected) {
    ChildProcess phone(PETREL_PROGRAM, {"simulate", "--listen", kFirstAddress});
    ASSERT_TRUE(phone.WaitForOutput("listening", kStartLimit)) << phone.Errors();
    PlainClient silent(kFirstAddress);
    PlainClient greeted(kFirstAddress);
    EXPECT_THAT(greeted.ReplyTo(kUpgrade, "\r\n\r\n"), HasSubstr("101"));
    phone.Signal(SIGTERM);
    EXPECT_EQ(phone.WaitForEnd(kEndLimit), 0);
}

TEST(PhoneProcess, SaysWhenTheAddressIsTaken) {
    ChildProcess first(PETREL_PROGRAM, {"simulate", "--listen", kFirstAddress});
    ASSERT_TRUE(first.WaitForOutput("listening", kStartLimit)) << first.Errors();
    ChildProcess second(PETREL_PROGRAM, {"simulate", "--listen", kFirstAddress});
    EXPECT_EQ(second.WaitForEnd(kStartLimit), 2);
    EXPECT_THAT(second.Errors(), HasSubstr(kFirstAddress));
}

TEST(PhoneProcess, SaysWhenAFileCannotBeRead) {
    ChildProcess phone(PETREL_PROGRAM,
                       {"simulate", "--listen", kFirstAddress, "--video", "/no/such/file.mp4"});
    EXPECT_EQ(phone.WaitForEnd(kStartLimit), 2);
    EXPECT_THAT(phone.Errors(), HasSubstr("/no/such/file.mp4 cannot be read"));
}

TEST(PhoneProcess, SaysWhatItDoesNotUnderstand) {
    ChildProcess phone(PETREL_PROGRAM, {"simulate", "--size", "large"});
    EXPECT_EQ(phone.WaitForEnd(kStartLimit), 2);
    EXPECT_THAT(phone.Errors(), HasSubstr("--size"));
    ChildProcess help(PETREL_PROGRAM, {"--help"});
    EXPECT_EQ(help.WaitForEnd(kStartLimit), 0);
    EXPECT_THAT(help.Output(), HasSubstr("simulate"));
}

}  // namespace
