#pragma once

#include "webrtc/voObject.h"

#pragma GCC visibility push(default)
namespace vo_webrtc {

// A planar picture in library memory, for local video sources.
class voVideoBufferI420 : public voObject {
public:
    using voObject::voObject;
};

}  // namespace vo_webrtc
#pragma GCC visibility pop
