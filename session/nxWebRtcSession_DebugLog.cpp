#include "session/nxWebRtcSession_DebugLog.h"

#include <cstring>

#include "host/core/zTraceManager.h"

void nxWebRtcSession::DebugLog::OnLogLine(const char* line) {
    if (line == nullptr || *line == '\0') return;
    const bool endsLine = line[std::strlen(line) - 1] == '\n';
    zTraceManager::Default()->TraceMessage(FourCC("note"), endsLine ? "webrtc: %s" : "webrtc: %s\n", line);
}

void nxWebRtcSession::SetDebugLogging(std::int32_t level) {
    if (level == loggingLevel) return;
    loggingLevel = level;
    if (level == 0) {
        vo_webrtc::voDebug::SetLogging(nullptr, vo_webrtc::voDebug::LogLevel::None);
        return;
    }
    if (!debugLog) debugLog = new DebugLog;
    vo_webrtc::voDebug::SetLogging(debugLog, vo_webrtc::voDebug::LogLevel::Info);
}
