#pragma once

#include <functional>

namespace webrtc_gstreamer {

// Starts a named thread of the library's own; false when the system has none left. It is never joined, so
// that what it owns may end on any thread, itself included.
bool StartLibraryThread(const char* name, std::function<void()> run);

// Lets the calling thread run as soon as it is due, before all ordinary threads of the machine. For short
// work at fixed times only. False when the system does not permit it; the thread then takes its turn.
bool RunWhenDue();

// Between a peer connection's release and the end of its engine. The process' normal exit waits a few seconds
// for those that are under way, so that none is cut down in the middle of GStreamer.
void BeginEnding();
void FinishEnding();

}  // namespace webrtc_gstreamer
