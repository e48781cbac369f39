// Every row of the conformance list, over ws and over wss. Says how many rows hold.
#include <boost/algorithm/string/replace.hpp>
#include <iostream>
#include <set>

#include "host_runtime/network/WebSocketClient.h"
#include "tests/contract/web_socket/Box.h"
#include "tests/contract/web_socket/ConformanceCases.h"
#include "tests/contract/web_socket/WebSocketFixture.h"

namespace tests {
namespace {

using conformance::AnswerCase;
using conformance::Case;
using conformance::Delivery;

// What a server heard from the client, up to its close frame or its end.
struct Heard {
    std::vector<std::string> pongs;
    std::optional<std::string> close;
    bool allMasked = true;
    bool ended = false;
};

Heard Play(RawPeer& peer, const Case& one) {
    Heard heard;
    if (!peer.AcceptWebSocket()) return heard;
    if (one.delivery == Delivery::ByteByByte) {
        peer.SendSlowly(one.bytes);
    } else {
        peer.Send(one.bytes);
    }
    while (!heard.close) {
        const auto frame = peer.ReadFrame();
        if (!frame) return heard;
        heard.allMasked = heard.allMasked && frame->masked;
        if (frame->opcode == kPong) heard.pongs.push_back(frame->payload);
        if (frame->opcode == kClose) heard.close = frame->payload;
    }
    // A client that fails the connection ends it; after a handshake of close frames the server does.
    heard.ended = !one.isBreach || peer.WaitForEnd();
    return heard;
}

// A pong may be left out when a newer ping has come meanwhile (RFC 6455 section 5.5.3).
bool AreFewerOf(const std::vector<std::string>& heard, const std::vector<std::string>& all) {
    if (all.empty() || heard.empty()) return heard.empty() && all.empty();
    std::size_t at = 0;
    for (const std::string& one : all) {
        if (at < heard.size() && heard[at] == one) ++at;
    }
    return at == heard.size() && heard.back() == all.back();
}

std::string CloseText(int code) {
    return {static_cast<char>(code >> 8), static_cast<char>(code & 0xFF)};
}

class WebSocketConformance : public WebSocketContract {
protected:
    void Begin(RawServer::Script script) {
        Serve(std::move(script));
        socket = cWebSocket::Factory();
        log = SocketLog::Of(*socket);
        Open();
    }

    void Check(const Case& one) {
        const Box<Heard> heard;
        Begin([one, heard](RawPeer& peer) { heard.Put(Play(peer, one)); });
        std::vector<std::string> expected = {"open"};
        for (const std::string& message : one.messages)
            expected.push_back("message " + message);
        expected.emplace_back(one.isBreach ? "close 4" : "close clean");
        const bool reportsFit = Reports(expected.size()) == expected;
        EXPECT_TRUE(reportsFit) << testing::PrintToString(log->Lines()).substr(0, 1000);
        const Heard result = heard.Take();
        EXPECT_TRUE(result.allMasked) << "a client masks its frames";
        EXPECT_TRUE(result.ended);
        EXPECT_TRUE(AreFewerOf(result.pongs, one.pongs)) << testing::PrintToString(result.pongs);
        EXPECT_EQ(result.close.value_or("none").substr(0, 2), CloseText(one.closeCode));
    }

    void Check(const AnswerCase& one) {
        Begin([text = one.text](RawPeer& peer) {
            peer.ReadRequest();
            const std::string usual = peer.Acceptance();
            const std::size_t begin = usual.find("Accept: ") + 8;
            const std::string value = usual.substr(begin, usual.find("\r\n", begin) - begin);
            peer.Send(boost::algorithm::replace_all_copy(text, "{accept}", value));
            peer.WaitForEnd();
        });
        EXPECT_THAT(Reports(1), testing::ElementsAre(one.report));
    }

    // Runs every row, and says how many hold.
    template <class Rows>
    void CheckAll(const std::string& subject, const Rows& rows) {
        std::set<std::string> names;
        std::size_t held = 0;
        for (const auto& row : rows) {
            SCOPED_TRACE(row.name);
            EXPECT_TRUE(names.insert(row.name).second) << "two rows have one name";
            const auto failuresBefore = Failures();
            Check(row);
            if (Failures() == failuresBefore) ++held;
        }
        std::cout << "conformance: " << subject << (scheme == Scheme::Tls ? " over wss: " : " over ws: ")
                  << held << " of " << rows.size() << "\n";
    }

