#include "webrtc/voDebug.h"

#include <gst/gst.h>

#include <cstdlib>

#include "support/annotated_mutex.h"
#include "webrtc_gstreamer/Engine.h"
#include "webrtc_gstreamer/LibraryThread.h"
#include "webrtc_gstreamer/Log.h"

namespace webrtc_gstreamer {
namespace {

using vo_webrtc::voDebug;
using vo_webrtc::voPointer;
using LogLevel = vo_webrtc::voDebug::LogLevel;

// Logging never keeps the process from ending, so this is never destroyed.
struct LogState {
    support::Mutex mutex;
    voPointer<voDebug::Logging> sink GUARDED_BY(mutex);
    LogLevel level GUARDED_BY(mutex) = LogLevel::None;
    bool routed GUARDED_BY(mutex) = false;
};

LogState& TheState() {
    static LogState& state = *new LogState;
    return state;
}

// The parts of GStreamer that take part in a peer connection.
constexpr const char* kCategories[] = {"webrtc*", "nice*", "dtls*", "srtp*", "rtp*", "libav", "opusdec"};

GstDebugLevel GstLevelOf(LogLevel level) {
    switch (level) {
        case LogLevel::Verbose:
            return GST_LEVEL_DEBUG;
        case LogLevel::Info:
            return GST_LEVEL_INFO;
        case LogLevel::Warning:
            return GST_LEVEL_WARNING;
        case LogLevel::Error:
            return GST_LEVEL_ERROR;
        case LogLevel::None:
            break;
    }
    return GST_LEVEL_NONE;
}

LogLevel LevelOf(GstDebugLevel level) {
    if (level <= GST_LEVEL_ERROR) return LogLevel::Error;
    if (level <= GST_LEVEL_WARNING) return LogLevel::Warning;
    return level <= GST_LEVEL_INFO ? LogLevel::Info : LogLevel::Verbose;
}

void OnGStreamerLine(GstDebugCategory* category, GstDebugLevel level, const gchar*, const gchar* function,
                     gint, GObject*, GstDebugMessage* message, gpointer) {
    const gchar* text = gst_debug_message_get(message);
    if (text == nullptr) return;
    Log(LevelOf(level), std::string(gst_debug_category_get_name(category)) + " " +
                            (function != nullptr ? function : "") + ": " + text);
}

void RouteGStreamerLog(LogLevel level) {
    if (!EnsureEngine()) return;
    LogState& state = TheState();
    bool mustAdd = false;
    {
        const support::MutexLock lock(state.mutex);
        mustAdd = !state.routed && level != LogLevel::None;
        if (mustAdd) state.routed = true;
    }
    if (mustAdd) {
        // Without its own switch GStreamer stays silent on standard error, whatever level the sink asks for.
        if (std::getenv("GST_DEBUG") == nullptr) (gst_debug_remove_log_function)(nullptr);
        (gst_debug_add_log_function)(OnGStreamerLine, nullptr, nullptr);
        gst_debug_set_active(TRUE);
    }
    for (const char* category : kCategories) {
        if (level == LogLevel::None) {
            gst_debug_unset_threshold_for_name(category);
        } else {
            gst_debug_set_threshold_for_name(category, GstLevelOf(level));
        }
    }
}

}  // namespace

void Log(LogLevel level, const std::string& text) {
    // A sink that itself makes the library log must not be entered again.
    thread_local bool inSink = false;
    if (inSink) return;
    LogState& state = TheState();
    voPointer<voDebug::Logging> sink;
    {
        const support::MutexLock lock(state.mutex);
        if (state.sink.Get() == nullptr || level < state.level) return;
        sink = state.sink;
    }
    inSink = true;
    try {
        sink->OnLogLine(text.c_str());
    } catch (...) {
        // Nowhere left to report it.
    }
    sink = nullptr;
    inSink = false;
}

void LogErrorOfCaller(const std::string& text) {
    {
        LogState& state = TheState();
        const support::MutexLock lock(state.mutex);
        if (state.sink.Get() == nullptr || LogLevel::Error < state.level) return;
    }
    StartLibraryThread("log line", [text] { LogError(text); });
}

}  // namespace webrtc_gstreamer

namespace vo_webrtc {

void voDebug::SetLogging(voPointer<Logging> sink, LogLevel level) {
    using namespace webrtc_gstreamer;
    const LogLevel effective = sink.Get() == nullptr ? LogLevel::None : level;
    {
        LogState& state = TheState();
        voPointer<Logging> old;  // released after the lock
        const support::MutexLock lock(state.mutex);
        old = std::exchange(state.sink, std::move(sink));
        state.level = effective;
    }
    RouteGStreamerLog(effective);
}

}  // namespace vo_webrtc
