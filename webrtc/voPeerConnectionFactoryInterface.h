#pragma once

#include <cstdint>

#include "webrtc/voCustomAudioDevice.h"
#include "webrtc/voPeerConnectionInterface.h"
#include "webrtc/voPointer.h"
#include "webrtc/voStunServer.h"
#include "webrtc/voVideoTrackSourceInterface.h"

#pragma GCC visibility push(default)
namespace vo_webrtc {

class voPeerConnectionFactoryInterface : public voObject {
public:
    static constexpr std::int32_t kGuidLength = 128;
    static constexpr std::int32_t kNameLength = 128;

    using voObject::voObject;

    // [any-thread] Null when the engine cannot be had.
    static voPointer<voPeerConnectionFactoryInterface> Create(voPointer<voCustomAudioDevice> audioDevice);

    // [any-thread]
    voPointer<voVideoTrackSourceInterface> CreateVideoTrackSource();

    // [any-thread] `servers` may be null when `count` is 0. The last argument asks for encrypted media
    // (DTLS-SRTP, RFC 5764) and is always true. Null when the peer connection cannot be made.
    voPointer<voPeerConnectionInterface> CreatePeerConnection(const voStunServer* servers, std::int32_t count,
                                                              bool encryptMedia);
};

}  // namespace vo_webrtc
#pragma GCC visibility pop
