#pragma once

#include <nice/agent.h>

namespace webrtc_gstreamer {

// What the kernel keeps of a connection's packets until its thread reads them: room for a large key picture,
// which senders put on the wire at once. The kernel grants at most its limit, net.core.rmem_max.
inline constexpr int kReceiveBufferBytes = 2 * 1024 * 1024;

// For all sockets that the agent will open.
void EnlargeReceiveBuffers(NiceAgent& agent);

}  // namespace webrtc_gstreamer
