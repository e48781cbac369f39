#pragma once

#include <functional>

namespace webrtc_gstreamer {

// Starts a named thread of the library's own; false when the system has none left. It is never joined, so
// that whatever it owns may end on itself; the process' normal exit waits a while for those that are ending.
// Once `ending` was called on it, the thread counts as such.
bool StartLibraryThread(const char* name, std::function<void()> run);

}  // namespace webrtc_gstreamer
