// How a webrtcbin's ICE agent looks for addresses.
#pragma once

#include <gst/gst.h>

namespace petrel {

// To be called before any description is set. The agent leaves loopback out by itself, so on a machine that
// has no other interface it is told to use it.
void PrepareIceAgent(GstElement* webrtcbin);

}  // namespace petrel
