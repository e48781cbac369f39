#include "session/nxWebRtcSession_DebugLog.h"

#include <cstring>

#include "connection/trace_note.h"
#include "host/core/zTraceManager.h"

void nxWebRtcSession::DebugLog::OnLogLine(const char* line) {
    if (line == nullptr || *line == '\0') return;
    const bool endsLine = line[std::strlen(line) - 1] == '\n';
    TraceGuarded([&] {
        const char* const format = endsLine ? "webrtc: %s" : "webrtc: %s\n";
        zTraceManager::Default()->TraceMessage(FourCC("note"), format, line);
    });
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
