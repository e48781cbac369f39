#pragma once

#include <nice/agent.h>

namespace webrtc_gstreamer {

// Gives the relayed addresses of an ICE agent back to their TURN servers, which would otherwise keep them for
// minutes. Waits for the servers, but not for long.
void ReleaseRelays(NiceAgent& agent);

}  // namespace webrtc_gstreamer
