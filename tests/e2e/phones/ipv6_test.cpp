// `petrel serve` on every address of both kinds, of a machine that has one of each besides its loopback ones.
#include <gmock/gmock.h>
#include <signal.h>

#include <nlohmann/json.hpp>

#include "tests/e2e/phones/WithPhonesTest.h"
#include "tests/e2e/rendezvous/NetworkNamespace.h"
#include "tests/unit/web_server/TlsClient.h"

namespace e2e {
namespace {

using nlohmann::json;
using testing::HasSubstr;

class ServeIpv6 : public WithPhonesTest {
protected:
    void SetUp() override {
        WithPhonesTest::SetUp();
        for (const char* words :
             {"link add wire type veth peer name wire-end", "address add 192.0.2.1/24 dev wire",
              "address add 2001:db8::1/64 dev wire nodad", "link set wire up"})
            EXPECT_EQ(rendezvous::Ip(words), "");
    }
    void TearDown() override { rendezvous::Ip("link delete wire"); }
};

TEST_F(ServeIpv6, ServesPhonesOfBothKinds) {
    const std::string state = directory / "serve";
    ChildProcess server(PETREL_PROGRAM, {"serve", "--address", "::", "--state", state},
                        {"DBUS_SYSTEM_BUS_ADDRESS=unix:path=/nonexistent/bus"});
    ASSERT_TRUE(server.WaitForOutput("Fingerprint", kSoon)) << server.Errors();
    EXPECT_THAT(server.Output(), HasSubstr("Phones open this page:\n"
                                           "  https://192.0.2.1:9443/\n"
                                           "  https://[2001:db8::1]:9443/\n"));
    const std::string authority = tests::ReadText(state + "/authority.crt");
    for (const std::string address : {"::1", "127.0.0.1"}) {
        const bool overIpv6 = address == "::1";
        const auto client =
            tests::TlsClient::Connect(kPort, tests::Speaks::Tls, overIpv6 ? "::1" : "", authority, address);
        ASSERT_NE(client, nullptr) << address;
        const std::string name = (overIpv6 ? "[::1]" : address) + ":9443";
        const std::string answer = Ask(*client, "GET", "/api/operator", "Host: " + name + "\r\n");
        ASSERT_EQ(tests::StatusOf(answer), 200) << "it is the operator's own machine: " << answer;
        const json shown = json::parse(tests::BodyOf(answer));
        const std::string paired =
            Ask(*client, "POST", "/api/pair",
                "Host: " + name + "\r\nOrigin: https://" + name + "\r\nContent-Type: application/json\r\n",
                json({{"code", shown["code"]}, {"name", "A phone"}}).dump());
        EXPECT_EQ(tests::StatusOf(paired), 200) << paired;
    }
    server.Signal(SIGTERM);
    EXPECT_EQ(server.WaitForEnd(kSoon), 0);
}

}  // namespace
}  // namespace e2e
