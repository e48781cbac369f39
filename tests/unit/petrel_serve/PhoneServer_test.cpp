// The whole server over real sockets: TLS that its own authority vouches for, a page's stream, a host's
// WebSocket.
#include "apps/petrel/serve/PhoneServer.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>
#include <sys/socket.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "apps/petrel/serve/PhonesCommand.h"
#include "tests/contract/web_socket/RawPeer.h"
#include "tests/unit/petrel_serve/TemporaryFolder.h"
#include "tests/unit/web_server/TlsClient.h"

namespace tests {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::StartsWith;

// Other test programs run at the same time, on other addresses.
std::string OwnAddress() {
    return "127.99." + std::to_string(getpid() / 250 % 250 + 1) + "." + std::to_string(getpid() % 250 + 1);
}

class PhoneServerTest : public testing::Test {
protected:
    PhoneServerTest() {
        setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus", 1);
        spdlog::set_default_logger(
            std::make_shared<spdlog::logger>("petrel", std::make_shared<spdlog::sinks::null_sink_mt>()));
        options.address = "127.0.0.1";
        options.port = 0;
        options.phoneAddresses = {OwnAddress()};
        options.state = temporary.Path() / "state";
        options.quiet = true;
    }
    ~PhoneServerTest() override { unsetenv("DBUS_SYSTEM_BUS_ADDRESS"); }

    void Start() {
        std::string error;
        server = petrel::PhoneServer::Start(options, error);
        ASSERT_NE(server, nullptr) << error;
    }
    // Trusts the authority, as a phone that has installed it.
    std::unique_ptr<TlsClient> Dial(const std::string& name = "127.0.0.1") {
        return TlsClient::Connect(server->Port(), Speaks::Tls, {}, temporary.ReadState("authority.crt"),
                                  name);
    }
    std::string Get(const std::string& target, const std::string& fields = {}) {
        const auto client = Dial();
        return client ? Ask(*client, "GET", target, fields) : std::string();
    }
    std::string Post(const std::string& path, const json& body, const std::string& fields = {}) {
        const auto client = Dial();
        if (!client) return {};
        return Ask(*client, "POST", path,
                   "Origin: https://127.0.0.1\r\nContent-Type: application/json\r\n" + fields, body.dump());
    }
    // The cookie's field.
    std::string Pair() {
        const json data = json::parse(BodyOf(Get("/api/operator")));
        const std::string cookie =
            FieldOf(Post("/api/pair", {{"code", data["code"]}, {"name", "Anna"}}), "Set-Cookie");
        return "Cookie: " + cookie.substr(0, cookie.find(';')) + "\r\n";
    }
    std::unique_ptr<TlsClient> OpenPage(const std::string& cookie) {
        auto page = Dial();
        page->Send("GET /api/events?tab=t HTTP/1.1\r\nHost: 127.0.0.1\r\n" + cookie + "\r\n");
        EXPECT_THAT(page->ReadUntil("event: hello\n"), StartsWith("HTTP/1.1 200 "));
        return page;
    }

    void GiveCertificate(const petrel::KeyAndCertificate& authority, const std::string& name) {
        std::string error;
        const auto given = petrel::IssueServerCertificate(authority, {{}, {name}}, std::time(nullptr), error);
        options.certificate = temporary.Path() / "given.crt";
        options.key = temporary.Path() / "given.key";
        std::ofstream(options.certificate) << given->certificate;
        std::ofstream(options.key) << given->key;
    }

