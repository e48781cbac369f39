// How many threads decode a picture.
#pragma once

#include <gst/gst.h>

namespace webrtc_gstreamer {

// A picture of so many pixels that its sender cut into slices or tiles is there sooner when two threads
// decode it. What is small, or in one piece, gains nothing.
inline constexpr int kPixelsForTwoThreads = 1920 * 1080;

// Sets the number whenever the decoder learns a size, before it opens for that.
void SetThreadsBySize(GstElement* decoder);

}  // namespace webrtc_gstreamer
