// GStreamer as a whole: started once, with everything a peer connection needs.
#pragma once

namespace webrtc_gstreamer {

// [any-thread] Starts GStreamer on first use; false, with a log line, when it or an element is missing.
bool EnsureEngine();

// [any-thread] Both once the engine has started, and each spares the first peer connection a wait. The second
// makes the process' DTLS key, which takes a few hundred milliseconds of computing.
void LoadElements();
void MakeKey();

// [any-thread] Whether loopback is the only network interface that is up and has an address.
bool OnlyLoopbackIsUp();

}  // namespace webrtc_gstreamer
