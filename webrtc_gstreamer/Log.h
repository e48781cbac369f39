// The library's own log lines. They go to the sink that the user set, or nowhere.
#pragma once

#include <string>

#include "webrtc/voDebug.h"

namespace webrtc_gstreamer {

// [library-thread] Calls the sink, if one is set and the level is high enough, on the calling thread with no
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

// [any-thread] For a fault that a user's own call meets: the sink is called on a thread of the library all
// the same, soon.
void LogErrorOfCaller(const std::string& text);

}  // namespace webrtc_gstreamer
