// The library's own log lines. They go to the sink that the user set, or nowhere.
#pragma once

#include <string>

#include "webrtc/voDebug.h"

namespace webrtc_gstreamer {

// [any-thread] Calls the sink, if one is set and the level is high enough, on the calling thread with no
// lock held.
void Log(vo_webrtc::voDebug::LogLevel level, const std::string& text);

inline void LogInfo(const std::string& text) {
    Log(vo_webrtc::voDebug::LogLevel::Info, text);
}
inline void LogWarning(const std::string& text) {
    Log(vo_webrtc::voDebug::LogLevel::Warning, text);
}
inline void LogError(const std::string& text) {
    Log(vo_webrtc::voDebug::LogLevel::Error, text);
}

}  // namespace webrtc_gstreamer
