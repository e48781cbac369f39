#pragma once

#include "webrtc/voObject.h"

#pragma GCC visibility push(default)
namespace vo_webrtc {

// Where a local video track gets its pictures from.
class voVideoTrackSourceInterface : public voObject {
public:
    using voObject::voObject;
};

}  // namespace vo_webrtc
#pragma GCC visibility pop
