// Writes down what a socket reports, one line each: "open", "error 1", "message text", "close 2",
// "close clean".
#pragma once

#include <memory>

#include "host/network/cWebSocket.h"
#include "tests/fakes/WrittenLines.h"

namespace tests {

class SocketLog : public WrittenLines {
public:
    // The handlers keep the log alive, and not the socket.
    static std::shared_ptr<SocketLog> Of(cWebSocket& socket);
};

// Returns after the network thread has done all that was posted to it.
void PassNetworkThread();

// True when no transport, or nothing at all, is left, at the latest after a few seconds.
bool AllTransportsGone();
bool AllSocketsGone();

}  // namespace tests
