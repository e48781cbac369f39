#include "webrtc_gstreamer/PeerConnection.h"

#include <chrono>
#include <utility>

#include "webrtc_gstreamer/LibraryThread.h"

namespace webrtc_gstreamer {

using vo_webrtc::voPointer;

namespace {

constexpr auto kLookPeriod = std::chrono::milliseconds(250);

}  // namespace

PeerConnection::PeerConnection(std::vector<IceServer> iceServers, std::shared_ptr<PlayoutClock> clock)
    : servers(std::move(iceServers)),
      tracks{std::make_shared<VideoTrack>(), std::make_shared<AudioTrack>(std::move(clock))} {}

std::shared_ptr<PeerConnection> PeerConnection::Start(std::vector<IceServer> servers,
                                                      std::shared_ptr<PlayoutClock> clock) {
    for (const IceServer& server : servers) {
        if (const auto url = ParseIceServerUrl(server.url)) PrepareAddress(url->host);
    }
    std::shared_ptr<PeerConnection> made(new PeerConnection(std::move(servers), std::move(clock)));
    const bool started = StartLibraryThread("vo-connection", [made] {
        made->MakePipeline();
        made->queue.Run(kLookPeriod, [raw = made.get()] { raw->Watch(); });
        made->previousPipeline.reset();
        made->pipeline.reset();
        FinishEnding();
    });
    if (!started) return nullptr;
    return made;
}

// Tasks only live on the worker, which owns this object. What was asked for before Close() and not begun yet
// is of no use to anyone.
template <class Task>
void PeerConnection::Post(Task task) {
    queue.Post([this, task = std::move(task)] {
        if (!IsClosed()) task();
    });
}

bool PeerConnection::IsClosed() {
    const support::MutexLock lock(mutex);
    return closed;
}

bool PeerConnection::HasPipeline() {
    if (pipeline) return true;
    Fail("the peer connection has no engine");
    return false;
}

void PeerConnection::SetObserver(voPointer<Observer> newObserver) {
    voPointer<Observer> old;  // released after the lock
    const support::MutexLock lock(mutex);
    if (closed) return;
    old = std::exchange(observer, std::move(newObserver));
}

voPointer<PeerConnection::Observer> PeerConnection::CurrentObserver() {
    const support::MutexLock lock(mutex);
    return observer;
}

void PeerConnection::Fail(const std::string& reason) {
    LogWarning(reason);
    CallObserver("OnFailure", [&reason](Observer& target) { target.OnFailure(reason.c_str()); });
}

void PeerConnection::CreateOffer() {
    Post([this] { DoCreateOffer(); });
}

void PeerConnection::CreateAnswer() {
    Post([this] { DoCreateAnswer(); });
}

void PeerConnection::SetRemoteDescription(std::string sdp, std::string type) {
    Post([this, sdp = std::move(sdp), type = std::move(type)] { DoSetRemoteDescription(sdp, type); });
}

void PeerConnection::AddIceCandidate(std::string candidate, std::string mid, std::int32_t lineIndex) {
    RemoteCandidate remote{std::move(candidate), std::move(mid), lineIndex};
    Post([this, remote = std::move(remote)] { DoAddIceCandidate(remote); });
}

void PeerConnection::GetStats(voPointer<StatsObserver> statsObserver) {
    if (!statsObserver) return;
    queue.Post([this, statsObserver] { DoGetStats(*statsObserver); });
}

void PeerConnection::Close() {
    // Released after the lock.
    voPointer<Observer> old;
    const support::MutexLock lock(mutex);
    if (closed) return;
    closed = true;
    BeginEnding();
    old = std::exchange(observer, nullptr);
    queue.Close();
}

bool PeerConnection::MakePipeline() {
    pipeline.reset();
    ++generation;
    negotiation = Negotiation::Stable;
    localDescription.reset();
    remoteDescription.reset();
    localCandidates.clear();
    transceiversMade = false;
    pipeline = Pipeline::Make(servers, tracks, MakeReports());
    return pipeline != nullptr;
}

Pipeline::Reports PeerConnection::MakeReports() {
    // Called on GStreamer's threads, which may outrun this object.
    const auto post = [weak = weak_from_this(), current = generation](auto report) {
        const auto self = weak.lock();
        if (!self) return;
        PeerConnection* target = self.get();
        self->queue.Post([target, current, report = std::move(report)] {
            if (target->generation == current) report(*target);
        });
    };
    Pipeline::Reports reports;
    reports.candidate = [post](Pipeline::Candidate candidate) {
        post([candidate = std::move(candidate)](PeerConnection& self) { self.OnLocalCandidate(candidate); });
    };
    reports.iceConnectionState = [post](std::uint32_t state) {
        post([state](PeerConnection& self) {
            self.CallObserver("OnIceConnectionChange",
                              [state](Observer& target) { target.OnIceConnectionChange(state); });
        });
    };
    reports.iceGatheringState = [post](std::uint32_t state) {
        post([state](PeerConnection& self) {
            self.CallObserver("OnIceGatheringChange",
                              [state](Observer& target) { target.OnIceGatheringChange(state); });
        });
    };
    reports.signalingState = [post](std::uint32_t state) {
        post([state](PeerConnection& self) {
            self.CallObserver("OnSignalingChange",
                              [state](Observer& target) { target.OnSignalingChange(state); });
        });
    };
    reports.negotiationNeeded = [post] {
        post([](PeerConnection& self) {
            self.CallObserver("OnRenegotiationNeeded",
                              [](Observer& target) { target.OnRenegotiationNeeded(); });
        });
    };
    reports.receiverEnded = [post](ElementPointer receiver) {
        // std::function wants to be copied, which the pointer does not.
        const auto shared = std::make_shared<ElementPointer>(std::move(receiver));
        post([shared](PeerConnection& self) { self.pipeline->RemoveReceiver(shared->get()); });
    };
    reports.goodbye = [post](std::uint32_t ssrc) {
        post([ssrc](PeerConnection& self) { self.OnGoodbye(ssrc); });
    };
    return reports;
}

}  // namespace webrtc_gstreamer
