// The connection to this machine's Avahi daemon. The daemon may be missing at first, stop, and come back at
// any time: whoever browses or publishes is told, and makes its objects anew with each new client.
#pragma once

#include <avahi-client/client.h>

#include <functional>
#include <string>

#include "support/object_count.h"

struct AvahiThreadedPoll;

namespace mdns {

class AvahiConnection;

// What counts as a daemon that is there.
enum class Need {
    Answers,          // enough to browse
    SettledHostName,  // to publish: the machine's own name is not being changed at the moment
};

// All are called on Avahi's thread, one at a time. None may destroy the connection.
struct AvahiHandlers {
    // The daemon is there: make browsers and groups with `client`.
    std::function<void(AvahiConnection& connection, AvahiClient& client)> onUp;
    // Follows each onUp, at the latest in the destructor: free what was made with that client.
    std::function<void()> onDown;
    // Once for each time that the daemon is away; the reason is a few words of Avahi's.
    std::function<void(const std::string& reason)> onOutage;
};

class AvahiConnection : private support::Counted<AvahiConnection> {
public:
    using support::Counted<AvahiConnection>::Alive;

    // How long a connection that failed is left alone.
    static constexpr unsigned kRetryMs = 1000;

    // [any-thread] Returns at once; begins on a thread of its own.
    AvahiConnection(Need whatCounts, AvahiHandlers toCall);
    // [any-thread] Waits for a handler that is running; none is called afterwards.
    ~AvahiConnection();
    AvahiConnection(const AvahiConnection&) = delete;
    AvahiConnection& operator=(const AvahiConnection&) = delete;

    // [any-thread] but Avahi's. Runs a job as a handler is run, before this returns: with the client of the
    // last onUp, or null when there is none. Waits while the daemon is slow to answer.
    void Run(const std::function<void(AvahiClient* client)>& job);

    // From a handler: an object made with the client has failed, so everything begins anew a little later.
    void BeginAnew(const std::string& reason);

private:
    static void OnTimer(AvahiTimeout* timer, void* connection);
    static void OnState(AvahiClient* client, AvahiClientState state, void* connection);

    void Open();
    void Close();
    void OpenLater(unsigned delayMs);
    void GoUp(AvahiClient& running);
    void GoDown();
    void TellOutage(const std::string& reason);

    const Need need;
    const AvahiHandlers handlers;
    AvahiThreadedPoll* const thread;
    AvahiTimeout* timer = nullptr;
    AvahiClient* client = nullptr;
    bool up = false;
    bool outageTold = false;
};

}  // namespace mdns
