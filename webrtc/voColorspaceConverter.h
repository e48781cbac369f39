#pragma once

#include <cstdint>

#include "webrtc/voI420Frame.h"
#include "webrtc/voObject.h"
#include "webrtc/voVideoFrame.h"

namespace vo_webrtc {

class voColorspaceConverter : public voObject {
public:
    using voObject::voObject;

    // [any-thread] Writes U Y V Y byte order, 4 bytes for two pixels, 2 x 2 sampled chroma repeated on both
    // rows; an odd width repeats its last pixel. Both sizes must be equal. 0 on success; -1, with nothing
    // written, for a null plane, unequal or empty sizes or a row too short.
    static std::int32_t I420ToUYVY(voVideoFrame& destination, const voI420Frame& source);
};

}  // namespace vo_webrtc
