#include "tests/unit/stories/Media.h"

#include <algorithm>
#include <array>
#include <utility>

#include "tests/unit/stories/Phone.h"

namespace stories {

using fakes::FakePeerConnection;
using fakes::FakeWebRtc;

Media::Media(PhoneNetwork& itsNetwork, std::function<void()> onFrame)
    : network(itsNetwork), handOver(std::move(onFrame)) {}

void Media::Play() {
    for (const auto& peer : FakeWebRtc::PeerConnections()) {
        if (peer->CountOfCalls("CreateOffer") > 0 && offered.insert(peer.get()).second)
            peer->OfferCreated("offer", "offer");
        const auto descriptions = peer->RemoteDescriptions();
        if (!descriptions.empty() && answered.insert(peer.get()).second)
            Carry(peer, descriptions.front().sdp);
    }
}

std::size_t Media::LivingPeerConnections() {
    const auto peers = FakeWebRtc::PeerConnections();
    return static_cast<std::size_t>(
        std::count_if(peers.begin(), peers.end(), [](const auto& peer) { return peer->IsReferenced(); }));
}

void Media::Carry(const std::shared_ptr<FakePeerConnection>& peer, const std::string& answer) {
    for (const Phone* phone : network.Phones()) {
        if (answer != "answer of " + phone->Identifier()) continue;
        const auto track = fakes::MakeVideoTrack();
        peer->AddStream(fakes::MakeStream(track, fakes::MakeAudioTrack()));
        Film(peer, track, static_cast<std::uint8_t>(answered.size()), *phone, phone->Run());
    }
}

void Media::Film(const std::weak_ptr<FakePeerConnection>& weakPeer,
                 const vo_webrtc::voPointer<vo_webrtc::voVideoTrackInterface>& track, std::uint8_t number,
                 const Phone& phone, int run) {
    const auto peer = weakPeer.lock();
    if (!peer || !peer->IsReferenced() || phone.Run() != run) return;
    if (phone.IsFilming()) {
        // Which phone and which peer connection a picture came by is in its colour.
        luma = luma < 200 ? static_cast<std::uint8_t>(luma + 1) : 16;
        const auto chroma = static_cast<std::uint8_t>(kChromaOfPhoneZero + phone.Identifier().back() - '0');
        const std::array<std::uint8_t, 4> planeY = {luma, luma, luma, luma};
        fakes::FakeVideoTrack::Of(track).Deliver({2, 2, planeY.data(), &chroma, &number, 2, 1, 1});
        handOver();
    }
    network.After(kFramePeriodUs, [this, weakPeer, track, number, &phone, run] {
        Film(weakPeer, track, number, phone, run);
    });
}

}  // namespace stories
