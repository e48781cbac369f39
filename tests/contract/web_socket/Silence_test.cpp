// open(), close() and release: what the handlers must not hear, and how a socket is used again.
#include <thread>

#include "host_runtime/network/WebSocketClient.h"
#include "support/annotated_mutex.h"
#include "tests/contract/web_socket/WebSocketFixture.h"

namespace tests {
namespace {

using testing::ElementsAre;

class WebSocketSilence : public WebSocketContract {
protected:
    void ServeForEver() {
        Serve([goodbye = goodbye](RawPeer& peer) {
            if (!peer.AcceptWebSocket()) return;
            peer.SendFrame({kText, true, "hello"});
            const auto frame = peer.ReadMessage();
            *goodbye = frame ? frame->opcode : -1;
        });
    }
    // What the server read last; the script may outlive the test.
    const std::shared_ptr<std::atomic<int>> goodbye = std::make_shared<std::atomic<int>>(0);
};

INSTANTIATE_TEST_SUITE_P(Over, WebSocketSilence, testing::Values(Scheme::Plain, Scheme::Tls), SchemeName);

TEST_P(WebSocketSilence, HandlersNeverRunInsideACall) {
    Serve([](RawPeer& peer) {
        peer.AcceptWebSocket();
        for (auto frame = peer.ReadMessage(); frame && frame->opcode == kText; frame = peer.ReadMessage())
            peer.SendFrame(*frame);
    });
    support::Mutex mutex;  // guards no field: a handler inside a call would wait for it for ever
    const Box<std::thread::id> thread;
    socket->onOpen = [&, log = log](const auto&) {
        const support::MutexLock lock(mutex);
        log->Write("open");
    };
    socket->onMessage = [&, log = log](const char* text) {
        const support::MutexLock lock(mutex);
        log->Write(text);
        thread.Put(std::this_thread::get_id());
    };
    socket->onError = [&, log = log](cWebSocket::Error) {
        const support::MutexLock lock(mutex);
        log->Write("error");
    };
    {
        const support::MutexLock lock(mutex);
        socket->open("nonsense", kLongEnough);
    }
    EXPECT_THAT(Reports(1), ElementsAre("error"));
    {
        const support::MutexLock lock(mutex);
        Open();
    }
    Reports(2);
    {
        const support::MutexLock lock(mutex);
        socket->send("echo");
    }
    EXPECT_THAT(Reports(3), ElementsAre("error", "open", "echo"));
    EXPECT_NE(thread.Take(), std::this_thread::get_id());
    const support::MutexLock lock(mutex);
    socket->close();
}

TEST_P(WebSocketSilence, OpenDoesNothingWhileConnectingOrOpen) {
    ServeForEver();
    Open();
    socket->open("nonsense", kLongEnough);
    Open();
    Reports(2);
    Open();
    socket->open("nonsense", kLongEnough);
    EXPECT_THAT(Reports(2), ElementsAre("open", "message hello"));
    EXPECT_EQ(server->ConnectionCount(), 1);
}

TEST_P(WebSocketSilence, CloseSaysGoodbyeAndNothingElse) {
    ServeForEver();
    Open();
    Reports(2);
    socket->close();
    socket->close();
    socket.reset();
    EXPECT_TRUE(AllSocketsGone());
    server.reset();
    EXPECT_EQ(*goodbye, kClose);
    EXPECT_THAT(Reports(2), ElementsAre("open", "message hello"));
}

TEST_P(WebSocketSilence, CloseFlushesWhatWasSent) {
    const Box<std::vector<std::string>> received;
    Serve([received](RawPeer& peer) {
        peer.AcceptWebSocket();
        std::vector<std::string> texts;
        for (auto frame = peer.ReadMessage(); frame; frame = peer.ReadMessage()) {
            texts.push_back(frame->opcode == kClose ? "close" : frame->payload);
            if (frame->opcode == kClose) break;
        }
        received.Put(texts);
    });
    Open();
    Reports(1);
    socket->send("one");
    socket->keepAlive(0, 0, 0);
    socket->send("two");
    socket->close();
    EXPECT_THAT(received.Take(), ElementsAre("one", "two", "close"));
}

TEST_P(WebSocketSilence, CloseWhileConnectingIsSilent) {
    const Gate asked;
    Serve([asked](RawPeer& peer) {
        peer.ReadRequest();
        asked.Open();
        EXPECT_TRUE(peer.WaitForEnd());
    });
    Open();
    asked.Wait();
    socket->close();
    EXPECT_TRUE((socket.reset(), AllSocketsGone()));
    EXPECT_THAT(Reports(0), ElementsAre());
}

TEST_P(WebSocketSilence, CloseBeforeAnythingHappenedIsSilent) {
    ServeForEver();
    socket->close();
    const Gate released = HoldUpNetworkThread();
    for (int i = 0; i < 50; ++i) {
        Open();
        socket->close();
        socket->open("nonsense", kLongEnough);
        socket->close();
    }
    released.Open();
    EXPECT_THAT(Reports(0), ElementsAre());
}

TEST_P(WebSocketSilence, CloseDropsEventsThatWaitForTheirTurn) {
    ServeForEver();
    Open();
    Reports(2);
    const Gate released = HoldUpNetworkThread();
    server.reset();  // the loss is there before close()
    socket->close();
    released.Open();
    EXPECT_THAT(Reports(2), ElementsAre("open", "message hello"));
}

TEST_P(WebSocketSilence, FailuresOfAnEarlierOpenAreNotHeardAfterANewOne) {
    ServeForEver();
    const Gate released = HoldUpNetworkThread();
    socket->open("nonsense", kLongEnough);
    socket->close();
    Open();  // connecting again when the failure gets its turn
    released.Open();
    EXPECT_THAT(Reports(2), ElementsAre("open", "message hello"));
}

TEST_P(WebSocketSilence, CloseInsideAHandlerStopsTheMessagesBehindIt) {
    Serve([](RawPeer& peer) {
        peer.AcceptWebSocket();
        peer.Send(EncodeFrame({kText, true, "one"}) + EncodeFrame({kText, true, "two"}) +
                  EncodeFrame({kClose, true, ""}));
        peer.WaitForEnd();
    });
    socket->onMessage = [this](const char* text) {
        log->Write(text);
        socket->close();
    };
    Open();
    Reports(2);
    server.reset();
    EXPECT_THAT(Reports(2), ElementsAre("open", "one"));
}

TEST_P(WebSocketSilence, ReleaseInsideAHandlerIsAllowed) {
    ServeForEver();
    const Gate released;
    socket->onMessage = [this, released](const char*) {
        socket.reset();
        released.Open();
    };
    Open();
    released.Wait();
    EXPECT_TRUE(AllSocketsGone());
    EXPECT_THAT(Reports(1), ElementsAre("open"));
}

TEST_P(WebSocketSilence, ReleaseIsSilentAtAnyMoment) {
    ServeForEver();
    socket.reset();
    for (int i = 0; i < 30; ++i) {
        auto brief = cWebSocket::Factory();
        const auto itsLog = SocketLog::Of(*brief);
        brief->open(Url().c_str(), kLongEnough);
        itsLog->WaitForLines(static_cast<std::size_t>(i) % 3);
        brief.reset();
        // Handlers that began before the release may end after it, so nothing is counted before this.
        PassNetworkThread();
        const std::size_t count = itsLog->Lines().size();
        EXPECT_LE(count, 2U);
        PassNetworkThread();
        EXPECT_EQ(itsLog->Lines().size(), count);
    }
}

// Using a socket again: the same handlers, another connection.

TEST_P(WebSocketSilence, OpensAgainAfterClose) {
    ServeForEver();
    Open();
    Reports(2);
    socket->close();
    Open();
    EXPECT_THAT(Reports(4), ElementsAre("open", "message hello", "open", "message hello"));
    EXPECT_EQ(server->ConnectionCount(), 2);
}

TEST_P(WebSocketSilence, OpensAgainAfterALoss) {
    Serve([](RawPeer& peer) {
        peer.AcceptWebSocket();
        if (peer.Number() == 2) peer.WaitForEnd();
    });
    Open();
    Reports(2);
    Open();
    EXPECT_THAT(Reports(3), ElementsAre("open", "close 2", "open"));
}

TEST_P(WebSocketSilence, OpensAgainInsideTheErrorHandler) {
    Serve([](RawPeer& peer) {
        if (peer.Number() < 4) return;  // drops the first three
        peer.AcceptWebSocket();
        peer.WaitForEnd();
    });
    socket->onError = [this](cWebSocket::Error error) {
        log->Write("error " + std::to_string(static_cast<int>(error)));
        Open();
    };
    Open();
    EXPECT_THAT(Reports(4), ElementsAre("error 1", "error 1", "error 1", "open"));
}

TEST_P(WebSocketSilence, OpensAgainAfterAnUnusableUrl) {
    ServeForEver();
    socket->open("nonsense", kLongEnough);
    Reports(1);
    Open();
    EXPECT_THAT(Reports(3), ElementsAre("error 3", "open", "message hello"));
}

TEST_P(WebSocketSilence, OldConnectionsAreNotHeardAfterANewOpen) {
    // The first connection has messages and an end on their way when it is replaced.
    const Gate sent;
    Serve([sent](RawPeer& peer) {
        peer.AcceptWebSocket();
        if (peer.Number() == 2) {
            peer.SendFrame({kText, true, "new"});
            peer.WaitForEnd();
            return;
        }
        for (int i = 0; i < 100; ++i)
            peer.SendFrame({kText, true, "old"});
        sent.Open();
    });
    const Gate reached;
    const Gate released;
    socket->onOpen = [this, reached, released](const auto&) {
        log->Write("open");
        if (log->Lines().size() > 1) return;
        reached.Open();
        released.Wait();
    };
    Open();
    reached.Wait();
    sent.Wait();
    socket->close();
    Open();
    released.Open();
    EXPECT_THAT(Reports(3), ElementsAre("open", "open", "message new"));
}

TEST_P(WebSocketSilence, ManyThreadsMayUseOneSocket) {
    ServeForEver();
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([this, thread] {
            for (int i = 0; i < 50; ++i) {
                if ((i + thread) % 2 == 0) Open();
                socket->send("text");
                socket->keepAlive(0, 0, 0);
                if ((i + thread) % 3 == 0) socket->close();
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    socket->close();
    PassNetworkThread();
    const std::size_t count = log->Lines().size();
    server.reset();
    EXPECT_EQ(Reports(0).size(), count);
}

}  // namespace
}  // namespace tests
