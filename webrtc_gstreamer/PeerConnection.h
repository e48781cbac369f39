#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "support/annotated_mutex.h"
#include "webrtc/voPeerConnectionInterface.h"
#include "webrtc_gstreamer/CallOut.h"
#include "webrtc_gstreamer/MediaWatchdog.h"
#include "webrtc_gstreamer/Pipeline.h"
#include "webrtc_gstreamer/ReceivedTotals.h"
#include "webrtc_gstreamer/Receiver.h"
#include "webrtc_gstreamer/SessionDescription.h"
#include "webrtc_gstreamer/TaskQueue.h"

namespace webrtc_gstreamer {

// The engine behind a peer connection object: a worker thread that does everything in order, one operation
// at a time, observer calls included. Operations may be called on any thread and only post; the worker
// keeps this object alive until Close() has been carried out.
class PeerConnection : public std::enable_shared_from_this<PeerConnection> {
public:
    using Observer = vo_webrtc::voPeerConnectionInterface::Observer;
    using StatsObserver = vo_webrtc::voPeerConnectionInterface::StatsObserver;

    // Null when the engine or a thread cannot be had.
    static std::shared_ptr<PeerConnection> Start(std::vector<IceServer> servers,
                                                 std::shared_ptr<PlayoutClock> clock);

    void SetObserver(vo_webrtc::voPointer<Observer> newObserver);
    void CreateOffer();
    void CreateAnswer();
    void SetRemoteDescription(std::string sdp, std::string type);
    void AddIceCandidate(std::string candidate, std::string mid, std::int32_t lineIndex);
    void GetStats(vo_webrtc::voPointer<StatsObserver> statsObserver);
    // The last operation: detaches the observer and ends the engine on the worker.
    void Close();

private:
    struct RemoteCandidate {
        std::string text;
        std::string mid;
        std::int32_t lineIndex = 0;
    };

    PeerConnection(std::vector<IceServer> iceServers, std::shared_ptr<PlayoutClock> clock);
    template <class Task>
    void Post(Task task);
    // Nothing when there is no observer any more.
    template <class Call>
    void CallObserver(const char* what, Call call) {
        if (const auto current = CurrentObserver()) CallOut(what, [&call, &current] { call(*current); });
    }
    vo_webrtc::voPointer<Observer> CurrentObserver();
    void Fail(const std::string& reason);
    Pipeline::Reports MakeReports();

    // On the worker.
    bool MakePipeline();
    void DoCreateOffer();
    void DoCreateAnswer();
    void DoSetRemoteDescription(const std::string& sdp, const std::string& type);
    void TakeRemoteAnswer(const SessionDescription& answer);
    void TakeRemoteOffer(const SessionDescription& offer);
    void OnRemoteDescriptionStands(const SessionDescription& description);
    void DeliverStream(const SessionDescription& description);
    bool SetLocalDescription(Pipeline::Made made, const char* type);
    bool HasPipeline();
    bool IsClosed();
    void DoAddIceCandidate(const RemoteCandidate& candidate);
    void PassOn(const RemoteCandidate& candidate);
    void OnLocalCandidate(const Pipeline::Candidate& candidate);
    void DeliverCandidate(const Pipeline::Candidate& candidate, const SessionDescription& named);
    void DoGetStats(StatsObserver& statsObserver);
    void ReadReceivedStreams(vo_webrtc::voStats& stats);
    void ReadReceivedStreams(Pipeline& of);
    void Watch();
    bool MayNegotiateAnew() const;
    void NegotiateAnew();
    void OnGoodbye(std::uint32_t ssrc);

    const std::vector<IceServer> servers;
    const ReceivingTracks tracks;
    TaskQueue queue;

    support::Mutex mutex;
    vo_webrtc::voPointer<Observer> observer GUARDED_BY(mutex);
    bool closed GUARDED_BY(mutex) = false;

    // The rest belongs to the worker.
    std::unique_ptr<Pipeline> pipeline;
    // While an offer that begins anew is unanswered: what the other side may still send to.
    std::unique_ptr<Pipeline> previousPipeline;
    std::uint64_t generation = 0;  // of the pipeline; reports of an earlier one are dropped
    enum class Negotiation { Stable, HaveLocalOffer, HaveRemoteOffer };
    Negotiation negotiation = Negotiation::Stable;
    std::optional<SessionDescription> localDescription;
    std::optional<SessionDescription> remoteDescription;  // once it stands
    unsigned int transportLine = 0;                       // where the engine wants remote candidates
    std::vector<RemoteCandidate> waitingCandidates;       // until it does
    std::size_t candidatesPassedOn = 0;                   // of this remote description
    std::vector<Pipeline::Candidate> localCandidates;
    bool transceiversMade = false;
    bool streamDelivered = false;
    ReceivedTotals received;
    MediaWatchdog watchdog;
    std::int64_t offeredAtUs = 0;
};

}  // namespace webrtc_gstreamer
