// Writes down what a socket reports, one line each: "open", "error 1", "message text", "close 2",
// "close clean".
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/network/cWebSocket.h"
#include "support/annotated_mutex.h"

namespace tests {

class SocketLog {
public:
    // The handlers keep the log alive, and not the socket.
    static std::shared_ptr<SocketLog> Of(cWebSocket& socket);

    std::vector<std::string> Lines() const;
    // Waits, with a deadline, until there are so many; returns what there is.
    std::vector<std::string> WaitForLines(std::size_t count) const;
    void Write(std::string line);

private:
    mutable support::Mutex mutex;
    mutable support::Condition changed;
    std::vector<std::string> lines GUARDED_BY(mutex);
};

// Returns after the network thread has done all that was posted to it.
void PassNetworkThread();

// True when no transport, or nothing at all, is left, at the latest after a few seconds.
bool AllTransportsGone();
bool AllSocketsGone();

}  // namespace tests
