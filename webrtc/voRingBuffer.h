#pragma once

#include "webrtc/voObject.h"

#pragma GCC visibility push(default)
namespace vo_webrtc {

// A ring of samples in library memory, for custom audio devices.
class voRingBuffer : public voObject {
public:
    using voObject::voObject;
};

}  // namespace vo_webrtc
#pragma GCC visibility pop
