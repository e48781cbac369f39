// Whom an encrypted connection trusts, and what the trace says about those whom it does not.
#include "host_runtime/core/TraceOutput.h"
#include "tests/contract/web_socket/WebSocketFixture.h"

namespace tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class WebSocketTls : public WebSocketFixture {
protected:
    WebSocketTls() : WebSocketFixture(Scheme::Tls) {
        host_runtime::SetTraceSink([this](zFourCC, const std::string& text) { trace->Write(text); });
    }
    ~WebSocketTls() override { host_runtime::SetTraceSink({}); }

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
    // The error comes once, for good, and one line of the trace names the server and the reason.
    void ExpectRefusal(const std::string& reason, const std::string& host = "127.0.0.1") {
        EXPECT_THAT(Reports(1), ElementsAre("error 3"));
        EXPECT_THAT(trace->Lines(), ElementsAre("cWebSocket: " + host + ":" + std::to_string(server->Port()) +
                                                ": " + reason + "\n"));
    }
    void ExpectRefusedCertificate(const CertificateWish& wish, const std::string& reason,
                                  const std::string& host = "127.0.0.1") {
        ServeWith(wish);
        OpenAt(host);
        ExpectRefusal("its certificate is refused: " + reason, host);
    }

    const std::shared_ptr<SocketLog> trace = std::make_shared<SocketLog>();
};

TEST_F(WebSocketTls, TrustsTheExtraAuthority) {
    ServeWith({});
    OpenAt("127.0.0.1");
    EXPECT_THAT(Reports(1), ElementsAre("open"));
    EXPECT_THAT(trace->Lines(), IsEmpty());
}

TEST_F(WebSocketTls, TrustsACertificateForTheName) {
    CertificateWish wish;
    wish.subjectAltName = "DNS:localhost";
    ServeWith(wish);
    OpenAt("localhost");
    EXPECT_THAT(Reports(1), ElementsAre("open"));
}

TEST_F(WebSocketTls, RefusesAnUnknownAuthority) {
    settings.extraCaFile.clear();
    UseSettings(settings);
    ExpectRefusedCertificate({}, "unable to get local issuer certificate");
}

TEST_F(WebSocketTls, RefusesEverythingWhenTheExtraAuthorityCannotBeRead) {
    settings.extraCaFile = "/nowhere/authority.pem";
    UseSettings(settings);
    ExpectRefusedCertificate({}, "unable to get local issuer certificate");
}

TEST_F(WebSocketTls, RefusesASelfSignedCertificate) {
    CertificateWish wish;
    wish.selfSigned = true;
    ExpectRefusedCertificate(wish, "self-signed certificate");
}

TEST_F(WebSocketTls, RefusesACertificateForAnotherAddress) {
    CertificateWish wish;
    wish.subjectAltName = "IP:127.0.0.2,DNS:localhost";
    ExpectRefusedCertificate(wish, "IP address mismatch");
}

TEST_F(WebSocketTls, RefusesACertificateForAnotherName) {
    CertificateWish wish;
    wish.subjectAltName = "IP:127.0.0.1,DNS:localhost.example";
    ExpectRefusedCertificate(wish, "hostname mismatch", "localhost");
}

TEST_F(WebSocketTls, RefusesAnExpiredCertificate) {
    CertificateWish wish;
    wish.validForSeconds = -60;
    ExpectRefusedCertificate(wish, "certificate has expired");
}

TEST_F(WebSocketTls, RefusesACertificateOfTheFuture) {
    CertificateWish wish;
    wish.validFromSeconds = 1800;
    ExpectRefusedCertificate(wish, "certificate is not yet valid");
}

TEST_F(WebSocketTls, RefusesACertificateSignedWithSha1) {
    CertificateWish wish;
    wish.signedWithSha1 = true;
    ExpectRefusedCertificate(wish, "CA signature digest algorithm too weak");
}

