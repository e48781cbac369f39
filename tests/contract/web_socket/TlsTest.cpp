// Whom an encrypted connection trusts.
#include "tests/contract/web_socket/WebSocketFixture.h"

namespace tests {
namespace {

using testing::ElementsAre;

class WebSocketTls : public WebSocketFixture {
protected:
    WebSocketTls() : WebSocketFixture(Scheme::Tls) {}

    void ServeWith(const CertificateWish& wish) {
        tlsContext = MakeServerContext(wish);
        Serve([](RawPeer& peer) {
            peer.AcceptWebSocket();
            peer.WaitForEnd();
        });
    }
    void OpenAt(const std::string& host) {
        socket->open(("wss://" + host + ":" + std::to_string(server->Port()) + "/").c_str(), kLongEnough);
    }
};

TEST_F(WebSocketTls, TrustsTheExtraAuthority) {
    ServeWith({});
    OpenAt("127.0.0.1");
    EXPECT_THAT(Reports(1), ElementsAre("open"));
}

TEST_F(WebSocketTls, RefusesAnUnknownAuthority) {
    settings.extraCaFile.clear();
    UseSettings(settings);
    ServeWith({});
    OpenAt("127.0.0.1");
    EXPECT_THAT(Reports(1), ElementsAre("error 3"));
}

TEST_F(WebSocketTls, RefusesEverythingWhenTheExtraAuthorityCannotBeRead) {
    settings.extraCaFile = "/nowhere/authority.pem";
    UseSettings(settings);
    ServeWith({});
    OpenAt("127.0.0.1");
    EXPECT_THAT(Reports(1), ElementsAre("error 3"));
}

TEST_F(WebSocketTls, RefusesASelfSignedCertificate) {
    CertificateWish wish;
    wish.selfSigned = true;
    ServeWith(wish);
    OpenAt("127.0.0.1");
    EXPECT_THAT(Reports(1), ElementsAre("error 3"));
}

TEST_F(WebSocketTls, RefusesACertificateForAnotherAddress) {
    CertificateWish wish;
    wish.subjectAltName = "IP:127.0.0.2";
    ServeWith(wish);
    OpenAt("127.0.0.1");
    EXPECT_THAT(Reports(1), ElementsAre("error 3"));
}

TEST_F(WebSocketTls, RefusesACertificateForAnotherName) {
    CertificateWish wish;
    wish.subjectAltName = "IP:127.0.0.1,DNS:localhost.example";
    ServeWith(wish);
    OpenAt("localhost");
    EXPECT_THAT(Reports(1), ElementsAre("error 3"));
}

TEST_F(WebSocketTls, RefusesAnExpiredCertificate) {
    CertificateWish wish;
    wish.validForSeconds = -60;
    ServeWith(wish);
    OpenAt("127.0.0.1");
    EXPECT_THAT(Reports(1), ElementsAre("error 3"));
}

TEST_F(WebSocketTls, RefusesACertificateOfTheFuture) {
    CertificateWish wish;
    wish.validFromSeconds = 1800;
    ServeWith(wish);
    OpenAt("127.0.0.1");
    EXPECT_THAT(Reports(1), ElementsAre("error 3"));
}

TEST_F(WebSocketTls, AcceptsTls12) {
    CertificateWish wish;
    wish.maximumTlsVersion = TLS1_2_VERSION;
    ServeWith(wish);
    OpenAt("127.0.0.1");
    EXPECT_THAT(Reports(1), ElementsAre("open"));
}

TEST_F(WebSocketTls, RefusesTls11) {
    CertificateWish wish;
    wish.maximumTlsVersion = TLS1_1_VERSION;
    ServeWith(wish);
    OpenAt("127.0.0.1");
    EXPECT_THAT(Reports(1), ElementsAre("error 3"));
}

TEST_F(WebSocketTls, FindsNoServerThatSpeaksPlainText) {
    tlsContext.reset();
    Serve([](RawPeer& peer) {
        peer.Send("HTTP/1.1 400 Bad Request\r\n\r\n");
        peer.WaitForEnd();
    });
    OpenAt("127.0.0.1");
    EXPECT_THAT(Reports(1), ElementsAre("error 3"));
}

TEST_F(WebSocketTls, TimesOutBeforeTheHandshake) {
    tlsContext.reset();
    Serve([](RawPeer& peer) { peer.WaitForEnd(); });
    socket->open(Url().c_str(), 0.05);
    EXPECT_THAT(Reports(1), ElementsAre("error 1"));
}

TEST_F(WebSocketTls, ReportsADropInTheHandshake) {
    tlsContext.reset();
    Serve([](RawPeer& peer) { peer.ReadSome(); });
    Open();
    EXPECT_THAT(Reports(1), ElementsAre("error 1"));
}

TEST_F(WebSocketTls, ReportsAResetInTheHandshake) {
    tlsContext.reset();
    Serve([](RawPeer& peer) {
        peer.ReadSome();
        peer.Reset();
    });
    Open();
    EXPECT_THAT(Reports(1), ElementsAre("error 1"));
}

}  // namespace
}  // namespace tests
