#include "connection/nxWebRtcConnectionObserver.h"

#include <fmt/format.h>

#include <utility>

#include "connection/state_names.h"
#include "connection/trace_note.h"

using vo_webrtc::voIceCandidateInterface;
using vo_webrtc::voMediaStreamInterface;
using vo_webrtc::voPointer;

nxWebRtcConnection::Observer::Observer(std::weak_ptr<nxWebRtcConnection> owner)
    : vo_webrtc::voPeerConnectionInterface::Observer(&voCallback::Delete), connection(std::move(owner)) {}

void nxWebRtcConnection::Observer::OnAddStream(voPointer<voMediaStreamInterface> stream) {
    if (const auto owner = connection.lock()) owner->OnAddStream(std::move(stream));
}

void nxWebRtcConnection::Observer::OnIceCandidate(voPointer<voIceCandidateInterface> candidate) {
    if (const auto owner = connection.lock()) owner->SendIceCandidate(std::move(candidate));
}

void nxWebRtcConnection::Observer::OnOfferCreated(const char* sdp, const char* type) {
    if (const auto owner = connection.lock()) owner->SendOffer(sdp, type);
}

void nxWebRtcConnection::Observer::OnAnswerCreated(const char* sdp, const char* type) {
    if (const auto owner = connection.lock()) owner->SendAnswer(sdp, type);
}

void nxWebRtcConnection::Observer::OnRenegotiationNeeded() {
    const auto owner = connection.lock();
    if (!owner) return;
    TraceNote("nxWebRtcConnection::OnRenegotiationNeeded - {}\n", fmt::ptr(owner.get()));
}

void nxWebRtcConnection::Observer::OnFailure(const char* error) {
    const auto owner = connection.lock();
    if (!owner) return;
    TraceNote("nxWebRtcConnection::OnFailure - {} {}\n", fmt::ptr(owner.get()),
              error != nullptr ? error : "");
}

void nxWebRtcConnection::Observer::OnIceConnectionChange(std::uint32_t state) {
    const auto owner = connection.lock();
    if (!owner) return;
    TraceNote("nxWebRtcConnection::OnIceConnectionChange - {} {}\n", fmt::ptr(owner.get()),
              IceConnectionStateName(state));
}

void nxWebRtcConnection::Observer::OnIceGatheringChange(std::uint32_t state) {
    const auto owner = connection.lock();
    if (!owner) return;
    TraceNote("nxWebRtcConnection::OnIceGatheringChange - {} {}\n", fmt::ptr(owner.get()),
              IceGatheringStateName(state));
}

void nxWebRtcConnection::Observer::OnSignalingChange(std::uint32_t state) {
    const auto owner = connection.lock();
    if (!owner) return;
    TraceNote("nxWebRtcConnection::OnSignalingChange - {} {}\n", fmt::ptr(owner.get()),
              SignalingStateName(state));
}