TEST_F(WebSocketTls, RefusesACertificateWithAShortKey) {
    CertificateWish wish;
    wish.rsaBits = 1024;
    ExpectRefusedCertificate(wish, "EE certificate key too weak");
}

TEST_F(WebSocketTls, AcceptsALongRsaKey) {
    CertificateWish wish;
    wish.rsaBits = 2048;
    ServeWith(wish);
    OpenAt("127.0.0.1");
    EXPECT_THAT(Reports(1), ElementsAre("open"));
}

TEST_F(WebSocketTls, AcceptsTls12) {
    CertificateWish wish;
    wish.maximumTlsVersion = TLS1_2_VERSION;
    ServeWith(wish);
    OpenAt("127.0.0.1");
    EXPECT_THAT(Reports(1), ElementsAre("open"));
}

class WebSocketOldTls : public WebSocketTls, public testing::WithParamInterface<int> {};

INSTANTIATE_TEST_SUITE_P(Of, WebSocketOldTls, testing::Values(TLS1_VERSION, TLS1_1_VERSION),
                         [](const auto& version) {
                             return version.param == TLS1_VERSION ? "Tls10" : "Tls11";
                         });

TEST_P(WebSocketOldTls, IsRefused) {
    CertificateWish wish;
    wish.maximumTlsVersion = GetParam();
    ServeWith(wish);
    OpenAt("127.0.0.1");
    ExpectRefusal("no TLS: tlsv1 alert protocol version (SSL routines)");
}

TEST_F(WebSocketTls, FindsNoServerThatSpeaksPlainText) {
    tlsContext.reset();
    Serve([](RawPeer& peer) {
        peer.Send("HTTP/1.1 400 Bad Request\r\n\r\n");
        peer.WaitForEnd();
    });
    OpenAt("127.0.0.1");
    ExpectRefusal("no TLS: wrong version number (SSL routines)");
}

TEST_F(WebSocketTls, SaysWhenTheServerIsNoWebSocketServer) {
    Serve([](RawPeer& peer) {
        peer.ReadRequest();
        peer.Send("HTTP/1.1 404 Not Found\r\n\r\n");
        peer.WaitForEnd();
    });
    OpenAt("127.0.0.1");
    ExpectRefusal("it is no WebSocket server");
}

TEST_F(WebSocketTls, SaysThatAUrlCannotBeUsed) {
    socket->open("wss://127.0.0.1:0/", kLongEnough);
    EXPECT_THAT(Reports(1), ElementsAre("error 3"));
    EXPECT_THAT(trace->Lines(), ElementsAre("cWebSocket: the URL cannot be used\n"));
}

TEST_F(WebSocketTls, SaysNothingWhenItWasClosedMeanwhile) {
    CertificateWish wish;
    wish.selfSigned = true;
    ServeWith(wish);
    OpenAt("127.0.0.1");
    socket->close();
    EXPECT_TRUE(AllTransportsGone());
    EXPECT_THAT(Reports(0), IsEmpty());
    EXPECT_THAT(trace->Lines(), IsEmpty());
}

TEST_F(WebSocketTls, IsRefusedAnewAtEachOpening) {
    CertificateWish wish;
    wish.selfSigned = true;
    ServeWith(wish);
    OpenAt("127.0.0.1");
    Reports(1);
    OpenAt("127.0.0.1");
    EXPECT_THAT(Reports(2), ElementsAre("error 3", "error 3"));
    EXPECT_EQ(trace->Lines().size(), 2U);
}

TEST_F(WebSocketTls, TimesOutBeforeTheHandshake) {
    tlsContext.reset();
    Serve([](RawPeer& peer) { peer.WaitForEnd(); });
    socket->open(Url().c_str(), 0.05);
    EXPECT_THAT(Reports(1), ElementsAre("error 1"));
    EXPECT_THAT(trace->Lines(), IsEmpty()) << "it may work next time";
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
