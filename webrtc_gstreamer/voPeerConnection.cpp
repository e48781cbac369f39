#include "webrtc/voIceCandidateInterface.h"
#include "webrtc/voPeerConnectionFactoryInterface.h"
#include "webrtc_gstreamer/Engine.h"
#include "webrtc_gstreamer/IceCandidateBody.h"
#include "webrtc_gstreamer/PeerConnection.h"
#include "webrtc_gstreamer/TrackBodies.h"
#include "webrtc_gstreamer/WarmUp.h"

namespace {

using namespace vo_webrtc;
using webrtc_gstreamer::MakeObject;
using webrtc_gstreamer::ObjectBody;

std::string TextOf(const char* text) {
    return text != nullptr ? std::string(text) : std::string();
}

class AudioDeviceBody : public ObjectBody {
public:
    const std::shared_ptr<webrtc_gstreamer::PlayoutClock> clock =
        std::make_shared<webrtc_gstreamer::PlayoutClock>();
};

class FactoryBody : public ObjectBody {
public:
    explicit FactoryBody(std::shared_ptr<webrtc_gstreamer::PlayoutClock> playoutClock)
        : clock(std::move(playoutClock)) {}
    const std::shared_ptr<webrtc_gstreamer::PlayoutClock> clock;
};

class PeerConnectionBody : public ObjectBody {
public:
    PeerConnectionBody(std::shared_ptr<webrtc_gstreamer::PeerConnection> engine,
                       std::shared_ptr<webrtc_gstreamer::PlayoutClock> playoutClock)
        : connection(std::move(engine)), clock(std::move(playoutClock)) {}

    const std::shared_ptr<webrtc_gstreamer::PeerConnection> connection;
    const std::shared_ptr<webrtc_gstreamer::PlayoutClock> clock;
    // What CreateLocalMediaStream made stays attached.
    support::Mutex mutex;
    std::vector<voPointer<voMediaStreamInterface>> localStreams GUARDED_BY(mutex);

private:
    // The engine ends on its own thread, whatever thread this is.
    void EndObject() override {
        connection->Close();
        ObjectBody::EndObject();
    }
};

}  // namespace

namespace vo_webrtc {

const char* voIceCandidateInterface::Sdp() const {
    return static_cast<const webrtc_gstreamer::IceCandidateBody*>(Body())->sdp.c_str();
}

const char* voIceCandidateInterface::SdpMid() const {
    return static_cast<const webrtc_gstreamer::IceCandidateBody*>(Body())->mid.c_str();
}

const char* voIceCandidateInterface::SdpMLineIndex() const {
    return static_cast<const webrtc_gstreamer::IceCandidateBody*>(Body())->lineIndex.c_str();
}

voPointer<voCustomAudioDevice> voCustomAudioDevice::Create() {
    return MakeObject<voCustomAudioDevice, AudioDeviceBody>();
}

voPointer<voPeerConnectionFactoryInterface> voPeerConnectionFactoryInterface::Create(
    voPointer<voCustomAudioDevice> audioDevice) {
    webrtc_gstreamer::BeginWarmUp();
    if (!webrtc_gstreamer::EnsureEngine()) return nullptr;
    if (!audioDevice) audioDevice = voCustomAudioDevice::Create();
    return MakeObject<voPeerConnectionFactoryInterface, FactoryBody>(
        static_cast<AudioDeviceBody*>(ObjectBody::Of(*audioDevice))->clock);
}

voPointer<voVideoTrackSourceInterface> voPeerConnectionFactoryInterface::CreateVideoTrackSource() {
    return MakeObject<voVideoTrackSourceInterface, ObjectBody>();
}

voPointer<voPeerConnectionInterface> voPeerConnectionFactoryInterface::CreatePeerConnection(
    const voStunServer* servers, std::int32_t count, bool encryptMedia) {
    // The engine knows no unencrypted media.
    if (!encryptMedia || count < 0 || (servers == nullptr && count > 0)) return nullptr;
    std::vector<webrtc_gstreamer::IceServer> copies;
    for (std::int32_t index = 0; index < count; ++index)
        copies.push_back(
            {TextOf(servers[index].url), TextOf(servers[index].username), TextOf(servers[index].password)});
    const auto& clock = static_cast<FactoryBody*>(Body())->clock;
    auto connection = webrtc_gstreamer::PeerConnection::Start(std::move(copies), clock);
    if (!connection) return nullptr;
    return MakeObject<voPeerConnectionInterface, PeerConnectionBody>(std::move(connection), clock);
}

void voPeerConnectionInterface::SetObserver(voPointer<Observer> observer) {
    static_cast<PeerConnectionBody*>(Body())->connection->SetObserver(std::move(observer));
}

// No capture device is used: local tracks are objects only, and the offer stays one that receives.
voPointer<voAudioTrackInterface> voPeerConnectionInterface::CreateAudioTrackWithDefaultMic(const char*) {
    return MakeObject<voAudioTrackInterface, webrtc_gstreamer::AudioTrackBody>(
        std::make_shared<webrtc_gstreamer::AudioTrack>(static_cast<PeerConnectionBody*>(Body())->clock));
}

voPointer<voVideoTrackInterface> voPeerConnectionInterface::CreateVideoTrack(
    const char*, voPointer<voVideoTrackSourceInterface>) {
    return MakeObject<voVideoTrackInterface, webrtc_gstreamer::VideoTrackBody>(
        std::make_shared<webrtc_gstreamer::VideoTrack>());
}

voPointer<voMediaStreamInterface> voPeerConnectionInterface::CreateLocalMediaStream(
    voPointer<voVideoTrackInterface> video, voPointer<voAudioTrackInterface> audio) {
    auto stream = MakeObject<voMediaStreamInterface, webrtc_gstreamer::MediaStreamBody>(std::move(video),
                                                                                        std::move(audio));
    auto* own = static_cast<PeerConnectionBody*>(Body());
    const support::MutexLock lock(own->mutex);
    own->localStreams.push_back(stream);
    return stream;
}

void voPeerConnectionInterface::CreateOffer() {
    static_cast<PeerConnectionBody*>(Body())->connection->CreateOffer();
}

void voPeerConnectionInterface::CreateAnswer() {
    static_cast<PeerConnectionBody*>(Body())->connection->CreateAnswer();
}

void voPeerConnectionInterface::SetRemoteDescription(const char* sdp, const char* type) {
    static_cast<PeerConnectionBody*>(Body())->connection->SetRemoteDescription(TextOf(sdp), TextOf(type));
}

void voPeerConnectionInterface::AddIceCandidate(const char* sdp, const char* sdpMid,
                                                std::int32_t sdpMLineIndex) {
    static_cast<PeerConnectionBody*>(Body())->connection->AddIceCandidate(TextOf(sdp), TextOf(sdpMid),
                                                                          sdpMLineIndex);
}

void voPeerConnectionInterface::GetStats(voPointer<StatsObserver> observer) {
    static_cast<PeerConnectionBody*>(Body())->connection->GetStats(std::move(observer));
}

}  // namespace vo_webrtc
