#pragma once

#include "session/nxWebRtcSession.h"
#include "webrtc/voDebug.h"

// Writes the WebRTC library's log into the host trace, one line feed at the end of each line.
class nxWebRtcSession::DebugLog : public vo_webrtc::voDebug::Logging,
                                  private support::Counted<nxWebRtcSession::DebugLog> {
public:
    using support::Counted<nxWebRtcSession::DebugLog>::Alive;

    DebugLog() : Logging(&voCallback::Delete) {}

    void OnLogLine(const char* line) override;  // [library-thread] null and empty lines are dropped
};
