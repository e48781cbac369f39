// Asks the sender for packets that a jitter buffer misses.
#pragma once

#include <gst/gst.h>

namespace webrtc_gstreamer {

// The jitter buffer's own requests are too few for a bad link and too many for a restless one: it waits half
// a picture's time before it asks for a packet near the end of a picture, notices only with the next picture
// that the last packet is missing, and takes what merely comes late for lost again and again. So they are
// left off, and LossRepair decides. Sound is not asked for: long before an answer it has been concealed. Ends
// with the jitter buffer.
void RequestLostPackets(GstElement* jitterBuffer);

}  // namespace webrtc_gstreamer
