// A server of ours whose reports are written down, one line each: "open", "message text", "close".
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "support/annotated_mutex.h"
#include "tests/contract/web_socket/RawPeer.h"
#include "tests/fakes/WrittenLines.h"
#include "web_server/WebSocketServer.h"

namespace tests {

class ServerFixture : public testing::Test, protected WrittenLines {
protected:
    ~ServerFixture() override;

    // By default on a free port of the loopback.
    void Listen(const web_server::WebSocketServerOptions& options = {});
    std::unique_ptr<RawPeer> Dial() { return RawPeer::ConnectTo(server->Port()); }
    // A client that was accepted.
    std::unique_ptr<RawPeer> Join();

    std::shared_ptr<web_server::WebSocketConnection> LatestConnection();
    void ForgetConnections();

    // Runs on the server's thread after a message was written down.
    std::function<void(const std::shared_ptr<web_server::WebSocketConnection>&, const std::string&)>
        onMessage;
    std::unique_ptr<web_server::WebSocketServer> server;

private:
    support::Mutex mutex;
    std::vector<std::shared_ptr<web_server::WebSocketConnection>> connections GUARDED_BY(mutex);
};

}  // namespace tests
