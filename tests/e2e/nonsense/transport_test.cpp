// What listens on the phone's port is no phone, or one that breaks the rules of the transport.
#include <gtest/gtest.h>

#include <string>

#include "tests/e2e/nonsense/NonsenseTest.h"

namespace nonsense {
namespace {

constexpr const char* kPermanentError = "[rendezvous] Websocket Error:3\n";
constexpr const char* kLost = "nxWebRtcSession::ClosedHandler() - error:2 wasClean:false\n";
constexpr const char* kBrokenRules = "nxWebRtcSession::ClosedHandler() - error:4 wasClean:false\n";

class NonsenseTransport : public NonsenseTest {
protected:
    // Reads the request, says `answer` and stays until the host has had enough.
    NonsensePhone::Script Answering(std::string answer) {
        return [this, answer = std::move(answer)](Conversation& talk) {
            if (talk.ReadRequest().empty()) return;
            talk.SendRaw(answer);
            milestone.Reach();
            talk.StayUntilHostLeaves();
        };
    }

    // Sends frames that end the connection, after the host's join.
    NonsensePhone::Script Breaking(std::function<void(Conversation&)> breakRules) {
        return [this, breakRules = std::move(breakRules)](Conversation& talk) {
            if (AwaitJoin(talk).empty()) return;
            breakRules(talk);
            milestone.Reach();
            talk.StayUntilHostLeaves();
        };
    }
};

TEST_F(NonsenseTransport, AWebServerIsNoPhone) {
    PlayUntil(
        Answering("HTTP/1.1 404 Not Found\r\nContent-Length: 9\r\n\r\nNot Found"),
        [this] { return trace.Contains(kPermanentError); }, Return::BySweep);
}

TEST_F(NonsenseTransport, AWebServerThatAnswersWithAPageIsNoPhone) {
    PlayUntil(
        Answering("HTTP/1.1 200 OK\r\nContent-Type: text/html\r\n\r\n<html>" + std::string(300'000, 'x')),
        [this] { return trace.Contains(kPermanentError); });
}

TEST_F(NonsenseTransport, AWrongAcceptKeyIsNoPhone) {
    PlayUntil(Answering("HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
                        "Sec-WebSocket-Accept: AAAAAAAAAAAAAAAAAAAAAAAAAAA=\r\n\r\n"),
              [this] { return trace.Contains(kPermanentError); });
}

TEST_F(NonsenseTransport, AnotherProtocolIsNoPhone) {
    const auto script = [this](Conversation& talk) {
        talk.SendRaw("SSH-2.0-OpenSSH_9.2\r\n");
        milestone.Reach();
        talk.StayUntilHostLeaves();
    };
    PlayUntil(script, [this] { return trace.Contains("[rendezvous] Websocket Error:"); });
}

TEST_F(NonsenseTransport, BytesWithoutMeaningAreNoPhone) {
    const auto script = [this](Conversation& talk) {
        std::string bytes;
        for (int index = 0; index < 100'000; ++index)
            bytes += static_cast<char>(index * 7919 >> 3);
        talk.SendRaw(bytes);
        milestone.Reach();
        talk.StayUntilHostLeaves();
    };
    PlayUntil(script, [this] { return trace.Contains("[rendezvous] Websocket Error:"); });
}

// Accepts the connection and never says a word: the attempt ends by its time limit.
TEST_F(NonsenseTransport, ASilentServerIsGivenUp) {
    const auto script = [this](Conversation& talk) {
        if (!talk.ReadRequest().empty()) milestone.Reach();
        talk.StayUntilHostLeaves();
    };
    PlayUntil(script, [this] { return trace.Contains("[rendezvous] Websocket Error:"); });
}

TEST_F(NonsenseTransport, AServerThatHangsUpIsTriedAgain) {
    PlayUntil([this](Conversation&) { milestone.Reach(); },
              [this] { return trace.Contains("[rendezvous] Websocket Error:"); });
}

TEST_F(NonsenseTransport, BinaryFramesAreIgnored) {
    const auto script = [this](Conversation& talk) {
        Negotiation negotiation;
        negotiation.sessionGuid = AwaitJoin(talk);
        talk.SendBinary("");
        talk.SendBinary(R"({"action":"peerJoined"})");
        talk.SendBinary(std::string(500'000, '\x80'));
        talk.SendText(PeerJoined(negotiation.sessionGuid));
        if (!talk.AwaitText("masterMadeOffer").empty()) milestone.Reach();
        talk.StayUntilHostLeaves();
    };
    PlayUntil(script, [] { return true; });
}

TEST_F(NonsenseTransport, AnOversizedFrameEndsTheConnection) {
    PlayUntil(Breaking([](Conversation& talk) { talk.SendText(std::string(3 << 20, ' ')); }),
              [this] { return trace.Contains(kBrokenRules); });
}

TEST_F(NonsenseTransport, AnEndlessMessageInPiecesEndsTheConnection) {
    PlayUntil(Breaking([](Conversation& talk) {
                  talk.SendFrame(Conversation::kText, std::string(1000, ' '), false);
                  for (int piece = 0; piece < 3000; ++piece) {
                      talk.SendFrame(Conversation::kContinuation, std::string(1000, ' '), false);
                  }
              }),
              [this] { return trace.Contains(kBrokenRules); });
}

TEST_F(NonsenseTransport, AFrameThatPromisesTooMuchEndsTheConnection) {
    PlayUntil(Breaking([](Conversation& talk) { talk.SendRaw("\x81\x7F\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF"); }),
              [this] { return trace.Contains(kBrokenRules); });
}

TEST_F(NonsenseTransport, AReservedOperationEndsTheConnection) {
    PlayUntil(Breaking([](Conversation& talk) { talk.SendFrame(11, "?"); }),
              [this] { return trace.Contains(kBrokenRules); });
}

TEST_F(NonsenseTransport, TextThatIsNoUtf8EndsTheConnection) {
    PlayUntil(Breaking([](Conversation& talk) { talk.SendText("{\"action\":\"\xC3\x28\"}"); }),
              [this] { return trace.Contains(kBrokenRules); });
}

TEST_F(NonsenseTransport, HalfAFrameAndThenNothingIsALoss) {
    const auto script = [this](Conversation& talk) {
        if (AwaitJoin(talk).empty()) return;
        talk.SendRaw(std::string("\x81\x7E\x01\x00{\"act", 9));
        milestone.Reach();
    };
    PlayUntil(script, [this] { return trace.Contains(kLost); });
}

}  // namespace
}  // namespace nonsense
