#include "renderers/nxWebRtcRendererData.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "host/network/cWebSocket.h"
#include "renderers/nxWebRtcAudioRenderer.h"
#include "renderers/nxWebRtcVideoRenderer.h"
#include "renderers/tally_rule.h"

using vo_webrtc::voAudioTrackInterface;
using vo_webrtc::voMediaStreamInterface;
using vo_webrtc::voPointer;
using vo_webrtc::voVideoTrackInterface;

namespace {

std::string TallyMessage(const std::string& peerIdentifier, bool lit) {
    return nlohmann::json{{"action", "broadcastToPeers"},
                          {"subaction", "tallyStateChanged"},
                          {"tallyPeerIdentifier", peerIdentifier},
                          {"value", lit}}
        .dump();
}

}  // namespace

nxWebRtcRendererData::nxWebRtcRendererData(std::shared_ptr<cWebSocket> tallySender, std::string peer)
    : sender(std::move(tallySender)), peerIdentifier(std::move(peer)) {}

nxWebRtcRendererData::~nxWebRtcRendererData() {
    if (videoTrack && videoSink) videoTrack->RemoveSink(videoSink);
    if (audioTrack && audioSink) audioTrack->RemoveSink(audioSink);
}

void nxWebRtcRendererData::SetSender(std::shared_ptr<cWebSocket> newSender) {
    const support::MutexLock lock(mutex);
    std::swap(sender, newSender);  // the old one is released by the caller, after the lock
}

void nxWebRtcRendererData::SetPeerIdentifier(std::string identifier) {
    const support::MutexLock lock(mutex);
    peerIdentifier = std::move(identifier);
}

void nxWebRtcRendererData::SendTallyIfChanged() {
    std::shared_ptr<cWebSocket> socket;
    std::string peer;
    {
        const support::MutexLock lock(mutex);
        socket = sender;
        peer = peerIdentifier;
    }
    if (!socket) return;  // not remembered either, so the next change with a socket sends it
    const bool lit = TallyIsLit(onAir.load(), videoMuted.load(), audioMuted.load());
    if (lit == lastTally.load()) return;
    lastTally.exchange(lit);
    socket->send(TallyMessage(peer, lit).c_str());
}

void nxWebRtcRendererData::StoreOnAir(bool newOnAir) {
    onAir.exchange(newOnAir);
}

void nxWebRtcRendererData::SetVideoRenderer(const std::shared_ptr<nxWebRtcVideoRenderer>& renderer) {
    voPointer<voVideoTrackInterface::Sink> sink(new nxWebRtcVideoRenderer::Sink(renderer));
    const support::MutexLock lock(attaching);
    videoRenderer = renderer;
    std::swap(videoSink, sink);  // a previous sink is released, not taken off its track
}

void nxWebRtcRendererData::SetAudioRenderer(const std::shared_ptr<nxWebRtcAudioRenderer>& renderer) {
    voPointer<voAudioTrackInterface::Sink> sink(new nxWebRtcAudioRenderer::Sink(renderer));
    const support::MutexLock lock(attaching);
    audioRenderer = renderer;
    std::swap(audioSink, sink);
}

void nxWebRtcRendererData::AttachVideoSink(voPointer<voMediaStreamInterface> stream) {
    voPointer<voVideoTrackInterface> track = stream->VideoTrack(0);
    const support::MutexLock lock(attaching);
    if (videoTrack && videoSink) videoTrack->RemoveSink(videoSink);
    std::swap(videoTrack, track);
    if (videoTrack && videoSink) videoTrack->AddOrUpdateSink(videoSink);
}

void nxWebRtcRendererData::AttachAudioSink(voPointer<voMediaStreamInterface> stream) {
    voPointer<voAudioTrackInterface> track = stream->AudioTrack(0);
    const support::MutexLock lock(attaching);
    if (audioTrack && audioSink) audioTrack->RemoveSink(audioSink);
    std::swap(audioTrack, track);
    EnableAudioTrackByFlags();
    if (audioTrack && audioSink) audioTrack->AddSink(audioSink);
}

void nxWebRtcRendererData::UpdateAudioTrackEnabled() {
    const support::MutexLock lock(attaching);
    EnableAudioTrackByFlags();
}

void nxWebRtcRendererData::EnableAudioTrackByFlags() {
    if (audioTrack) audioTrack->SetEnabled(audioEnabled.load() && !audioMuted.load());
}
