#pragma once

#include <memory>
#include <optional>
#include <string>

class nxWebRtcSession;

// One source of the factory.
struct SourceEntry {
    std::string identifier;
    std::string joinedPeer;                     // the phone that joined the session, empty before
    std::optional<std::string> peerIdentifier;  // from the settings: a discovered source
    std::shared_ptr<nxWebRtcSession> session;
};
