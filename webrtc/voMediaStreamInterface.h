#pragma once

#include <cstdint>

#include "webrtc/voAudioTrackInterface.h"
#include "webrtc/voPointer.h"
#include "webrtc/voVideoTrackInterface.h"

#pragma GCC visibility push(default)
namespace vo_webrtc {

class voMediaStreamInterface : public voObject {
public:
    using voObject::voObject;

    // [any-thread] Null when there is no such track.
    voPointer<voVideoTrackInterface> VideoTrack(std::uint64_t index) const;
    voPointer<voAudioTrackInterface> AudioTrack(std::uint64_t index) const;
};

}  // namespace vo_webrtc
#pragma GCC visibility pop
