#include <memory>
#include <string>
#include <utility>

#include "tests/fakes/webrtc/FakeBody.h"
#include "tests/fakes/webrtc/FakePeerConnection.h"
#include "tests/fakes/webrtc/FakeTracks.h"
#include "webrtc/voPeerConnectionInterface.h"

namespace fakes {

using vo_webrtc::voIceCandidateInterface;
using vo_webrtc::voObject;
using vo_webrtc::voPeerConnectionInterface;
using vo_webrtc::voPointer;

namespace {

class PeerConnectionBody : public voObject::BaseImpl {
public:
    explicit PeerConnectionBody(std::shared_ptr<FakePeerConnection> toKeep) : record(std::move(toKeep)) {}
    ~PeerConnectionBody() override { record->LastReferenceGone(); }

    const std::shared_ptr<FakePeerConnection> record;
};

class CandidateBody : public voObject::BaseImpl {
public:
    std::string sdp;
    std::string sdpMid;
    std::string sdpMLineIndex;
};

}  // namespace

voPointer<voPeerConnectionInterface> WrapPeerConnection(std::shared_ptr<FakePeerConnection> record) {
    return voObject::BaseImpl::Wrap<voPeerConnectionInterface>(new PeerConnectionBody(std::move(record)));
}

voPointer<voIceCandidateInterface> MakeIceCandidate(std::string sdp, std::string sdpMid,
                                                    std::string sdpMLineIndex) {
    auto body = std::make_unique<CandidateBody>();
    body->sdp = std::move(sdp);
    body->sdpMid = std::move(sdpMid);
    body->sdpMLineIndex = std::move(sdpMLineIndex);
    return voObject::BaseImpl::Wrap<voIceCandidateInterface>(body.release());
}

}  // namespace fakes

namespace vo_webrtc {
namespace {

fakes::FakePeerConnection& RecordOf(voObject& peerConnection) {
    return *static_cast<fakes::PeerConnectionBody&>(voObject::BaseImpl::Of(peerConnection)).record;
}

std::string TrackNames(bool video, bool audio) {
    return std::string(video ? " video" : "") + (audio ? " audio" : "");
}

}  // namespace

void voPeerConnectionInterface::SetObserver(voPointer<Observer> observer) {
    RecordOf(*this).Attach(std::move(observer));
}

voPointer<voAudioTrackInterface> voPeerConnectionInterface::CreateAudioTrackWithDefaultMic(
    const char* label) {
    RecordOf(*this).Record(std::string("CreateAudioTrackWithDefaultMic ") + label);
    return fakes::MakeAudioTrack();
}

voPointer<voVideoTrackInterface> voPeerConnectionInterface::CreateVideoTrack(
    const char* label, voPointer<voVideoTrackSourceInterface> source) {
    RecordOf(*this).Record(std::string("CreateVideoTrack ") + label + (source ? "" : " without source"));
    return fakes::MakeVideoTrack();
}

voPointer<voMediaStreamInterface> voPeerConnectionInterface::CreateLocalMediaStream(
    voPointer<voVideoTrackInterface> video, voPointer<voAudioTrackInterface> audio) {
    RecordOf(*this).Record("CreateLocalMediaStream" +
                           TrackNames(static_cast<bool>(video), static_cast<bool>(audio)));
    return fakes::MakeStream(std::move(video), std::move(audio));
}

void voPeerConnectionInterface::CreateOffer() {
    RecordOf(*this).Record("CreateOffer");
}

void voPeerConnectionInterface::CreateAnswer() {
    RecordOf(*this).Record("CreateAnswer");
}

void voPeerConnectionInterface::SetRemoteDescription(const char* sdp, const char* type) {
    RecordOf(*this).RecordRemoteDescription({sdp, type});
}

void voPeerConnectionInterface::AddIceCandidate(const char* sdp, const char* sdpMid,
                                                std::int32_t sdpMLineIndex) {
    RecordOf(*this).RecordCandidate({sdp, sdpMid, sdpMLineIndex});
}

void voPeerConnectionInterface::GetStats(voPointer<StatsObserver> observer) {
    RecordOf(*this).RequestStats(std::move(observer));
}

const char* voIceCandidateInterface::Sdp() const {
    return static_cast<fakes::CandidateBody*>(Body())->sdp.c_str();
}

const char* voIceCandidateInterface::SdpMid() const {
    return static_cast<fakes::CandidateBody*>(Body())->sdpMid.c_str();
}

const char* voIceCandidateInterface::SdpMLineIndex() const {
    return static_cast<fakes::CandidateBody*>(Body())->sdpMLineIndex.c_str();
}

}  // namespace vo_webrtc
