#pragma once

namespace webrtc_gstreamer {

// [any-thread] Prepares in the background what the first peer connection of a process would otherwise wait
// for. Only the first call does something. The process' exit waits for the end.
void BeginWarmUp();

// [any-thread] Returns when nothing of it runs any more, its threads' own clean-up included.
void AwaitWarmUp();

}  // namespace webrtc_gstreamer
