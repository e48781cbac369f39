// The server over real TLS sockets, with clients that behave and clients that do not.
#include <optional>

#include "tests/unit/web_server/HttpsFixture.h"

namespace tests {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;
using web_server::HttpsServerOptions;

class HttpsServerTest : public HttpsFixture {};

TEST_F(HttpsServerTest, AnswersRequestsOnOneConnectionInOrder) {
    Listen();
    const auto client = Dial();
    ASSERT_NE(client, nullptr);
    EXPECT_EQ(BodyOf(Ask(*client, "GET", "/a?b=c")), "done");
    EXPECT_EQ(StatusOf(Ask(*client, "POST", "/d", {}, "body")), 200);
    EXPECT_THAT(Lines(), ElementsAre("request GET /a?b=c", "request POST /d body"));
}

TEST_F(HttpsServerTest, AnswersPipelinedRequestsToo) {
    Listen();
    const auto client = Dial();
    client->Send("GET /1 HTTP/1.1\r\nHost: a\r\n\r\nGET /2 HTTP/1.1\r\nHost: a\r\n\r\n");
    EXPECT_EQ(StatusOf(client->ReadAnswer()), 200);
    EXPECT_EQ(StatusOf(client->ReadAnswer()), 200);
    EXPECT_THAT(Lines(), ElementsAre("request GET /1", "request GET /2"));
}

TEST_F(HttpsServerTest, TellsFieldsInLowerCaseAndWhoAsks) {
    onRequest = [this](const auto& exchange) {
        const auto& request = exchange->Request();
        Write(std::string(request.Field("x-name")) + " " + request.remoteAddress + " " +
              (request.fromThisMachine ? "here" : "elsewhere"));
        exchange->Answer({});
    };
    Listen();
    Ask(*Dial(), "GET", "/", "X-nAmE: value\r\n");
    EXPECT_THAT(Lines(), ElementsAre("request GET /", "value 127.0.0.1 here"));
}

TEST_F(HttpsServerTest, LeavesOutTheBodyOfHead) {
    Listen();
    const auto client = Dial();
    client->Send("HEAD / HTTP/1.1\r\nHost: a\r\nConnection: close\r\n\r\n");
    EXPECT_EQ(FieldOf(client->ReadUntil("\r\n\r\n"), "Content-Length"), "4");
    EXPECT_EQ(client->ReadUntil("never"), "");
}

TEST_F(HttpsServerTest, ClosesWhenTheClientWantsIt) {
    Listen();
    const auto client = Dial();
    EXPECT_EQ(FieldOf(Ask(*client, "GET", "/", "Connection: close\r\n"), "Connection"), "close");
    EXPECT_TRUE(client->WaitForEnd());
}

TEST_F(HttpsServerTest, AddsTheFieldsOfAllToRefusalsToo) {
    HttpsServerOptions options;
    options.fieldsOfAll = {{"X-All", "yes"}};
    Listen(options);
    EXPECT_EQ(FieldOf(Ask(*Dial(), "GET", "/"), "X-All"), "yes");
    EXPECT_EQ(FieldOf(Ask(*Dial(), "GET", "relative"), "X-All"), "yes");
}

TEST_F(HttpsServerTest, AnswersAnExchangeThatNobodyAnswers) {
    onRequest = [](const auto&) {};
    Listen();
    EXPECT_EQ(StatusOf(Ask(*Dial(), "GET", "/")), 500);
    onRequest = [](const auto&) { throw 1; };
    EXPECT_EQ(StatusOf(Ask(*Dial(), "GET", "/")), 500);
}

TEST_F(HttpsServerTest, TakesOnlyTheFirstAnswer) {
    onRequest = [](const auto& exchange) {
        exchange->Answer({200, "text/plain", "one", {}});
        exchange->Answer({200, "text/plain", "two", {}});
    };
    Listen();
    const auto client = Dial();
    EXPECT_EQ(BodyOf(Ask(*client, "GET", "/")), "one");
    EXPECT_EQ(BodyOf(Ask(*client, "GET", "/")), "one");
}

// Bad input

TEST_F(HttpsServerTest, RefusesWhatIsNoRequest) {
    Listen();
    for (const char* request :
         {"nonsense\r\n\r\n", "GET / HTTP/1.1\r\n\r\n", "GET relative HTTP/1.1\r\nHost: a\r\n\r\n",
          "GET http://other/ HTTP/1.1\r\nHost: a\r\n\r\n", "GET // HTTP/1.1\r\nHost: a\r\n\r\n",
          "GET / HTTP/1.1\r\nHost: a\r\nHost: b\r\n\r\n",
          "POST / HTTP/1.1\r\nHost: a\r\nContent-Length: 1\r\nContent-Length: 2\r\n\r\nx",
          "POST / HTTP/1.1\r\nHost: a\r\nContent-Length: -1\r\n\r\n", "GET / HTTP/9.9\r\nHost: a\r\n\r\n"}) {
        const auto client = Dial();
        client->Send(request);
        EXPECT_EQ(StatusOf(client->ReadAnswer()), 400) << request;
        EXPECT_TRUE(client->WaitForEnd()) << request;
    }
    EXPECT_EQ(StatusOf(Ask(*Dial(), "GET", "/")), 200);
}

TEST_F(HttpsServerTest, WantsToKnowHowLongARequestIs) {
    Listen();
    for (const char* request :
         {"POST / HTTP/1.1\r\nHost: a\r\n\r\n",
          "POST / HTTP/1.1\r\nHost: a\r\nTransfer-Encoding: chunked\r\n\r\n1\r\nx\r\n"}) {
        const auto client = Dial();
        client->Send(request);
        EXPECT_EQ(StatusOf(client->ReadAnswer()), 411) << request;
        EXPECT_TRUE(client->WaitForEnd());
    }
    EXPECT_THAT(Lines(), ElementsAre("refused 127.0.0.1 411 before it was read",
                                     "refused 127.0.0.1 411 before it was read"));
}

TEST_F(HttpsServerTest, RefusesAHeaderThatIsTooLarge) {
    Listen();
    const auto client = Dial();
    client->Send("GET / HTTP/1.1\r\nHost: a\r\n");
    client->SendLongHeader();
    EXPECT_EQ(StatusOf(client->ReadAnswer()), 431);
    EXPECT_TRUE(client->WaitForEnd());
}

TEST_F(HttpsServerTest, RefusesABodyThatIsTooLargeWithoutReadingIt) {
    handlers.bodyLimit = [](const std::string& path) { return path == "/large" ? 100U : 10U; };
    Listen();
    EXPECT_EQ(StatusOf(Ask(*Dial(), "POST", "/large?x", {}, std::string(100, 'x'))), 200);
    EXPECT_EQ(StatusOf(Ask(*Dial(), "POST", "/large", {}, std::string(101, 'x'))), 413);
    EXPECT_EQ(StatusOf(Ask(*Dial(), "POST", "/small", {}, std::string(11, 'x'))), 413);
    const auto client = Dial();
    client->Send("POST /small HTTP/1.1\r\nHost: a\r\nContent-Length: 100000000\r\n\r\n");
    EXPECT_EQ(StatusOf(client->ReadAnswer()), 413);
    const std::string chunk(1 << 16, 'x');
    int sent = 0;
    while (sent < 1600 && client->Send(chunk))
        ++sent;
    EXPECT_LT(sent, 1600);  // cut off long before the 100 MB are through
}

TEST_F(HttpsServerTest, CutsOffSlowRequestsWithASentence) {
    HttpsServerOptions options;
    options.requestLimit = std::chrono::milliseconds(150);
    Listen(options);
    const auto header = Dial();
    header->Send("GET / HTTP/1.1\r\nHost:");
    EXPECT_EQ(StatusOf(header->ReadAnswer()), 408);
    EXPECT_TRUE(header->WaitForEnd());
    const auto body = Dial();
    body->Send("POST / HTTP/1.1\r\nHost: a\r\nContent-Length: 10\r\n\r\nxx");
    EXPECT_EQ(StatusOf(body->ReadAnswer()), 408);
    EXPECT_TRUE(body->WaitForEnd());
}

TEST_F(HttpsServerTest, CutsOffWhoNeverSpeaks) {
    HttpsServerOptions options;
    options.requestLimit = std::chrono::milliseconds(100);
    options.idleLimit = std::chrono::milliseconds(100);
    Listen(options);
    EXPECT_TRUE(DialPlain()->WaitForEnd());
    const auto halfTls = DialPlain();
    halfTls->Send("\x16\x03\x01\x02");
    EXPECT_TRUE(halfTls->WaitForEnd());
    EXPECT_TRUE(Dial()->WaitForEnd());
    EXPECT_THAT(Lines(), ElementsAre());
}

TEST_F(HttpsServerTest, SurvivesResetsAtEveryPoint) {
    Listen();
    DialPlain()->Reset();
    Dial()->Reset();
    const auto half = Dial();
    half->Send("POST / HTTP/1.1\r\nHost: a\r\nContent-Length: 10\r\n\r\nxx");
    half->Reset();
    const auto asked = Dial();
    asked->Send("GET / HTTP/1.1\r\nHost: a\r\n\r\n");
    asked->Reset();
    EXPECT_EQ(StatusOf(Ask(*Dial(), "GET", "/")), 200);
}

TEST_F(HttpsServerTest, TellsPlainHttpWhereToGo) {
    handlers.isOurHost = [](const std::string& host) { return host == "ours.local:1"; };
    Listen();
    const auto ours = DialPlain();
    ours->Send("GET /x HTTP/1.1\r\nHost: ours.local:1\r\n\r\n");
    const std::string moved = ours->ReadAnswer();
    EXPECT_EQ(StatusOf(moved), 301);
    EXPECT_EQ(FieldOf(moved, "Location"), "https://ours.local:1/x");
    const auto foreign = DialPlain();
    foreign->Send("GET /x HTTP/1.1\r\nHost: evil.example\r\n\r\n");
    EXPECT_EQ(StatusOf(foreign->ReadAnswer()), 400);
    const auto endless = DialPlain();
    endless->Send("GET " + std::string(40000, 'x'));
    EXPECT_EQ(StatusOf(endless->ReadAnswer()), 400);
}

TEST_F(HttpsServerTest, BoundsTheConnectionsInAll) {
    HttpsServerOptions options;
    options.maximumConnections = 2;
    Listen(options);
    auto first = Dial();
    const auto second = Dial();
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(Dial(), nullptr);
    EXPECT_THAT(WaitForLines(1), ElementsAre("refused 127.0.0.1 too many connections"));
    EXPECT_EQ(FieldOf(Ask(*first, "GET", "/", "Connection: close\r\n"), "Connection"), "close");
    first->WaitForEnd();
    first.reset();
    std::unique_ptr<TlsClient> third;
    for (int attempt = 0; attempt < 1000 && third == nullptr; ++attempt)
        third = Dial();
    EXPECT_NE(third, nullptr);
}

TEST_F(HttpsServerTest, BoundsTheConnectionsOfAnAddress) {
    HttpsServerOptions options;
    options.maximumConnectionsOfAnAddress = 2;
    options.limitsThisMachineToo = true;
    Listen(options);
    auto first = Dial("127.0.0.5");
    const auto second = Dial("127.0.0.5");
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(Dial("127.0.0.5"), nullptr);
    EXPECT_THAT(WaitForLines(1), ElementsAre("refused 127.0.0.5 too many connections from one address"));
    EXPECT_NE(Dial("127.0.0.6"), nullptr);
    Ask(*first, "GET", "/", "Connection: close\r\n");
    first->WaitForEnd();
    first.reset();
    std::unique_ptr<TlsClient> third;
    for (int attempt = 0; attempt < 1000 && third == nullptr; ++attempt)
        third = Dial("127.0.0.5");
    EXPECT_NE(third, nullptr);
}

TEST_F(HttpsServerTest, SetsNoLimitForAnAddressOfThisMachine) {
    HttpsServerOptions options;
    options.maximumConnectionsOfAnAddress = 1;
    Listen(options);
    const auto first = Dial();
    EXPECT_NE(Dial(), nullptr);
}

// Streams

TEST_F(HttpsServerTest, SendsEventsInOrderAndComments) {
    onRequest = [this](const auto& exchange) { BeginStream(exchange); };
    HttpsServerOptions options;
    options.keepAlivePeriod = std::chrono::milliseconds(20);
    Listen(options);
    const auto client = Dial();
    client->Send("GET /events HTTP/1.1\r\nHost: a\r\n\r\n");
    EXPECT_THAT(client->ReadUntil("\r\n\r\n"), HasSubstr("Content-Type: text/event-stream\r\n"));
    const auto stream = WaitForStream();
    ASSERT_NE(stream, nullptr);
    stream->Send("data: 1\n\n");
    stream->Send("data: 2\n\n");
    EXPECT_THAT(client->ReadUntil("data: 2\n\n"), HasSubstr("data: 1\n\n"));
    EXPECT_THAT(client->ReadUntil(":\n\n"), StartsWith(":"));
    EXPECT_THAT(client->ReadUntil(":\n\n"), StartsWith(":"));
}

TEST_F(HttpsServerTest, EndsAStreamAfterWhatWasSentAndSilently) {
    onRequest = [this](const auto& exchange) { BeginStream(exchange); };
    Listen();
    const auto client = Dial();
    client->Send("GET /events HTTP/1.1\r\nHost: a\r\n\r\n");
    client->ReadUntil("\r\n\r\n");
    const auto stream = WaitForStream();
    stream->Send("data: last\n\n");
    stream->End();
    stream->Send("data: too late\n\n");
    EXPECT_EQ(client->ReadUntil("never"), "data: last\n\n");
    server->Stop();
    EXPECT_THAT(Lines(), ElementsAre("request GET /events"));
}

TEST_F(HttpsServerTest, TellsOnceThatTheClientOfAStreamIsGone) {
    onRequest = [this](const auto& exchange) { BeginStream(exchange); };
    Listen();
    auto client = Dial();
    client->Send("GET /events HTTP/1.1\r\nHost: a\r\n\r\n");
    client->ReadUntil("\r\n\r\n");
    client.reset();
    EXPECT_THAT(WaitForLines(2), ElementsAre("request GET /events", "end"));
    WaitForStream()->Send("into the void");
    WaitForStream()->End();
    server->Stop();
    EXPECT_EQ(Lines().size(), 2U);
}

TEST_F(HttpsServerTest, DropsAStreamThatIsNotRead) {
    onRequest = [this](const auto& exchange) { BeginStream(exchange); };
    Listen();
    const auto client = Dial();
    client->Send("GET /events HTTP/1.1\r\nHost: a\r\n\r\n");
    const auto stream = WaitForStream();
    const std::string event = "data: " + std::string(100000, 'x') + "\n\n";
    for (int i = 0; i < 1000 && Lines().size() < 3; ++i)
        stream->Send(event);
    EXPECT_THAT(WaitForLines(3), ElementsAre("request GET /events",
                                             "refused 127.0.0.1 an event stream that is not read", "end"));
}

TEST_F(HttpsServerTest, DropsAStreamThatIsReadNoMoreInTheMiddleOfAnEvent) {
    onRequest = [this](const auto& exchange) { BeginStream(exchange); };
    HttpsServerOptions options;
    options.maximumQueuedBytes = std::size_t{48} << 20;
    Listen(options);
    const auto client = Dial();
    client->Send("GET /events HTTP/1.1\r\nHost: a\r\n\r\n");
    const auto stream = WaitForStream();
    const std::string event = "data: " + std::string(std::size_t{32} << 20, 'x') + "\n\n";
    stream->Send(event);
    client->ReadUntil("data: ");  // the rest finds no room on the way
    stream->Send(event);
    EXPECT_THAT(WaitForLines(3), ElementsAre("request GET /events",
                                             "refused 127.0.0.1 an event stream that is not read", "end"));
}

TEST_F(HttpsServerTest, LetsTheLastEventsOutWhenItStops) {
    onRequest = [this](const auto& exchange) { BeginStream(exchange); };
    Listen();
    const auto idle = Dial();
    const auto client = Dial();
    client->Send("GET /events HTTP/1.1\r\nHost: a\r\n\r\n");
    client->ReadUntil("\r\n\r\n");
    const auto stream = WaitForStream();
    stream->Send("data: closing\n\n");
    server->Stop();
    server->Stop();
    EXPECT_EQ(client->ReadUntil("never"), "data: closing\n\n");
    EXPECT_TRUE(idle->WaitForEnd());
    stream->Send("into the void");
    EXPECT_THAT(Lines(), ElementsAre("request GET /events"));
}

TEST_F(HttpsServerTest, OutlivesAnExchangeThatIsKept) {
    std::shared_ptr<web_server::HttpExchange> kept;
    onRequest = [this, &kept](const auto& exchange) {
        kept = exchange;
        Write("kept");
    };
    Listen();
    const auto client = Dial();
    client->Send("GET / HTTP/1.1\r\nHost: a\r\n\r\n");
    WaitForLines(2);
    server.reset();
    kept->Answer({});
    kept.reset();
    EXPECT_TRUE(client->WaitForEnd());
}

// Certificates

TEST_F(HttpsServerTest, ShowsANewCertificateToNewConnections) {
    Listen();
    const auto before = Dial();
    const std::string old = before->PeerCertificate();
    const web_server::ServerCertificate next = MakeCertificate("second");
    ASSERT_TRUE(server->Replace(next));
    EXPECT_FALSE(server->Replace({"nonsense", "nonsense"}));
    EXPECT_FALSE(server->Replace({next.chain, MakeCertificate("third").key}));
    EXPECT_EQ(StatusOf(Ask(*before, "GET", "/")), 200);
    EXPECT_EQ(Dial()->PeerCertificate(), next.chain);
    EXPECT_NE(old, next.chain);
}

TEST_F(HttpsServerTest, SaysInOneSentenceWhyItCannotListen) {
    Listen();
    HttpsServerOptions options;
    options.port = server->Port();
    std::string error;
    const web_server::ServerCertificate certificate = MakeCertificate("other");
    EXPECT_EQ(web_server::HttpsServer::Listen(options, certificate, {}, error), nullptr);
    EXPECT_EQ(error, "The address 127.0.0.1:" + std::to_string(options.port) +
                         " cannot be used: Address already in use.");
    options.address = "somewhere";
    EXPECT_EQ(web_server::HttpsServer::Listen(options, certificate, {}, error), nullptr);
    EXPECT_EQ(error, "\"somewhere\" is not an IP address.");
    EXPECT_EQ(web_server::HttpsServer::Listen({}, {"no", "no"}, {}, error), nullptr);
    EXPECT_EQ(error, "The certificate and its key cannot be used.");
}

}  // namespace
}  // namespace tests
