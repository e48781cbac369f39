// Spares received packets a change of threads.
#pragma once

#include <gst/gst.h>

namespace webrtc_gstreamer {

// Each transport of webrtcbin has a queue between the thread that reads the sockets and the decryption. It is
// needed while packets are held back, until ICE has connected and whenever webrtcbin stops a transport; later
// it only wakes a second thread for every packet. Then packets go past it, on the thread that read them:
// there they are decrypted and put into the jitter buffers, which takes some tens of microseconds. `queue` is
// left alone when it is another one. For as long as it lives.
void LeadPacketsPast(GstElement* queue);

}  // namespace webrtc_gstreamer
