// The memory into which a decoder decodes, such that its pictures reach their user without a copy.
#pragma once

#include "webrtc_gstreamer/GstPointers.h"

namespace webrtc_gstreamer {

// What follows a decoder answers its question for memory with this. Otherwise it copies each picture (3 MB at
// 1080p): into a buffer without padding when the rows may not be padded; whenever the height is no multiple
// of 16 (1080 is none) when there is no pool that it may pad; and from any other pool because it keeps what
// it may refer to mapped for writing, although no decoder writes into a finished picture. This pool's buffers
// have a mapping that claims no right to write. What the decoder passes on is then another buffer with the
// same memory, which the pool uses again once nobody holds it.
void AnswerAllocation(GstQuery* query);

}  // namespace webrtc_gstreamer