    // A host's socket to the phone.
    std::unique_ptr<RawPeer> DialPhone() const {
        const int made = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        auto peer = std::make_unique<RawPeer>(made);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(9001);
        inet_pton(AF_INET, options.phoneAddresses.front().c_str(), &address.sin_addr);
        const bool connected =
            connect(made, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
        return connected ? std::move(peer) : nullptr;
    }
    static void Say(RawPeer& host, const json& message) {
        host.Send(EncodeFrame({kText, true, message.dump()}, Masking::Masked));
    }
    static json Heard(RawPeer& host) {
        const auto frame = host.ReadMessage();
        return frame ? json::parse(frame->payload) : json();
    }

    TemporaryFolder temporary;
    petrel::ServeOptions options;
    std::unique_ptr<petrel::PhoneServer> server;
};

TEST_F(PhoneServerTest, ShowsACertificateThatItsAuthorityVouchesFor) {
    Start();
    EXPECT_NE(Dial("127.0.0.1"), nullptr);
    EXPECT_NE(Dial("localhost"), nullptr);
    EXPECT_EQ(Dial("evil.example"), nullptr);
}

TEST_F(PhoneServerTest, ServesTheAuthorityToWhoIsNotPairedYet) {
    Start();
    const std::string certificate = Get("/authority.crt");
    EXPECT_EQ(FieldOf(certificate, "Content-Type"), "application/x-x509-ca-cert");
    EXPECT_EQ(BodyOf(certificate), petrel::AsDer(temporary.ReadState("authority.crt")));
    EXPECT_THAT(BodyOf(Get("/authority.mobileconfig")), HasSubstr("com.apple.security.root"));
    EXPECT_EQ(StatusOf(Get("/authority.key")), 404);
}

TEST_F(PhoneServerTest, GuardsEveryAnswerAgainstOtherSites) {
    Start();
    for (const char* target : {"/", "/api/me", "/authority.crt", "/api/operator", "relative"}) {
        const std::string answer = Get(target);
        EXPECT_THAT(FieldOf(answer, "Content-Security-Policy"), StartsWith("default-src 'none'; ")) << target;
        EXPECT_EQ(FieldOf(answer, "X-Content-Type-Options"), "nosniff");
        EXPECT_EQ(FieldOf(answer, "Referrer-Policy"), "no-referrer");
    }
}

TEST_F(PhoneServerTest, BringsAPageAndAHostTogether) {
    Start();
    const std::string cookie = Pair();
    const auto page = OpenPage(cookie);
    const auto host = DialPhone();
    ASSERT_NE(host, nullptr);
    EXPECT_THAT(host->RequestWebSocket("/"), StartsWith("HTTP/1.1 101 "));
    Say(*host,
        {{"action", "joinMaster"}, {"ownerKey", ""}, {"sessionGuid", "GUID"}, {"username", "Halyard"}});
    EXPECT_EQ(Heard(*host)["action"], "joinMasterResponse");
    const json joined = Heard(*host);
    EXPECT_EQ(joined["action"], "peerJoined");
    EXPECT_EQ(joined["username"], "Anna");
    page->ReadUntil("event: viewer\n");
    Say(*host, {{"action", "masterMadeOffer"},
                {"peersIdentifier", joined["peersIdentifier"]},
                {"sdp", "v=0\r\n"},
                {"type", "offer"}});
    page->ReadUntil("event: offer\ndata: ");
    EXPECT_EQ(json::parse(page->ReadUntil("\n"))["sdp"], "v=0\r\n");
    EXPECT_EQ(StatusOf(Post("/api/answer", {{"viewer", 1}, {"sdp", "v=0\r\nanswer"}}, cookie)), 200);
    EXPECT_EQ(Heard(*host)["sdp"], "v=0\r\nanswer");
    Say(*host, {{"action", "broadcastToPeers"},
                {"subaction", "tallyStateChanged"},
                {"tallyPeerIdentifier", joined["peersIdentifier"]},
                {"value", true}});
    page->ReadUntil("event: tally\ndata: ");
    EXPECT_EQ(json::parse(page->ReadUntil("\n"))["onAir"], true);
}

TEST_F(PhoneServerTest, EndsThePageOfARevokedPhone) {
    Start();
    const std::string cookie = Pair();
    const auto page = OpenPage(cookie);
    EXPECT_EQ(petrel::RevokePhone({options.state, "Nobody"}), 1);
    EXPECT_EQ(petrel::RevokePhone({options.state, "Anna"}), 0);
    EXPECT_THAT(page->ReadUntil("event: revoked\n"), HasSubstr("event: revoked\n"));
    EXPECT_TRUE(page->WaitForEnd());
    EXPECT_EQ(StatusOf(Get("/api/me", cookie)), 401);
}

TEST_F(PhoneServerTest, TellsThePagesWhenItEnds) {
    Start();
    const auto page = OpenPage(Pair());
    server.reset();
    EXPECT_THAT(page->ReadUntil("event: closing\n"), HasSubstr("event: closing\n"));
}

TEST_F(PhoneServerTest, KnowsItsPhonesAfterARestart) {
    Start();
    const std::string cookie = Pair();
    const std::string authority = temporary.ReadState("authority.crt");
    server.reset();
    Start();
    EXPECT_EQ(temporary.ReadState("authority.crt"), authority);
    EXPECT_EQ(StatusOf(Get("/api/me", cookie)), 200);
}

TEST_F(PhoneServerTest, ServesOneAddressOfIpv6) {
    options.address = "::1";
    Start();
    EXPECT_EQ(TlsClient::Connect(server->Port()), nullptr) << "not the one of IPv4";
    const auto client =
        TlsClient::Connect(server->Port(), Speaks::Tls, "::1", temporary.ReadState("authority.crt"), "::1");
    ASSERT_NE(client, nullptr);
    const json data = json::parse(BodyOf(Ask(*client, "GET", "/api/operator", "Host: [::1]\r\n")));
    EXPECT_EQ(data["url"], "https://[::1]:" + std::to_string(server->Port()) + "/");
}

TEST_F(PhoneServerTest, TakesACertificateOfTheOperators) {
    std::string error;
    const auto authority = petrel::MakeAuthority("A real one", std::time(nullptr), error);
    GiveCertificate(*authority, "cam.example");
    Start();
    const auto client =
        TlsClient::Connect(server->Port(), Speaks::Tls, {}, authority->certificate, "cam.example");
    ASSERT_NE(client, nullptr);
    EXPECT_EQ(StatusOf(Ask(*client, "GET", "/authority.crt", "Host: cam.example\r\n")), 404);
    EXPECT_EQ(StatusOf(Ask(*client, "GET", "/api/me", "Host: cam.example\r\n")), 401);
    const json data = json::parse(BodyOf(Ask(*client, "GET", "/api/operator")));
    EXPECT_EQ(data["url"], "https://cam.example:" + std::to_string(server->Port()) + "/");
    EXPECT_FALSE(std::filesystem::exists(options.state / "authority.key"));
}

TEST_F(PhoneServerTest, ShowsACertificateThatWasRenewedUnderItsNewName) {
    std::string error;
    const auto authority = petrel::MakeAuthority("A real one", std::time(nullptr), error);
    GiveCertificate(*authority, "cam.example");
    Start();
    GiveCertificate(*authority, "new.example");
    std::unique_ptr<TlsClient> client;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!client && std::chrono::steady_clock::now() < deadline)
        client = TlsClient::Connect(server->Port(), Speaks::Tls, {}, authority->certificate, "new.example");
    ASSERT_NE(client, nullptr);
    // The hub learns of it right after the doors do.
    std::string answer;
    while (StatusOf(answer) != 200 && std::chrono::steady_clock::now() < deadline) {
        client = TlsClient::Connect(server->Port());
        answer = Ask(*client, "GET", "/", "Host: new.example\r\n");
    }
    EXPECT_EQ(StatusOf(answer), 200);
    const auto old = TlsClient::Connect(server->Port());
    EXPECT_EQ(StatusOf(Ask(*old, "GET", "/", "Host: cam.example\r\n")), 403);
}

TEST_F(PhoneServerTest, SaysInOneSentenceWhyItCannotStart) {
    std::string error;
    Start();
    EXPECT_EQ(petrel::PhoneServer::Start(options, error), nullptr);
    EXPECT_THAT(error, StartsWith("Another petrel serve uses the state in "));
    petrel::ServeOptions other = options;
    other.state = temporary.Path() / "other";
    other.port = server->Port();
    EXPECT_EQ(petrel::PhoneServer::Start(other, error), nullptr);
    EXPECT_THAT(error, HasSubstr("cannot be used: Address already in use."));
    server.reset();
    temporary.WriteState("phones.json", "nonsense");
    EXPECT_EQ(petrel::PhoneServer::Start(options, error), nullptr);
    EXPECT_THAT(error, HasSubstr("phones.json cannot be used: it is damaged."));
    EXPECT_EQ(temporary.ReadState("phones.json"), "nonsense");
    other.certificate = "/nonexistent";
    other.key = "/nonexistent";
    EXPECT_EQ(petrel::PhoneServer::Start(other, error), nullptr);
    EXPECT_EQ(error, "The certificate /nonexistent cannot be read.");
}

}  // namespace
}  // namespace tests
