// What the library tells a connection. Reaches it only while it lives; afterwards every call does nothing.
#pragma once

#include <cstdint>
#include <memory>

#include "connection/nxWebRtcConnection.h"
#include "webrtc/voPeerConnectionInterface.h"

// All operations [library-thread]; the connection is held until a call returns.
class nxWebRtcConnection::Observer : public vo_webrtc::voPeerConnectionInterface::Observer {
public:
    explicit Observer(std::weak_ptr<nxWebRtcConnection> owner);

    void OnAddStream(vo_webrtc::voPointer<vo_webrtc::voMediaStreamInterface> stream) override;
    void OnRenegotiationNeeded() override;
    void OnFailure(const char* error) override;
    void OnIceCandidate(vo_webrtc::voPointer<vo_webrtc::voIceCandidateInterface> candidate) override;
    void OnOfferCreated(const char* sdp, const char* type) override;
    void OnAnswerCreated(const char* sdp, const char* type) override;
    void OnIceConnectionChange(std::uint32_t state) override;
    void OnIceGatheringChange(std::uint32_t state) override;
    void OnSignalingChange(std::uint32_t state) override;

private:
    const std::weak_ptr<nxWebRtcConnection> connection;
};
