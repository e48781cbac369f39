// Owns one session in rendezvous mode, as whoever uses that mode does: starts it, hears what it tells, and
// pulls picture and sound of every peer.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "host/media/nxBufferGroup2.h"
#include "host_runtime/sources/HostPointer.h"
#include "host_runtime/sources/SourcePuller.h"
#include "session/nxWebRtcSession.h"
#include "tests/e2e/host/PulledPattern.h"

namespace rendezvous {

// [main-thread] throughout.
class SessionOwner {
public:
    static constexpr const char* kSessionGuid = "studio-7";
    static constexpr const char* kOwnerKey = "key of the owner";

    SessionOwner();
    ~SessionOwner();
    SessionOwner(const SessionOwner&) = delete;
    SessionOwner& operator=(const SessionOwner&) = delete;

    nxWebRtcSession& Session() { return *session; }
    void Start(const std::string& address);

    // What the session told, one line each: "created PEER", "removed PEER", "joined GUID RESULT CHAT-URL",
    // "reconnecting 0", "lost 1", "chat JSON".
    const std::vector<std::string>& Told() const { return told; }
    bool WasTold(const std::string& line) const;

    // What was pulled from the newest connection with this peer; nothing when there is none.
    e2e::PulledPattern::Counts Pulled(const std::string& peer) const;

    bool RunUntil(const std::function<bool()>& predicate, std::chrono::seconds limit = kPatience);
    // Picture and sound of this peer arrive, and go on arriving.
    bool WaitForMedia(const std::string& peer, std::chrono::seconds limit = kPatience);

private:
    static constexpr std::chrono::seconds kPatience{30};

    struct Peer;

    void OnConnectionCreated(const std::string& peer);
    void OnConnectionRemoved(const std::string& peer);

    host_runtime::HostPointer<nxBufferGroup2> bufferGroup;
    host_runtime::SourcePuller puller{{30, 1}};
    std::shared_ptr<nxWebRtcSession> session;
    std::map<std::string, Peer> peers;
    std::vector<std::string> told;
};

struct SessionOwner::Peer {
    std::shared_ptr<host_runtime::Source> source;
    std::shared_ptr<e2e::PulledPattern> pattern;
};

}  // namespace rendezvous
