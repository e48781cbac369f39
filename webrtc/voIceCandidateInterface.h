#pragma once

#include "webrtc/voObject.h"

#pragma GCC visibility push(default)
namespace vo_webrtc {

class voIceCandidateInterface : public voObject {
public:
    using voObject::voObject;

    // [any-thread] Zero-terminated, valid as long as the object.
    const char* Sdp() const;  // the candidate attribute's value (RFC 8839)
    const char* SdpMid() const;
    const char* SdpMLineIndex() const;  // decimal text
};

}  // namespace vo_webrtc
#pragma GCC visibility pop
