// The session's flag for rejoining a previous session. Nothing sets it yet, so tests do.
#pragma once

class nxWebRtcSession;

namespace tests {

bool& RejoinPending(nxWebRtcSession& session);

}  // namespace tests
