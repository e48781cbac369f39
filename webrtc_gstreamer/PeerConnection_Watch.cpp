// Media that stops although the connection stands, on the worker.
#include <utility>

#include "webrtc_gstreamer/PeerConnection.h"
#include "webrtc_gstreamer/SteadyTime.h"

namespace webrtc_gstreamer {
namespace {

// Longer than signalling needs to notice that nobody is there: a second offer must not overtake the first.
constexpr std::int64_t kLongestForAnAnswerUs = 30'000'000;

MediaWatchdog::Progress ProgressOf(const StreamMeter& meter) {
    return {meter.Packets(), meter.Decoded()};
}

}  // namespace

void PeerConnection::Watch() {
    if (IsClosed() || (!pipeline && !previousPipeline)) return;
    const auto findings = watchdog.Look(SteadyTimeUs(), ProgressOf(tracks.video->Meter()),
                                        ProgressOf(tracks.audio->Meter()), MayNegotiateAnew());
    for (const std::string& recovery : findings.recoveries)
        LogInfo(recovery);
    for (const std::string& trouble : findings.troubles)
        Fail(trouble);
    if (findings.askForKeyFrame) (previousPipeline ? *previousPipeline : *pipeline).RequestKeyFrames();
    if (findings.askForNegotiation) NegotiateAnew();
}

bool PeerConnection::MayNegotiateAnew() const {
    switch (negotiation) {
        case Negotiation::HaveRemoteOffer:
            return false;
        case Negotiation::HaveLocalOffer:
            return SteadyTimeUs() - offeredAtUs >= kLongestForAnAnswerUs;
        case Negotiation::Stable:
            break;
    }
    // A side that has hung up is not called back.
    return !pipeline || pipeline->ConnectionState() != GST_WEBRTC_PEER_CONNECTION_STATE_CLOSED;
}

// With an engine of its own, whatever state the old one is in. That goes on receiving until the other side
// answers, which then sends to the new one; nobody is cut off who does not answer.
void PeerConnection::NegotiateAnew() {
    CallObserver("OnRenegotiationNeeded", [](Observer& target) { target.OnRenegotiationNeeded(); });
    if (remoteDescription && pipeline) previousPipeline = std::move(pipeline);
    if (!MakePipeline()) return Fail("the engine cannot be renewed");
    DoCreateOffer();
}

void PeerConnection::OnGoodbye(std::uint32_t ssrc) {
    if (tracks.video->Meter().Stream() == ssrc) watchdog.Pause(MediaWatchdog::Kind::Picture);
    if (tracks.audio->Meter().Stream() == ssrc) watchdog.Pause(MediaWatchdog::Kind::Sound);
}

}  // namespace webrtc_gstreamer
