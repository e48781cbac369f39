// The WebRTC engine of the stories: over the fake wrapper it makes the offers, and once a phone's answer is
// set it carries the phone's pictures.
#pragma once

#include <memory>
#include <set>
#include <string>

#include "tests/fakes/webrtc/FakeWebRtc.h"
#include "tests/unit/stories/PhoneNetwork.h"

namespace stories {

class Media {
public:
    static constexpr std::int64_t kFramePeriodUs = 100'000;

    // `onFrame` runs after each frame that was handed to the plug-in.
    Media(PhoneNetwork& network, std::function<void()> onFrame);

    // Does what the plug-in has asked the engine for since the last call.
    void Play();

    // Peer connections that the plug-in still holds.
    static std::size_t LivingPeerConnections();
    // The phone of a picture, by its colour: the number behind "phone-".
    static constexpr std::uint8_t kChromaOfPhoneZero = 100;

private:
    void Carry(const std::shared_ptr<fakes::FakePeerConnection>& peer, const std::string& answer);
    void Film(const std::weak_ptr<fakes::FakePeerConnection>& peer,
              const vo_webrtc::voPointer<vo_webrtc::voVideoTrackInterface>& track, std::uint8_t number,
              const Phone& phone, int run);

    PhoneNetwork& network;
    const std::function<void()> handOver;
    std::set<const fakes::FakePeerConnection*> offered;
    std::set<const fakes::FakePeerConnection*> answered;
    std::uint8_t luma = 16;
};

}  // namespace stories
