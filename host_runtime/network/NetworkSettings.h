// What an embedder or a test may change about the WebSocket client.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace host_runtime {

struct NetworkSettings {
    // Certificate authorities trusted besides the system's, a PEM file; empty for none.
    std::string extraCaFile;

    // An open socket sends a ping this often, and counts as lost when nothing at all was received for
    // `silenceLimit`: a peer that vanished without a word is noticed within 10 s.
    std::chrono::milliseconds pingInterval{3000};
    std::chrono::milliseconds silenceLimit{9000};

    // A message that is still not complete so long after its beginning was noticed ends the connection:
    // a peer could go on for ever, byte by byte or with empty fragments.
    std::chrono::milliseconds messageLimit{30000};

    // How long a closed socket lingers, unseen, to flush what was sent and to exchange close frames.
    std::chrono::milliseconds closingLimit{1000};

    // A peer that lets more than this pile up unsent counts as lost.
    std::size_t maximumQueuedBytes = std::size_t{4} << 20;
    std::size_t maximumMessageBytes = std::size_t{1} << 20;
};

NetworkSettings CurrentNetworkSettings();              // [any-thread]
void SetNetworkSettings(NetworkSettings newSettings);  // [any-thread] for sockets opened afterwards

}  // namespace host_runtime