    static int Failures() {
        const auto& result = *testing::UnitTest::GetInstance()->current_test_info()->result();
        int count = 0;
        for (int part = 0; part < result.total_part_count(); ++part)
            count += result.GetTestPartResult(part).failed() ? 1 : 0;
        return count;
    }
};

INSTANTIATE_TEST_SUITE_P(Over, WebSocketConformance, testing::Values(Scheme::Plain, Scheme::Tls), SchemeName);

TEST_P(WebSocketConformance, OfFrames) {
    for (const conformance::Subject& subject : conformance::Subjects())
        CheckAll(subject.name, subject.cases);
}

TEST_P(WebSocketConformance, OfTheOpeningHandshake) {
    CheckAll("handshake", conformance::AnswerCases());
}

// What the client says: one row per length, as the payload's length is written.
TEST_P(WebSocketConformance, OfWhatIsSent) {
    const std::vector<std::pair<std::size_t, int>> rows = {
        {0, 0}, {1, 0}, {125, 0}, {126, 2}, {127, 2}, {65535, 2}, {65536, 8}, {65537, 8}, {1048576, 8}};
    const Box<std::vector<ReceivedFrame>> received;
    Begin([received, count = rows.size()](RawPeer& peer) {
        peer.AcceptWebSocket();
        std::vector<ReceivedFrame> frames;
        while (frames.size() < count) {
            const auto frame = peer.ReadMessage();
            if (!frame) break;
            frames.push_back(*frame);
        }
        received.Put(frames);
        peer.WaitForEnd();
    });
    Reports(1);
    for (const auto& [size, lengthBytes] : rows)
        socket->send(std::string(size, 'x').c_str());
    const std::vector<ReceivedFrame> frames = received.Take();
    ASSERT_EQ(frames.size(), rows.size());
    std::set<std::string> masks;
    std::size_t held = 0;
    for (std::size_t index = 0; index < rows.size(); ++index) {
        const auto& [size, lengthBytes] = rows[index];
        const ReceivedFrame& frame = frames[index];
        const bool holds = frame.opcode == kText && frame.fin && frame.reservedBits == 0 && frame.masked &&
                           frame.lengthBytes == lengthBytes && frame.payload == std::string(size, 'x');
        EXPECT_TRUE(holds) << "a text of " << size;
        held += holds ? 1 : 0;
        masks.insert(frame.mask);
    }
    EXPECT_EQ(masks.size(), rows.size()) << "every frame has a mask of its own";
    std::cout << "conformance: sent" << (scheme == Scheme::Tls ? " over wss: " : " over ws: ") << held
              << " of " << rows.size() << "\n";
}

// The request of the opening handshake (RFC 6455 section 4.1).
TEST_P(WebSocketConformance, OfTheRequest) {
    std::set<std::string> keys;
    for (int turn = 0; turn < 4; ++turn) {
        const Box<std::string> request;
        Begin([request](RawPeer& peer) {
            peer.AcceptWebSocket();
            request.Put(peer.Request());
            peer.WaitForEnd();
        });
        const std::string text = request.Take();
        EXPECT_TRUE(text.starts_with("GET / HTTP/1.1\r\n")) << text;
        EXPECT_THAT(text, testing::ContainsRegex("\r\nUpgrade: [Ww]eb[Ss]ocket\r\n"));
        EXPECT_THAT(text, testing::ContainsRegex("\r\nConnection: [Uu]pgrade\r\n"));
        EXPECT_THAT(text, testing::ContainsRegex("\r\nSec-WebSocket-Version: 13\r\n"));
        EXPECT_THAT(text, testing::ContainsRegex("\r\nHost: 127.0.0.1:[0-9]+\r\n"));
        EXPECT_THAT(text, testing::Not(testing::HasSubstr("Sec-WebSocket-Extensions")));
        EXPECT_THAT(text, testing::Not(testing::HasSubstr("Sec-WebSocket-Protocol")));
        const std::size_t at = text.find("Sec-WebSocket-Key: ");
        ASSERT_NE(at, std::string::npos);
        const std::string key = text.substr(at + 19, text.find("\r\n", at) - at - 19);
        EXPECT_THAT(key, testing::MatchesRegex("[A-Za-z0-9+/]+==")) << "16 bytes in base 64";
        EXPECT_EQ(key.size(), 24U);
        EXPECT_TRUE(keys.insert(key).second) << "a key is used once";
    }
}

}  // namespace
}  // namespace tests
