// What arrives and what is sent.
#include <map>
#include <thread>
#include <vector>

#include "tests/contract/web_socket/WebSocketFixture.h"

namespace tests {
namespace {

using testing::ElementsAre;

constexpr std::size_t kMiB = std::size_t{1} << 20;

class WebSocketMessages : public WebSocketContract {
protected:
    // Sends these bytes to the opened socket.
    void ServeBytes(const std::string& bytes) {
        Serve([bytes](RawPeer& peer) {
            peer.AcceptWebSocket();
            peer.Send(bytes);
            peer.WaitForEnd();
        });
    }
    // Accepts the socket and takes its first message, or "none".
    void ServeFirstMessage(const Box<std::string>& first) {
        Serve([first](RawPeer& peer) {
            peer.AcceptWebSocket();
            const auto frame = peer.ReadMessage();
            first.Put(frame ? frame->payload : "none");
            peer.WaitForEnd();
        });
    }
};

INSTANTIATE_TEST_SUITE_P(Over, WebSocketMessages, testing::Values(Scheme::Plain, Scheme::Tls), SchemeName);

TEST_P(WebSocketMessages, ArriveInOrder) {
    ServeBytes(EncodeFrame({kText, true, "one"}) + EncodeFrame({kText, true, ""}) +
               EncodeFrame({kText, true, "zw\xC3\xB6lf"}));
    Open();
    EXPECT_THAT(Reports(4), ElementsAre("open", "message one", "message ", "message zw\xC3\xB6lf"));
}

TEST_P(WebSocketMessages, AreReassembledAroundAPing) {
    const Box<std::string> pong;
    Serve([pong](RawPeer& peer) {
        peer.AcceptWebSocket();
        peer.SendFrame({kText, false, "a\xC3"});  // the frames part in the middle of a letter
        peer.SendFrame({kPing, true, "still there?"});
        peer.SendFrame({kContinuation, false, ""});
        peer.SendFrame({kContinuation, true, "\xB6z"});
        const auto answer = peer.ReadFrame();
        pong.Put(answer && answer->opcode == kPong ? answer->payload : "none");
        peer.WaitForEnd();
    });
    Open();
    EXPECT_THAT(Reports(2), ElementsAre("open", "message a\xC3\xB6z"));
    EXPECT_EQ(pong.Take(), "still there?");
}

TEST_P(WebSocketMessages, OfBytesAreIgnored) {
    ServeBytes(EncodeFrame({kBinary, true, std::string("\0\xFF", 2)}) + EncodeFrame({kText, true, "text"}));
    Open();
    EXPECT_THAT(Reports(2), ElementsAre("open", "message text"));
}

TEST_P(WebSocketMessages, EndAtANulInside) {
    ServeBytes(EncodeFrame({kText, true, std::string("ab\0cd", 5)}) + EncodeFrame({kText, true, "next"}));
    Open();
    EXPECT_THAT(Reports(3), ElementsAre("open", "message ab", "message next"));
}

TEST_P(WebSocketMessages, ArriveUpToOneMebibyte) {
    ServeBytes(EncodeFrame({kText, true, std::string(kMiB, 'x')}));
    Open();
    const auto reports = Reports(2);
    ASSERT_EQ(reports.size(), 2U);
    EXPECT_EQ(reports[1].size(), std::string("message ").size() + kMiB);
}

TEST_P(WebSocketMessages, OfMoreEndTheConnection) {
    ServeBytes(EncodeFrame({kText, true, std::string(kMiB + 1, 'x')}));
    Open();
    EXPECT_THAT(Reports(2), ElementsAre("open", "close 4"));
}

TEST_P(WebSocketMessages, OfMoreInFragmentsEndTheConnection) {
    ServeBytes(EncodeFrame({kText, false, std::string(kMiB, 'x')}) + EncodeFrame({kContinuation, true, "x"}));
    Open();
    EXPECT_THAT(Reports(2), ElementsAre("open", "close 4"));
}

TEST_P(WebSocketMessages, OfAnAbsurdLengthEndTheConnection) {
    ServeBytes("\x81\x7F\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF");
    Open();
    EXPECT_THAT(Reports(2), ElementsAre("open", "close 4"));
}

TEST_P(WebSocketMessages, AreSentWholeAndInOrderFromManyThreads) {
    constexpr int kThreads = 4;
    constexpr int kEach = 200;
    const Box<std::vector<std::string>> received;
    Serve([received](RawPeer& peer) {
        peer.AcceptWebSocket();
        std::vector<std::string> texts;
        while (texts.size() < kThreads * kEach) {
            const auto frame = peer.ReadMessage();
            if (!frame || !frame->fin || frame->opcode != kText) break;
            texts.push_back(frame->payload);
        }
        received.Put(texts);
        peer.WaitForEnd();
    });
    Open();
    Reports(1);
    std::vector<std::thread> senders;
    for (int sender = 0; sender < kThreads; ++sender) {
        senders.emplace_back([this, sender] {
            for (int i = 0; i < kEach; ++i)
                socket->send((std::to_string(sender) + " " + std::to_string(i) + " " +
                              std::string(static_cast<std::size_t>(i) * 10, 'x'))
                                 .c_str());
        });
    }
    for (auto& sender : senders)
        sender.join();
    const auto texts = received.Take();
    ASSERT_EQ(texts.size(), std::size_t{kThreads * kEach});
    std::map<int, int> next;
    for (const std::string& text : texts) {
        const int sender = std::stoi(text);
        const std::size_t space = text.find(' ');
        const int number = std::stoi(text.substr(space + 1));
        EXPECT_EQ(number, next[sender]++);
        EXPECT_EQ(text.size() - text.rfind(' ') - 1, static_cast<std::size_t>(number) * 10);
    }
}

TEST_P(WebSocketMessages, AreDroppedWhenNotOpen) {
    const Box<std::string> first;
    ServeFirstMessage(first);
    socket->send("before open()");
    Open();
    socket->send("while connecting");  // dropped, or the opening was quicker and it is the first
    Reports(1);
    socket->send(nullptr);
    socket->send("open");
    EXPECT_THAT(first.Take(), testing::AnyOf("open", "while connecting"));
    socket->close();
    socket->send("after close()");
}

TEST_P(WebSocketMessages, AreDroppedWhileTheServerHesitates) {
    const Gate mayAnswer;
    const Box<std::string> first;
    Serve([mayAnswer, first](RawPeer& peer) {
        peer.ReadRequest();
        mayAnswer.Wait();
        peer.Send(peer.Acceptance());
        const auto frame = peer.ReadMessage();
        first.Put(frame ? frame->payload : "none");
        peer.WaitForEnd();
    });
    Open();
    socket->send("while connecting");
    mayAnswer.Open();
    Reports(1);
    socket->send("open");
    EXPECT_EQ(first.Take(), "open");
}

TEST_P(WebSocketMessages, CanBeSentFromAHandler) {
    const Box<std::string> first;
    ServeFirstMessage(first);
    socket->onOpen = [](const std::shared_ptr<cWebSocket>& self) { self->send("join"); };
    Open();
    EXPECT_EQ(first.Take(), "join");
}

TEST_P(WebSocketMessages, OfOneMebibyteAreSentAsOneFrame) {
    const Box<std::size_t> size;
    Serve([size](RawPeer& peer) {
        peer.AcceptWebSocket();
        const auto frame = peer.ReadMessage();
        size.Put(frame && frame->fin ? frame->payload.size() : 0);
        peer.WaitForEnd();
    });
    Open();
    Reports(1);
    socket->send(std::string(kMiB, 'y').c_str());
    EXPECT_EQ(size.Take(), kMiB);
}

TEST_P(WebSocketMessages, ThatPileUpEndTheConnection) {
    settings.maximumQueuedBytes = kMiB;
    UseSettings(settings);
    const Gate released;
    Serve([released](RawPeer& peer) {
        peer.AcceptWebSocket();
        released.Wait();  // reads nothing
    });
    Open();
    Reports(1);
    const std::string text(60000, 'x');
    for (int i = 0; i < 10000 && log->Lines().size() < 2; ++i)
        socket->send(text.c_str());
    EXPECT_THAT(Reports(2), ElementsAre("open", "close 2"));
    released.Open();
}

TEST_P(WebSocketMessages, NeverBlockTheSender) {
    // With the network thread held up nothing can be written, yet every operation returns.
    Serve([](RawPeer& peer) {
        peer.AcceptWebSocket();
        peer.WaitForEnd();
    });
    Open();
    Reports(1);
    const Gate released = HoldUpNetworkThread();
    for (int i = 0; i < 1000; ++i)
        socket->send("text");
    socket->keepAlive(0, 0, 0);
    socket->close();
    socket->open(Url().c_str(), kLongEnough);
    socket->close();
    socket.reset();
    released.Open();
}

TEST_P(WebSocketMessages, SurviveAHandlerThatThrows) {
    ServeBytes(EncodeFrame({kText, true, "one"}) + EncodeFrame({kText, true, "two"}));
    socket->onMessage = [log = log](const char* text) {
        log->Write(text);
        throw 1;
    };
    Open();
    EXPECT_THAT(Reports(3), ElementsAre("open", "one", "two"));
}

TEST_P(WebSocketMessages, KeepAliveSendsOnePing) {
    const Box<std::vector<int>> opcodes;
    Serve([opcodes](RawPeer& peer) {
        peer.AcceptWebSocket();
        std::vector<int> seen;
        for (auto frame = peer.ReadFrame(); frame; frame = peer.ReadFrame()) {
            seen.push_back(frame->opcode);
            if (frame->opcode == kText) break;
        }
        opcodes.Put(seen);
        peer.WaitForEnd();
    });
    socket->keepAlive(0, 0, 0);  // nothing is open
    Open();
    Reports(1);
    socket->keepAlive(0, 0, 0);
    socket->keepAlive(0, 0, 0);
    PassNetworkThread();
    PassNetworkThread();
    socket->send("end");
    EXPECT_THAT(opcodes.Take(), ElementsAre(kPing, kPing, kText));
}

}  // namespace
}  // namespace tests
