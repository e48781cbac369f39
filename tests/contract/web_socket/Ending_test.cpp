// How an established connection ends: cleanly, lost or in breach of the protocol, each reported once.
#include <tuple>

#include "tests/contract/web_socket/Box.h"
#include "tests/contract/web_socket/WebSocketFixture.h"

namespace tests {
namespace {

using testing::ElementsAre;

class WebSocketEnding : public WebSocketContract {
protected:
    void UseLiveness(int pingMs, int silenceMs) {
        settings.pingInterval = std::chrono::milliseconds(pingMs);
        settings.silenceLimit = std::chrono::milliseconds(silenceMs);
        UseSettings(settings);
    }
};

INSTANTIATE_TEST_SUITE_P(Over, WebSocketEnding, testing::Values(Scheme::Plain, Scheme::Tls), SchemeName);

TEST_P(WebSocketEnding, IsCleanWithACloseFrame) {
    const Box<Frame> answer;
    Serve([answer](RawPeer& peer) {
        peer.AcceptWebSocket();
        peer.SendFrame({kText, true, "last"});
        peer.SendFrame({kClose, true, "\x03\xE9going away"});
        answer.Put(peer.ReadMessage().value_or(ReceivedFrame{}));
        EXPECT_TRUE(peer.WaitForEnd());
    });
    Open();
    EXPECT_THAT(Reports(3), ElementsAre("open", "message last", "close clean"));
    const Frame reply = answer.Take();
    EXPECT_EQ(reply.opcode, kClose);
    EXPECT_EQ(reply.payload, "\x03\xE9");
}

TEST_P(WebSocketEnding, IsCleanWithAnEmptyCloseFrameAndADropAtOnce) {
    Serve([](RawPeer& peer) {
        peer.AcceptWebSocket();
        peer.SendFrame({kClose, true, ""});
    });
    Open();
    EXPECT_THAT(Reports(2), ElementsAre("open", "close clean"));
}

TEST_P(WebSocketEnding, HearsNothingAfterACloseFrame) {
    Serve([](RawPeer& peer) {
        peer.AcceptWebSocket();
        peer.Send(EncodeFrame({kClose, true, "\x03\xE8"}) + EncodeFrame({kText, true, "too late"}));
        peer.WaitForEnd();
    });
    Open();
    Reports(2);
    server.reset();
    EXPECT_THAT(Reports(2), ElementsAre("open", "close clean"));
}

TEST_P(WebSocketEnding, IsLostWithoutACloseFrame) {
    Serve([](RawPeer& peer) {
        peer.AcceptWebSocket();
        peer.SendFrame({kText, true, "last"});
    });
    Open();
    EXPECT_THAT(Reports(3), ElementsAre("open", "message last", "close 2"));
}

TEST_P(WebSocketEnding, IsLostInTheMiddleOfAMessage) {
    Serve([](RawPeer& peer) {
        peer.AcceptWebSocket();
        peer.Send("\x81\x05hel");
    });
    Open();
    EXPECT_THAT(Reports(2), ElementsAre("open", "close 2"));
}

TEST_P(WebSocketEnding, IsLostByAReset) {
    const Gate opened;
    Serve([opened](RawPeer& peer) {
        peer.AcceptWebSocket();
        opened.Wait();
        peer.Reset();
    });
    Open();
    Reports(1);
    opened.Open();
    EXPECT_THAT(Reports(2), ElementsAre("open", "close 2"));
}

TEST_P(WebSocketEnding, IsLostWhenThePeerVanishes) {
    UseLiveness(20, 100);
    const Gate noticed;
    Serve([noticed](RawPeer& peer) {
        peer.AcceptWebSocket();
        noticed.Wait();  // there is a connection, but nobody reads or answers
    });
    Open();
    EXPECT_THAT(Reports(2), ElementsAre("open", "close 2"));
    noticed.Open();
}

TEST_P(WebSocketEnding, IsLostWhenAMessageNeverCompletes) {
    UseLiveness(20, 100);
    Serve([](RawPeer& peer) {
        peer.AcceptWebSocket();
        peer.Send("\x81\x05hel");
        peer.WaitForEnd();
    });
    Open();
    EXPECT_THAT(Reports(2), ElementsAre("open", "close 2"));
}

TEST_P(WebSocketEnding, IsLostWhenAMessageGoesOnForEver) {
    settings.messageLimit = std::chrono::milliseconds(100);
    UseLiveness(20, 4000);
    Serve([](RawPeer& peer) {
        peer.AcceptWebSocket();
        peer.SendFrame({kText, false, "more to come"});
        // Each ping is met by an empty fragment.
        for (auto frame = peer.ReadFrame(); frame; frame = peer.ReadFrame())
            peer.SendFrame({kContinuation, false, ""});
    });
    Open();
    EXPECT_THAT(Reports(2), ElementsAre("open", "close 2"));
}

TEST_P(WebSocketEnding, IsLostWhenEmptyFragmentsComeForEver) {
    settings.messageLimit = std::chrono::milliseconds(100);
    UseLiveness(20, 4000);
    Serve([](RawPeer& peer) {
        peer.AcceptWebSocket();
        peer.SendFrame({kText, false, ""});
        for (auto frame = peer.ReadFrame(); frame; frame = peer.ReadFrame())
            peer.SendFrame({kContinuation, false, ""});
    });
    Open();
    EXPECT_THAT(Reports(2), ElementsAre("open", "close 2"));
}

TEST_P(WebSocketEnding, DoesNotComeForManyMessagesInARow) {
    settings.messageLimit = std::chrono::milliseconds(100);
    UseLiveness(20, 4000);
    Serve([](RawPeer& peer) {
        peer.AcceptWebSocket();
        // At each look of the socket another message is under way.
        peer.SendFrame({kText, false, "a"});
        for (int count = 0; count < 15; ++count) {
            const auto ping = peer.ReadFrame();
            if (!ping || ping->opcode != kPing) return;
            peer.Send(EncodeFrame({kContinuation, true, ""}) + EncodeFrame({kText, false, "b"}));
        }
        peer.SendFrame({kContinuation, true, " last"});
        peer.WaitForEnd();
    });
    Open();
    EXPECT_THAT(Reports(17), testing::AllOf(testing::SizeIs(17), testing::Contains("message b last")));
}

TEST_P(WebSocketEnding, DoesNotComeWhileThePeerAnswersPings) {
    UseLiveness(20, 4000);
    Serve([](RawPeer& peer) {
        peer.AcceptWebSocket();
        for (int i = 0; i < 10; ++i) {
            const auto ping = peer.ReadFrame();
            if (!ping || ping->opcode != kPing) return;
            peer.SendFrame({kPong, true, ping->payload});
        }
        peer.SendFrame({kText, true, "ten pings"});
        peer.WaitForEnd();
    });
    Open();
    EXPECT_THAT(Reports(2), ElementsAre("open", "message ten pings"));
}

TEST_P(WebSocketEnding, DoesNotComeWhileThePeerSendsAnything) {
    // Pings are never answered, but each is met by one more byte of a message.
    UseLiveness(20, 4000);
    const std::string bytes = EncodeFrame({kText, true, "in pieces"});
    Serve([bytes](RawPeer& peer) {
        peer.AcceptWebSocket();
        for (const char byte : bytes) {
            const auto ping = peer.ReadFrame();
            if (!ping || ping->opcode != kPing) return;
            peer.Send(std::string(1, byte));
        }
        peer.WaitForEnd();
    });
    Open();
    EXPECT_THAT(Reports(2), ElementsAre("open", "message in pieces"));
}

struct Breach {
    const char* name;
    std::string bytes;
};

class WebSocketBreach : public WebSocketFixture,
                        public testing::WithParamInterface<std::tuple<Scheme, Breach>> {
protected:
    WebSocketBreach() : WebSocketFixture(std::get<Scheme>(GetParam())) {}
};

INSTANTIATE_TEST_SUITE_P(
    By, WebSocketBreach,
    testing::Combine(
        testing::Values(Scheme::Plain, Scheme::Tls),
        testing::Values(Breach{"AMaskedFrame", EncodeFrame({kText, true, "masked"}, Masking::Masked)},
                        Breach{"InvalidUtf8", EncodeFrame({kText, true, "\xC3("})},
                        Breach{"ASurrogate", EncodeFrame({kText, true, "\xED\xA0\x80"})},
                        Breach{"ALetterCutAtTheEnd", EncodeFrame({kText, true, "a\xC3"})},
                        Breach{"AReservedOpcode", EncodeFrame({0x3, true, "x"})},
                        Breach{"AReservedControl", EncodeFrame({0xB, true, "x"})},
                        Breach{"AReservedBit", std::string("\xC1\x01x")},
                        Breach{"AContinuationOfNothing", EncodeFrame({kContinuation, true, "x"})},
                        Breach{"AMessageInsideAMessage",
                               EncodeFrame({kText, false, "a"}) + EncodeFrame({kText, true, "b"})},
                        Breach{"AFragmentedPing", EncodeFrame({kPing, false, "x"})},
                        Breach{"ALongPing", EncodeFrame({kPing, true, std::string(126, 'x')})},
                        Breach{"ALengthWithLeadingZeros", std::string("\x81\x7E\x00\x01x", 5)},
                        Breach{"ACloseCodeThatMustNotBeSent", EncodeFrame({kClose, true, "\x03\xED"})},
                        Breach{"ACloseFrameOfOneByte", EncodeFrame({kClose, true, "\x03"})},
                        Breach{"ACloseReasonInInvalidUtf8", EncodeFrame({kClose, true, "\x03\xE8\xFF"})})),
    [](const auto& breach) {
        const bool overTls = std::get<Scheme>(breach.param) == Scheme::Tls;
        return std::string(std::get<Breach>(breach.param).name) + (overTls ? "OverTls" : "");
    });

TEST_P(WebSocketBreach, IsAProtocolError) {
    const Box<int> opcode;
    Serve([opcode](RawPeer& peer) {
        peer.AcceptWebSocket();
        peer.Send(std::get<Breach>(GetParam()).bytes);
        opcode.Put(peer.ReadMessage().value_or(ReceivedFrame{}).opcode);
        EXPECT_TRUE(peer.WaitForEnd());
    });
    Open();
    EXPECT_THAT(Reports(2), ElementsAre("open", "close 4"));
    EXPECT_EQ(opcode.Take(), kClose);
}

}  // namespace
}  // namespace tests
